// The vector body of smooth enlargement's two steps, compiled once per instruction set.
//
// Exactness: the operations of the definition in its order, lane by lane, nothing fused. Values lie
// between 0.5 and 255.5 and a rounding, so truncation and saturation clamp as the definition does.
#pragma once

#include "kernels/interpolation.h"
#include "kernels/kernel_table.h"

namespace zvk::kernels {
namespace {

template <typename Simd>
void InterpolateRowsInVectors(const RowInterpolation& job) {
    static_assert(Simd::floatCount == bytesPerPixelWord, "a vector holds a pixel");
    const auto nearWeight = Simd::Broadcast(job.nearWeight);
    const auto farWeight = Simd::Broadcast(job.farWeight);
    const std::int64_t count = job.width * bytesPerPixelWord;
    for (std::int64_t index = 0; index < count; index += Simd::floatCount) {
        const auto nearPart = Simd::Multiply(Simd::LoadBytes(job.nearRow + index), nearWeight);
        const auto farPart = Simd::Multiply(Simd::LoadBytes(job.farRow + index), farWeight);
        Simd::Store(job.line + index, Simd::Add(nearPart, farPart));
    }
    float* const behind = job.line + count;
    for (int byte = 0; byte < bytesPerPixelWord; ++byte)
        behind[byte] = behind[byte - bytesPerPixelWord];
}

template <typename Simd>
class ColumnInterpolator {
  public:
    explicit ColumnInterpolator(const ColumnInterpolation& job) : job_(job) {}

    void Run() const {
        if (job_.width < pixelsAtOnce) {
            InterpolateColumns(job_);
            return;
        }
        std::int64_t x = 0;
        for (; x + pixelsAtOnce <= job_.width; x += pixelsAtOnce)
            WritePixels(x);
        // The last vector goes back over pixels that have been written; they come out the same.
        if (x < job_.width) WritePixels(job_.width - pixelsAtOnce);
    }

  private:
    using Floats = typename Simd::Floats;
    static constexpr std::int64_t pixelsPerVector = Simd::floatCount / bytesPerPixelWord;
    static constexpr std::int64_t pixelsAtOnce = Simd::byteCount / bytesPerPixelWord;

    Floats Interpolate(std::int64_t x) const {
        const Floats nearPart = Simd::Multiply(Simd::LoadPixels(job_.line, job_.indices + x),
                                               Simd::LoadWeights(job_.nearWeights + x));
        const Floats farPart =
            Simd::Multiply(Simd::LoadPixels(job_.line + bytesPerPixelWord, job_.indices + x),
                           Simd::LoadWeights(job_.farWeights + x));
        return Simd::Add(Simd::Add(Simd::Broadcast(0.5F), nearPart), farPart);
    }

    void WritePixels(std::int64_t x) const {
        auto pixels = Simd::InOrder(Simd::ToBytes({Interpolate(x), Interpolate(x + pixelsPerVector),
                                                   Interpolate(x + 2 * pixelsPerVector),
                                                   Interpolate(x + 3 * pixelsPerVector)}));
        std::uint8_t* destination = job_.destination + x * bytesPerPixelWord;
        if (job_.byteMask != 0xFFFFFFFF) {
            pixels = Simd::Select(job_.byteMask, pixels, Simd::LoadAll(destination));
        }
        Simd::StoreAll(destination, pixels);
    }

    const ColumnInterpolation& job_;
};

template <typename Simd>
void InterpolateColumnsInVectors(const ColumnInterpolation& job) {
    ColumnInterpolator<Simd>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
