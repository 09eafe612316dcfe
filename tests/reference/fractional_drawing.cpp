// Fractional drawing as it is defined: four samples per destination pixel, each product truncated
// by itself, 32-bit sums that wrap, and the rest taken from the destination's own colour.
#include "tests/reference/fractional_drawing.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tests/reference/arithmetic.h"
#include "tests/reference/image.h"

namespace reference {
namespace {

// Rows at or beyond the height are the first row.
std::byte* PixelAddress(const View& view, std::int64_t column, std::int64_t row) {
    const std::int64_t chosenRow = row < view.height ? row : 0;
    return view.rows.at(static_cast<std::size_t>(chosenRow)) + 4 * column;
}

Colour ColourAt(const View& view, std::int64_t column, std::int64_t row) {
    std::uint32_t word = 0;
    std::memcpy(&word, PixelAddress(view, column, row), sizeof word);
    return Decode(word, view.format);
}

void SetColour(const View& view, std::int64_t column, std::int64_t row, const Colour& colour) {
    const std::uint32_t word = EncodeOpaque(colour, view.format);
    std::memcpy(PixelAddress(view, column, row), &word, sizeof word);
}

// The mask's red channel; columns beyond its width read as 0.
std::uint32_t MaskValue(const View& mask, std::int64_t column, std::int64_t row) {
    return column < mask.width ? ColourAt(mask, column, row).red : 0;
}

struct Sample {
    std::int32_t column;  // relative to the integer offset
    std::int32_t row;
    double weight;
};

class Drawing {
  public:
    Drawing(const View& destination, const View& source, const View* mask, double x, double y,
            double alpha)
        : destination_(destination),
          source_(source),
          mask_(mask),
          ix_(TruncateToInt32(std::floor(x))),
          iy_(TruncateToInt32(std::floor(y))) {
        const double fx = std::fabs(x - ix_);
        const double fy = std::fabs(y - iy_);
        samples_ = {Sample{1, 1, (fx * fy) * alpha}, Sample{0, 1, ((1 - fx) * fy) * alpha},
                    Sample{0, 0, ((1 - fx) * (1 - fy)) * alpha},
                    Sample{1, 0, ((1 - fy) * fx) * alpha}};
    }

    void DrawPixel(std::int32_t column, std::int32_t row) {
        std::array<std::int32_t, 3> sums = {0, 0, 0};
        double rest = 1.0;
        for (const Sample& sample : samples_) {
            const std::int32_t u = WrappingSubtract(WrappingSubtract(column, ix_), sample.column);
            const std::int32_t v = WrappingSubtract(WrappingSubtract(row, iy_), sample.row);
            if (u < 0 || u >= source_.width || v < 0 || v >= source_.height) {
                continue;
            }
            const double weight = EffectiveWeight(sample.weight, u, v);
            Accumulate(sums, ColourAt(source_, u, v), weight);
            rest = rest - weight;
        }
        if (rest > 0.0) {
            Accumulate(sums, ColourAt(destination_, column, row), rest);
        }
        SetColour(destination_, column, row,
                  {ClampToByte(sums[0]), ClampToByte(sums[1]), ClampToByte(sums[2])});
    }

  private:
    double EffectiveWeight(double weight, std::int32_t column, std::int32_t row) const {
        if (mask_ == nullptr) {
            return weight;
        }
        return ((255.0 - MaskValue(*mask_, column, row)) * weight) / 255.0;
    }

    static void Accumulate(std::array<std::int32_t, 3>& sums, const Colour& colour, double weight) {
        sums[0] = WrappingAdd(sums[0], TruncateToInt32(colour.red * weight));
        sums[1] = WrappingAdd(sums[1], TruncateToInt32(colour.green * weight));
        sums[2] = WrappingAdd(sums[2], TruncateToInt32(colour.blue * weight));
    }

    const View& destination_;
    const View& source_;
    const View* mask_;
    std::int32_t ix_;
    std::int32_t iy_;
    std::array<Sample, 4> samples_{};  // top left, top right, bottom right, bottom left
};

}  // namespace

View ViewOf(Image& image) {
    View view{image.width, image.height, image.format, {}};
    for (std::int64_t row = 0; row < image.height; ++row) {
        view.rows.push_back(reinterpret_cast<std::byte*>(&image.At(0, row)));
    }
    return view;
}

void DrawFractionally(const View& destination, const View& source, const View* mask, double x,
                      double y, double alpha) {
    Drawing drawing(destination, source, mask, x, y, alpha);
    for (std::int32_t row = 0; row < destination.height; ++row) {
        for (std::int32_t column = 0; column < destination.width; ++column) {
            drawing.DrawPixel(column, row);
        }
    }
}

}  // namespace reference
