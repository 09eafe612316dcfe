// Enlargement by four-tap cubic interpolation of every byte by itself, in single precision.
#pragma once

#include <cstdint>

#include "tests/reference/image.h"

namespace reference {

/// The four weights of one destination index, for taps k + 2, k + 1, k and k - 1.
struct CubicWeights {
    float w0;
    float w1;
    float w2;
    float w3;
};

/// The weights of destination index `i`, scaling `sourceLength` to `destinationLength`.
CubicWeights SmoothWeights(std::int64_t i, std::int64_t sourceLength,
                           std::int64_t destinationLength);

/// The source enlarged to `width` by `height`. Bytes keep their places within the pixel, whatever
/// the two layouts are; `format` only names the destination's.
Image EnlargeSmoothly(const Image& source, std::int64_t width, std::int64_t height, int format);

}  // namespace reference
