// Scaled weights and weight tables.
//
// Why there is a multiplier for almost every weight w below 1: trunc(c w) is the same for all w
// between two neighbouring fractions with denominators up to 255, and such neighbours are at least
// 1 / (255 * 254) apart (Farey sequence), more than the 1 / 65536 between two multipliers. So one
// of the two multiples of 1 / 65536 next to w lies in the same interval. Only next to such a
// fraction may products round to a whole number for one value and not for another, and then there
// is none; so all values from 128 on are tried. A smaller one is right if twice the value is:
// doubling a product rounds nothing, and floor(x) is half of floor(2 x), rounded down.
#include "kernels/drawing_weights.h"

#include <emmintrin.h>

#include <cstring>

namespace zvk::kernels {

namespace {

// Without an early exit, which would cost more than it saves where the loop runs in vectors.
bool ScalesAllBytes(double weight, std::int32_t multiplier) {
    std::int32_t differences = 0;
    for (std::int32_t value = 128; value < 256; ++value)
        differences |= (value * multiplier >> 16) ^ static_cast<std::int32_t>(value * weight);
    return differences == 0;
}

// The scaled form of what is left to the destination. It adds nothing unless it is above 0.
std::optional<ScaledWeight> ScaleRest(double remaining) {
    return ScaleWeight(remaining > 0.0 ? remaining : 0.0);
}

// A column of the source that a pixel takes from, and the weights.
struct EndColumn {
    std::int64_t column;
    ScaledWeight above;
    ScaledWeight below;
    ScaledWeight rest;
};

std::uint32_t LoadPixel(const std::uint8_t* bytes) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, bytes, sizeof pixel);
    return pixel;
}

std::uint32_t Opaque(std::uint32_t pixel, const ChannelOrder& order) {
    const std::uint32_t fourth = 0xFFU << (8U * order.alpha);
    return (pixel & ~fourth) | OpaquePixel(order, 0, 0, 0);
}

// An opaque pixel of another one's colours.
std::uint32_t Rearranged(std::uint32_t pixel, const ChannelOrder& from, const ChannelOrder& to) {
    if (from == to) return Opaque(pixel, to);
    const auto channel = [pixel](std::uint8_t place) {
        return static_cast<std::uint8_t>(pixel >> (8 * place));
    };
    return OpaquePixel(to, channel(from.red), channel(from.green), channel(from.blue));
}

// The bytes of a pixel as words, each times a weight and truncated.
__m128i Scaled(std::uint32_t pixel, const ScaledWeight& weight) {
    const __m128i values =
        _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(pixel)), _mm_setzero_si128());
    if (weight.isOne) return values;
    // As two words: where a compiler keeps a single word in memory, loading it into a vector has to
    // wait until its store is done.
    const std::uint32_t twoWords = weight.multiplier * 0x10001U;
    return _mm_mulhi_epu16(values, _mm_set1_epi32(static_cast<int>(twoWords)));
}

// Three products are at most 765, so that only the last step clamps.
void DrawEnd(const RowDrawing& job, const EndColumn& end) {
    const std::int64_t offset = end.column * bytesPerPixelWord;
    std::uint8_t* const place = job.destination + job.begin * bytesPerPixelWord;
    const std::uint32_t own = Rearranged(LoadPixel(place), job.order, job.source.order);
    const __m128i sums =
        _mm_add_epi16(_mm_add_epi16(Scaled(LoadPixel(job.source.above.pixels + offset), end.above),
                                    Scaled(LoadPixel(job.source.below.pixels + offset), end.below)),
                      Scaled(own, end.rest));
    const auto drawn = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(sums, sums)));
    const std::uint32_t pixel = Rearranged(drawn, job.source.order, job.order);
    std::memcpy(place, &pixel, sizeof pixel);
}

}  // namespace

std::optional<ScaledWeight> ScaleWeight(double weight) {
    if (weight == 1.0) return ScaledWeight{.multiplier = 0, .isOne = true};
    if (!(weight >= 0.0 && weight < 1.0)) return std::nullopt;
    const auto below = static_cast<std::int32_t>(weight * 65536.0);
    for (const std::int32_t multiplier : {below, below + 1}) {
        // 65536, which 16 bits do not hold, would leave 128 as it is; no weight below 1 does.
        if (ScalesAllBytes(weight, multiplier)) {
            return ScaledWeight{.multiplier = static_cast<std::uint16_t>(multiplier),
                                .isOne = false};
        }
    }
    return std::nullopt;
}

// What remains is subtracted from in the order of the samples.
std::optional<PlainWeights> PlainWeightsFor(const SampleWeights& weights) {
    const auto topLeft = ScaleWeight(weights.topLeft);
    const auto topRight = ScaleWeight(weights.topRight);
    const auto bottomRight = ScaleWeight(weights.bottomRight);
    const auto bottomLeft = ScaleWeight(weights.bottomLeft);
    if (!topLeft || !topRight || !bottomRight || !bottomLeft) return std::nullopt;
    const auto rest = ScaleRest(
        (((1.0 - weights.topLeft) - weights.topRight) - weights.bottomRight) - weights.bottomLeft);
    const auto leftRest = ScaleRest((1.0 - weights.topRight) - weights.bottomRight);
    const auto rightRest = ScaleRest((1.0 - weights.topLeft) - weights.bottomLeft);
    if (!rest) return std::nullopt;
    return PlainWeights{*topLeft, *topRight, *bottomRight, *bottomLeft, *rest, leftRest, rightRest};
}

void DrawLeftEnd(const RowDrawing& job, const PlainWeights& weights) {
    if (!weights.leftRest) return DrawRow(job);
    DrawEnd(job, {.column = 0,
                  .above = weights.topRight,
                  .below = weights.bottomRight,
                  .rest = *weights.leftRest});
}

void DrawRightEnd(const RowDrawing& job, const PlainWeights& weights) {
    if (!weights.rightRest) return DrawRow(job);
    DrawEnd(job, {.column = job.source.width - 1,
                  .above = weights.topLeft,
                  .below = weights.bottomLeft,
                  .rest = *weights.rightRest});
}

void WeightTables::Fill(const SampleWeights& weights, bool isMasked) {
    topLeft[0] = weights.topLeft;
    topRight[0] = weights.topRight;
    bottomRight[0] = weights.bottomRight;
    bottomLeft[0] = weights.bottomLeft;
    if (!isMasked) return;
    for (int value = 0; value < 256; ++value) {
        topLeft[value] = MaskedWeight(value, weights.topLeft);
        topRight[value] = MaskedWeight(value, weights.topRight);
        bottomRight[value] = MaskedWeight(value, weights.bottomRight);
        bottomLeft[value] = MaskedWeight(value, weights.bottomLeft);
    }
}

}  // namespace zvk::kernels
