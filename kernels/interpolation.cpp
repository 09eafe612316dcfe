// The scalar definition of smooth enlargement's two steps.
//
// Exactness: single precision throughout, products and sums rounded one by one, nothing fused. The
// interpolation is a four-tap cubic whose outer weights are exactly 0; their products are 0 and add
// nothing, so two taps give the same sums. The first product added to 0 is itself.
#include "kernels/interpolation.h"

#include "kernels/channel_order.h"

namespace zvk::kernels {

namespace {

// Rounds half up, as 0.5 has been added before the truncation. No weight is negative, so 0.5 is the
// least there is.
std::uint8_t ToByte(float value) {
    if (value >= 255.0F) return 255;
    return static_cast<std::uint8_t>(value);
}

}  // namespace

void InterpolateRows(const RowInterpolation& job) {
    for (std::int64_t index = 0; index < job.width * bytesPerPixelWord; ++index) {
        const float nearPart = static_cast<float>(job.nearRow[index]) * job.nearWeight;
        const float farPart = static_cast<float>(job.farRow[index]) * job.farWeight;
        job.line[index] = nearPart + farPart;
    }
    float* const behind = job.line + job.width * bytesPerPixelWord;
    for (int byte = 0; byte < bytesPerPixelWord; ++byte)
        behind[byte] = behind[byte - bytesPerPixelWord];
}

void InterpolateColumns(const ColumnInterpolation& job) {
    for (std::int64_t x = 0; x < job.width; ++x) {
        const float* nearPixel = job.line + std::int64_t{job.indices[x]} * bytesPerPixelWord;
        const float* farPixel = nearPixel + bytesPerPixelWord;
        for (int byte = 0; byte < bytesPerPixelWord; ++byte) {
            if ((job.byteMask >> (8 * byte) & 1U) == 0) continue;
            const float nearPart = nearPixel[byte] * job.nearWeights[x];
            const float farPart = farPixel[byte] * job.farWeights[x];
            job.destination[x * bytesPerPixelWord + byte] = ToByte((0.5F + nearPart) + farPart);
        }
    }
}

}  // namespace zvk::kernels
