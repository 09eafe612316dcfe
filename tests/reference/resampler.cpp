// Two-pass resampling, pixel by pixel. The horizontal pass multiplies in double precision and the
// vertical one in single precision: deliberate, and visible in the last bit of some channels.
#include "tests/reference/resampler.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/reference/arithmetic.h"
#include "tests/reference/contributions.h"
#include "tests/reference/image.h"

namespace reference {
namespace {

struct Sums {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
};

std::uint32_t RoundedChannel(double sum, float weightSum) {
    return ClampToByte(TruncateToInt32(sum / static_cast<double>(weightSum) + 0.5));
}

Colour RoundedColour(const Sums& sums, float weightSum) {
    return {RoundedChannel(sums.red, weightSum), RoundedChannel(sums.green, weightSum),
            RoundedChannel(sums.blue, weightSum)};
}

double ProductInDouble(std::uint32_t channel, float weight) {
    return static_cast<double>(channel) * static_cast<double>(weight);
}

double ProductInSingle(std::uint32_t channel, float weight) {
    const float product = static_cast<float>(channel) * weight;
    return static_cast<double>(product);
}

// The source at the new width: `width` colours for each source row.
std::vector<Colour> HorizontalPass(const Image& source, std::int64_t width,
                                   const std::vector<ContributionList>& lists) {
    std::vector<Colour> intermediate;
    for (std::int64_t y = 0; y < source.height; ++y) {
        for (std::int64_t x = 0; x < width; ++x) {
            const ContributionList& list = lists.at(static_cast<std::size_t>(x));
            Sums sums;
            for (const Contribution& entry : list.entries) {
                if (entry.weight == 0.0F) {
                    continue;
                }
                const Colour colour = Decode(source.At(entry.pixel, y), source.format);
                sums.red += ProductInDouble(colour.red, entry.weight);
                sums.green += ProductInDouble(colour.green, entry.weight);
                sums.blue += ProductInDouble(colour.blue, entry.weight);
            }
            intermediate.push_back(RoundedColour(sums, list.weightSum));
        }
    }
    return intermediate;
}

void VerticalPass(const std::vector<Colour>& intermediate,
                  const std::vector<ContributionList>& lists, Image& destination) {
    for (std::int64_t y = 0; y < destination.height; ++y) {
        const ContributionList& list = lists.at(static_cast<std::size_t>(y));
        for (std::int64_t x = 0; x < destination.width; ++x) {
            Sums sums;
            for (const Contribution& entry : list.entries) {
                if (entry.weight == 0.0F) {
                    continue;
                }
                const std::int64_t index = entry.pixel * destination.width + x;
                const Colour& colour = intermediate.at(static_cast<std::size_t>(index));
                sums.red += ProductInSingle(colour.red, entry.weight);
                sums.green += ProductInSingle(colour.green, entry.weight);
                sums.blue += ProductInSingle(colour.blue, entry.weight);
            }
            destination.At(x, y) =
                EncodeOpaque(RoundedColour(sums, list.weightSum), destination.format);
        }
    }
}

}  // namespace

Image Resample(const Image& source, int mode, std::int64_t width, std::int64_t height, int format,
               const FailedLists& failed) {
    const std::vector<Colour> intermediate = HorizontalPass(
        source, width,
        ComputeContributions(mode, Axis::Horizontal, source.width, width, failed.columns));
    Image destination(width, height, format);
    VerticalPass(intermediate,
                 ComputeContributions(mode, Axis::Vertical, source.height, height, failed.rows),
                 destination);
    return destination;
}

}  // namespace reference
