// The vector body of smooth enlargement along a row by a small whole factor: every pixel of the
// line is the left sample of as many pixels of the result, with weights that repeat, so that no
// numbers need to be looked up. Compiled once per instruction set.
//
// Exactness: as in interpolation_body.h. Numbers are finite and not negative, so that products by 1
// and by 0 may be left out: they are the number itself and 0, which adds nothing.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/planar_interpolation_body.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

// For each pixel of `factor` vectors in a row, the place of the line's pixel that it comes from,
// and for each vector of them and each step within a factor, all bits where that step's pixels
// belong.
template <int factor, int vectorSize>
struct Turns {
    std::int32_t places[factor][vectorSize];
    std::int32_t masks[factor][factor][vectorSize];

    static consteval Turns Make() {
        Turns turns{};
        for (int pixel = 0; pixel < factor * vectorSize; ++pixel) {
            const int vector = pixel / vectorSize;
            turns.places[vector][pixel % vectorSize] = pixel / factor;
            turns.masks[vector][pixel % factor][pixel % vectorSize] = -1;
        }
        return turns;
    }
};

template <typename Simd, int factor, bool streams>
class FactorReader {
  public:
    explicit FactorReader(const ColumnInterpolation& job)
        : job_(job), planes_(job.line, job.lineWidth) {
        Repeat<factor - 1>([&](auto index) {
            nearWeights_[index] = Simd::Broadcast(job.nearWeights[index + 1]);
            farWeights_[index] = Simd::Broadcast(job.farWeights[index + 1]);
        });
    }

    void Run() const {
        std::int64_t x = 0;
        for (; x + Simd::floatCount <= job_.lineWidth; x += Simd::floatCount)
            WritePixels(x);
        // The last vectors go back over pixels that have been written; they come out the same.
        if (x < job_.lineWidth) WritePixels(job_.lineWidth - Simd::floatCount);
        if constexpr (streams) EndStream();
    }

  private:
    using Floats = typename Simd::Floats;
    using Bytes = typename Simd::Bytes;
    static constexpr auto turns = Turns<factor, Simd::floatCount>::Make();

    // Writes the pixels that a vector of the line's pixels from `x` on becomes.
    [[gnu::always_inline]] void WritePixels(std::int64_t x) const {
        Bytes steps[factor];
        steps[0] = Round(x);
        Repeat<factor - 1>([&](auto index) __attribute__((always_inline)) {
            steps[index + 1] = Blend(x, nearWeights_[index], farWeights_[index]);
        });
        std::uint8_t* const destination = job_.destination + x * factor * bytesPerPixelWord;
        Repeat<factor>([&](auto vector) __attribute__((always_inline)) {
            std::uint8_t* const place = destination + vector * Simd::byteCount;
            streams ? Simd::Stream(place, TakeTurns<vector>(steps))
                    : Simd::StoreAll(place, TakeTurns<vector>(steps));
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
            channels[byte] = BlendRounded<Simd>(Simd::Load(numbers), nearWeights,
                                                Simd::Load(numbers + 1), farWeights);
        });
        return Simd::Interleave(channels);
    }

    // One of the vectors that the steps' pixels make in turn.
    template <int vector>
    [[gnu::always_inline]] static Bytes TakeTurns(const Bytes (&steps)[factor]) {
        const auto load = [](const std::int32_t* numbers) {
            return Simd::LoadAll(reinterpret_cast<const std::uint8_t*>(numbers));
        };
        const Bytes places = load(turns.places[vector]);
        Bytes pixels = Simd::PermutePixels(steps[0], places);
        Repeat<factor - 1>([&](auto index) __attribute__((always_inline)) {
            constexpr int step = index + 1;
            pixels = Simd::SelectBy(load(turns.masks[vector][step]),
                                    Simd::PermutePixels(steps[step], places), pixels);
        });
        return pixels;
    }

    const ColumnInterpolation job_;
    PlanesOf<const float> planes_;
    // Of the steps behind the first.
    Floats nearWeights_[factor - 1];
    Floats farWeights_[factor - 1];
};

template <typename Simd, int factor>
void InterpolateByFactor(const ColumnInterpolation& job) {
    job.streams ? FactorReader<Simd, factor, true>(job).Run()
                : FactorReader<Simd, factor, false>(job).Run();
}

template <typename Simd>
void InterpolateColumnsOfPlanes(const ColumnInterpolation& job) {
    const bool fits = job.lineWidth >= Simd::floatCount && job.byteMask == 0xFFFFFFFF &&
                      job.width == job.factor * job.lineWidth;
    if (fits && job.factor == 2) return InterpolateByFactor<Simd, 2>(job);
    if (fits && job.factor == 3) return InterpolateByFactor<Simd, 3>(job);
    if (fits && job.factor == 4) return InterpolateByFactor<Simd, 4>(job);
    PlaneReader<Simd>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
