// Smooth enlargement in four byte passes. Every intermediate value is stored into a float of its
// own, in the order in which it is rounded.
#include "tests/reference/smooth_enlargement.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/reference/arithmetic.h"
#include "tests/reference/image.h"

namespace reference {
namespace {

// Deliberate: a sharpness of nothing. The outer taps weigh zero, and stay in the sums.
constexpr float sharpness = 0.0F;

float ByteOf(const Image& image, std::int64_t column, std::int64_t row, int position) {
    return static_cast<float>((image.At(column, row) >> (8 * position)) & 255U);
}

void SetByte(std::uint32_t& word, int position, std::uint32_t value) {
    word = (word & ~(255U << (8 * position))) | value << (8 * position);
}

std::uint32_t ByteFrom(float value) {
    if (value <= 0.0F) {
        return 0;
    }
    if (value >= 255.0F) {
        return 255;
    }
    return static_cast<std::uint32_t>(value);
}

// One value per source column: byte `position` interpolated between the rows around `k`.
std::vector<float> ColumnLine(const Image& source, int position, std::int64_t k,
                              const CubicWeights& weights) {
    const std::int64_t last = source.height - 1;
    std::vector<float> line;
    for (std::int64_t x = 0; x < source.width; ++x) {
        float value = 0.0F;
        value = value + ByteOf(source, x, Clamp(k - 1, 0, last), position) * weights.w3;
        value = value + ByteOf(source, x, Clamp(k, 0, last), position) * weights.w2;
        value = value + ByteOf(source, x, Clamp(k + 1, 0, last), position) * weights.w1;
        value = value + ByteOf(source, x, Clamp(k + 2, 0, last), position) * weights.w0;
        line.push_back(value);
    }
    return line;
}

float LineValue(const std::vector<float>& line, std::int64_t column) {
    const auto last = static_cast<std::int64_t>(line.size()) - 1;
    return line.at(static_cast<std::size_t>(Clamp(column, 0, last)));
}

float Interpolated(const std::vector<float>& line, std::int64_t k, const CubicWeights& weights) {
    float value = LineValue(line, k - 1) * weights.w3 + 0.5F;
    value = value + LineValue(line, k) * weights.w2;
    value = value + LineValue(line, k + 1) * weights.w1;
    value = value + LineValue(line, k + 2) * weights.w0;
    return value;
}

}  // namespace

CubicWeights SmoothWeights(std::int64_t i, std::int64_t sourceLength,
                           std::int64_t destinationLength) {
    const float a = sharpness;
    const float t = static_cast<float>((i * sourceLength) % destinationLength) /
                    static_cast<float>(destinationLength);
    const float twiceCube = 2.0F * t * t * t;
    const float thriceSquare = t * 3.0F * t;
    const float aCube = a * t * t * t;
    const float aSquare = a * t * t;
    return {aSquare - aCube, (thriceSquare - twiceCube) - a * t, (twiceCube - thriceSquare) + 1.0F,
            (aCube - aSquare) + a * t};
}

Image EnlargeSmoothly(const Image& source, std::int64_t width, std::int64_t height, int format) {
    Image destination(width, height, format);
    for (int position = 0; position < 4; ++position) {
        for (std::int64_t y = 0; y < height; ++y) {
            const std::vector<float> line =
                ColumnLine(source, position, (y * source.height) / height,
                           SmoothWeights(y, source.height, height));
            for (std::int64_t x = 0; x < width; ++x) {
                const float value = Interpolated(line, (x * source.width) / width,
                                                 SmoothWeights(x, source.width, width));
                SetByte(destination.At(x, y), position, ByteFrom(value));
            }
        }
    }
    return destination;
}

}  // namespace reference
