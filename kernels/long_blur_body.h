// The vector body of the blur with sums of 32 bits, compiled once per instruction set.
//
// Exactness: the sum s of a box of d bytes divides as trunc((s + 0.5) / d), which lies at least
// 0.5 / d from every whole number, so more than 2^-25. In double, multiplied by the reciprocal, it
// is off by less than 2^-43. Quotients of sums that no picture can have leave a byte's range, and
// packing clamps them to the bytes that clamped sums give.
#pragma once

#include "kernels/long_blur.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

inline constexpr std::int64_t pixelsStored = 4;

// Writes rows of opaque means, four pixels at a time.
template <typename Narrow, typename FourDoubles>
class MeanWriter {
  public:
    MeanWriter(std::int32_t boxLength, const ChannelOrder& from, const ChannelOrder& to)
        : reciprocal_(1.0 / boxLength), arrange_(from, to) {}

    // `nextSums` gives the sums of the pixels from `x` on, one after the other.
    template <typename NextSums>
    void Write(std::int64_t width, std::uint8_t* destination, NextSums nextSums) const {
        std::int64_t x = 0;
        for (; x + pixelsStored <= width; x += pixelsStored) {
            const __m128i means[] = {MeansOf(nextSums(x)), MeansOf(nextSums(x + 1)),
                                     MeansOf(nextSums(x + 2)), MeansOf(nextSums(x + 3))};
            Sse2::StoreAll(destination + x * bytesPerPixelWord, Arranged(means));
        }
        for (; x < width; ++x) {
            const __m128i means[pixelsStored] = {MeansOf(nextSums(x))};
            const int pixel = _mm_cvtsi128_si32(Arranged(means));
            __builtin_memcpy(destination + x * bytesPerPixelWord, &pixel, sizeof pixel);
        }
    }

  private:
    __m128i MeansOf(__m128i sums) const {
        return FourDoubles::FromIntegers(sums).Plus(0.5).Times(reciprocal_).Truncated();
    }

    __m128i Arranged(const __m128i (&means)[pixelsStored]) const {
        return arrange_(Sse2::PackPixels([&](int pixel) { return means[pixel]; }));
    }

    double reciprocal_;
    typename Narrow::Arrangement arrange_;
};

inline void AddToLongSums(const LongSumming& job) {
    for (std::int64_t index = 0; index < job.width * bytesPerPixelWord; ++index)
        job.sums[index] += job.times * job.row[index];
}

template <typename Narrow, typename FourDoubles>
void BlurColumnsLong(const LongColumnBlurring& job) {
    const MeanWriter<Narrow, FourDoubles> writer(job.boxLength, job.sourceOrder, job.order);
    writer.Write(job.width, job.destination, [&job](std::int64_t x) {
        const std::int64_t offset = x * bytesPerPixelWord;
        auto* const place = reinterpret_cast<__m128i*>(job.sums + offset);
        const __m128i sums = _mm_loadu_si128(place);
        const __m128i change = _mm_sub_epi32(Narrow::LoadIntegers(job.entering + offset),
                                             Narrow::LoadIntegers(job.leaving + offset));
        _mm_storeu_si128(place, _mm_add_epi32(sums, change));
        return sums;
    });
}

template <typename Narrow, typename FourDoubles>
void BlurRowLong(const LongRowBlurring& job) {
    const std::int64_t last = job.width - 1;
    const std::int64_t radius = job.radius;
    const auto pixel = [&job](std::int64_t x) {
        return Narrow::LoadIntegers(job.source + x * bytesPerPixelWord);
    };
    const auto least = [](std::int64_t left, std::int64_t right) {
        return left < right ? left : right;
    };
    // The box around the first pixel. The edge pixels stand for all that lies beyond them.
    std::int32_t first[bytesPerPixelWord] = {};
    AddToLongSums({.row = job.source, .times = job.radius + 1, .width = 1, .sums = first});
    const std::int64_t inside = least(radius, last);
    AddToLongSums({.row = job.source + last * bytesPerPixelWord,
                   .times = static_cast<std::int32_t>(radius - inside),
                   .width = 1,
                   .sums = first});
    __m128i sums = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
    for (std::int64_t x = 1; x <= inside; ++x)
        sums = _mm_add_epi32(sums, pixel(x));

    const MeanWriter<Narrow, FourDoubles> writer(2 * job.radius + 1, job.sourceOrder, job.order);
    writer.Write(job.width, job.destination, [&](std::int64_t x) {
        const __m128i own = sums;
        const __m128i leaving = pixel(x < radius ? 0 : x - radius);
        sums = _mm_add_epi32(sums, _mm_sub_epi32(pixel(least(x + radius + 1, last)), leaving));
        return own;
    });
}

}  // namespace
}  // namespace zvk::kernels
