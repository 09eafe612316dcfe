// The vector body of smooth enlargement along a row by a small whole factor: every pixel of the
// line is the left sample of as many pixels of the result, with weights that repeat, so that no
// numbers need to be looked up. Compiled once per instruction set.
//
// Exactness: as in interpolation_body.h, or fused where any rounding will do. Numbers are finite
// and not negative, so that products by 1 and by 0 may be left out: they are the number itself and
// 0, which adds nothing.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/planar_interpolation_body.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

template <typename Simd, typename Turns, int factor, bool streams, bool fuses>
class FactorReader {
  public:
    explicit FactorReader(const ColumnInterpolation& job)
        : job_(job), planes_(job.line, job.lineWidth) {
        Repeat<factor - 1>([&](auto index) {
            nearWeights_[index] = Simd::Broadcast(job.nearWeights[index + 1]);
            farWeights_[index] = Simd::Broadcast(job.farWeights[index + 1]);
        });
    }

    [[gnu::always_inline]] void Run() const {
        std::int64_t x = 0;
        for (; x + Simd::floatCount <= job_.lineWidth; x += Simd::floatCount)
            WritePixels(x);
        // The last vectors go back over pixels that have been written; they come out the same.
        if (x < job_.lineWidth) WritePixels(job_.lineWidth - Simd::floatCount);
    }

  private:
    using Floats = typename Simd::Floats;
    using Bytes = typename Simd::Bytes;

    // Writes the pixels that a vector of the line's pixels from `x` on becomes.
    [[gnu::always_inline]] void WritePixels(std::int64_t x) const {
        Bytes steps[factor];
        steps[0] = Round(x);
        Repeat<factor - 1>([&](auto index) __attribute__((always_inline)) {
            steps[index + 1] = Blend(x, nearWeights_[index], farWeights_[index]);
        });
        Bytes pixels[factor];
        Turns::Take(steps, pixels);
        std::uint8_t* const destination = job_.destination + x * factor * bytesPerPixelWord;
        Repeat<factor>([&](auto vector) __attribute__((always_inline)) {
            std::uint8_t* const place = destination + vector * Simd::byteCount;
            streams ? Simd::Stream(place, pixels[vector]) : Simd::StoreAll(place, pixels[vector]);
        });
    }

    // The first step's pixels, whose weights change nothing.
    [[gnu::always_inline]] Bytes Round(std::int64_t x) const {
        Floats channels[bytesPerPixelWord];
        Repeat<bytesPerPixelWord>([&](auto byte) __attribute__((always_inline)) {
            channels[byte] = Simd::Add(Simd::Broadcast(0.5F), Simd::Load(planes_[byte] + x));
        });
        return Simd::Interleave(channels);
    }

    // Another step's pixels.
    [[gnu::always_inline]] Bytes Blend(std::int64_t x, Floats nearWeights,
                                       Floats farWeights) const {
        Floats channels[bytesPerPixelWord];
        Repeat<bytesPerPixelWord>([&](auto byte) __attribute__((always_inline)) {
            const float* const numbers = planes_[byte] + x;
            channels[byte] =
                BlendNumbers(Simd::Load(numbers), nearWeights, Simd::Load(numbers + 1), farWeights);
        });
        return Simd::Interleave(channels);
    }

    static Floats BlendNumbers(Floats nearNumbers, Floats nearWeights, Floats farNumbers,
                               Floats farWeights) {
        if constexpr (fuses) {
            const Floats half = Simd::Broadcast(0.5F);
            const Floats nearSum = Simd::MultiplyAdd(nearNumbers, nearWeights, half);
            return Simd::MultiplyAdd(farNumbers, farWeights, nearSum);
        } else {
            return BlendRounded<Simd>(nearNumbers, nearWeights, farNumbers, farWeights);
        }
    }

    const ColumnInterpolation job_;
    PlanesOf<const float> planes_;
    // Of the steps behind the first.
    Floats nearWeights_[factor - 1];
    Floats farWeights_[factor - 1];
};

template <typename Simd, typename Turns, int factor, bool streams>
void InterpolateByFactor(const ColumnInterpolation& job) {
    job.mayFuse ? FactorReader<Simd, Turns, factor, streams, true>(job).Run()
                : FactorReader<Simd, Turns, factor, streams, false>(job).Run();
}

template <typename Simd, typename Turns, int factor>
void InterpolateByFactor(const ColumnInterpolation& job) {
    job.streams ? InterpolateByFactor<Simd, Turns, factor, true>(job)
                : InterpolateByFactor<Simd, Turns, factor, false>(job);
}

template <typename Simd, typename Turns>
void InterpolateColumnsOfPlanes(const ColumnInterpolation& job) {
    const bool fits = job.lineWidth >= Simd::floatCount && job.byteMask == 0xFFFFFFFF &&
                      job.width == job.factor * job.lineWidth;
    if (fits && job.factor == 2) return InterpolateByFactor<Simd, Turns, 2>(job);
    if (fits && job.factor == 3) return InterpolateByFactor<Simd, Turns, 3>(job);
    if (fits && job.factor == 4) return InterpolateByFactor<Simd, Turns, 4>(job);
    PlaneReader<Simd>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
