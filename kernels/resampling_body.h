// The vector body of the resampler's passes, compiled once per instruction set. Included by the
// files that instantiate it and by nothing else; everything here is internal to each of them.
//
// Exactness: along a row, sums are formed in integers with one digit of the weights, then with two;
// down a column in single precision, in any order, fused or not. A list's bias and slack say
// between which two values the definition's sum lies; where both have one whole part, that is the
// byte. What is still open is computed by the definition: its products are exact along a row, and
// so may be fused there, and they are rounded to single precision down a column.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/resampling.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Bits of the colour channels among bytes of pixels, lowest first.
inline std::uint64_t ColourLanes(const ChannelOrder& order) {
    const std::uint64_t colours = 0xFU & ~(1U << order.alpha);
    return colours * 0x1111111111111111U;
}

template <typename Taps>
class RowResampler {
  public:
    explicit RowResampler(const RowResampling& job)
        : job_(job),
          colourLanes_(static_cast<unsigned>(ColourLanes(job.order)) & 0xFFFFU),
          colours_(_mm_andnot_si128(
              _mm_cmpeq_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(job.order.alpha)),
              _mm_set1_epi32(-1))) {}

    void Run() const {
        std::int64_t x = 0;
        for (; x + blockLength <= job_.listCount; x += blockLength) {
            StoreBlock(x, ResamplePixel(x), ResamplePixel(x + 1), ResamplePixel(x + 2),
                       ResamplePixel(x + 3));
        }
        for (; x < job_.listCount; ++x)
            StorePixel(x, ResamplePixel(x));
    }

  private:
    using Totals = typename Taps::Totals;
    using DoublePixel = typename Taps::DoublePixel;
    static constexpr std::int64_t blockLength = 4;

    // Pixel x of each row, one after the other.
    __m128i ResamplePixel(std::int64_t x) const {
        const FixedList& list = job_.lists[x];
        const Totals sums = SumProducts(list, list.coarse);
        const Totals least = sums + list.bias;
        if (least.DiffersAbove(list.shift, least + list.slack, colours_)) {
            return ResampleFinely(list, sums);
        }
        return (least >> list.shift).ToBytes();
    }

    Totals SumProducts(const FixedList& list, const std::int16_t* weights) const {
        typename Taps::Sums sums;
        std::int64_t offset = std::int64_t{list.first} * bytesPerPixelWord;
        for (std::int32_t tap = 0; tap < list.count; tap += Taps::tapsAtOnce) {
            sums.Add(job_.sources, offset, weights + tap);
            offset += Taps::tapsAtOnce * bytesPerPixelWord;
        }
        return sums.Reduce();
    }

    // Takes the second digit of the weights into account.
    [[gnu::noinline]] __m128i ResampleFinely(const FixedList& list, const Totals& coarse) const {
        const Totals rounded = coarse + (1 << (list.shift - 1));
        const Totals least = SumProducts(list, list.fine) + list.fineBias;
        const auto whole = [&](const Totals& fine) {
            return ((rounded + (fine >> list.fineShift)) >> list.shift).ToBytes();
        };
        const __m128i low = whole(least);
        const __m128i high = whole(least + list.fineSlack);
        if ((Sse2::Differing(low, high) & colourLanes_) == 0) return low;
        return ResampleExactly(*list.exact);
    }

    // Computes the pixels by the definition.
    __m128i ResampleExactly(const ContributionList& list) const {
        DoublePixel sums[rowsAtOnce];
        for (std::int32_t index = 0; index < list.count; ++index) {
            const Contribution& entry = list.entries[index];
            const std::int64_t offset = std::int64_t{entry.pixel} * bytesPerPixelWord;
            for (int row = 0; row < rowsAtOnce; ++row) {
                sums[row] = sums[row].PlusExact(DoublePixel::FromBytes(job_.sources[row] + offset),
                                                double{entry.weight});
            }
        }
        const double weightSum = list.weightSum;
        return _mm_packus_epi16(_mm_packs_epi32(sums[0].Mean(weightSum), sums[1].Mean(weightSum)),
                                _mm_packs_epi32(sums[2].Mean(weightSum), sums[3].Mean(weightSum)));
    }

    // Stores four neighbouring pixels of each row.
    void StoreBlock(std::int64_t x, __m128i first, __m128i second, __m128i third,
                    __m128i fourth) const {
        const __m128i upperLeft = _mm_unpacklo_epi32(first, second);
        const __m128i upperRight = _mm_unpacklo_epi32(third, fourth);
        const __m128i lowerLeft = _mm_unpackhi_epi32(first, second);
        const __m128i lowerRight = _mm_unpackhi_epi32(third, fourth);
        const std::int64_t offset = x * bytesPerPixelWord;
        Sse2::StoreAll(job_.destinations[0] + offset, _mm_unpacklo_epi64(upperLeft, upperRight));
        Sse2::StoreAll(job_.destinations[1] + offset, _mm_unpackhi_epi64(upperLeft, upperRight));
        Sse2::StoreAll(job_.destinations[2] + offset, _mm_unpacklo_epi64(lowerLeft, lowerRight));
        Sse2::StoreAll(job_.destinations[3] + offset, _mm_unpackhi_epi64(lowerLeft, lowerRight));
    }

    void StorePixel(std::int64_t x, __m128i pixels) const {
        alignas(16) std::uint8_t bytes[rowsAtOnce * bytesPerPixelWord];
        Sse2::StoreAll(bytes, pixels);
        for (int row = 0; row < rowsAtOnce; ++row) {
            __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord,
                             bytes + row * bytesPerPixelWord, bytesPerPixelWord);
        }
    }

    const RowResampling& job_;
    unsigned colourLanes_;
    __m128i colours_;
};

template <typename Simd, typename Narrow, typename Taps>
class ColumnBlender {
  public:
    explicit ColumnBlender(const ColumnBlending& job)
        : job_(job),
          arrange_(job.rowOrder, job.order),
          colourLanes_(static_cast<Mask>(ColourLanes(job.rowOrder))),
          firstPlace_(static_cast<std::int32_t>(job.list->first % job.rows.capacity)) {}

    void Run() const {
        const std::int64_t size = job_.width * bytesPerPixelWord;
        if (size < Simd::byteCount) {
            std::uint8_t bytes[Simd::byteCount];
            Simd::StoreAll(bytes, Blend(0));
            __builtin_memcpy(job_.destination, bytes, static_cast<std::size_t>(size));
            return;
        }
        std::int64_t offset = 0;
        for (; offset + Simd::byteCount <= size; offset += Simd::byteCount) {
            Simd::StoreAll(job_.destination + offset, Blend(offset));
        }
        // The last vector goes back over bytes that have been written; they come out the same.
        const std::int64_t last = size - Simd::byteCount;
        if (offset < size) Simd::StoreAll(job_.destination + last, Blend(last));
    }

  private:
    using Floats = typename Simd::Floats;
    using Bytes = typename Simd::Bytes;
    using Mask = typename Simd::Mask;
    using DoublePixel = typename Taps::DoublePixel;

    Bytes Blend(std::int64_t offset) const {
        const BoundedList& list = *job_.list;
        const Floats bias = Simd::Broadcast(list.bias);
        Floats sums[4] = {bias, bias, bias, bias};
        std::int32_t place = firstPlace_;
        const std::uint8_t* row = job_.rows.places + place * job_.rows.stride + offset;
        for (std::int32_t tap = 0; tap < list.count; ++tap) {
            const Floats weight = Simd::Broadcast(list.weights[tap]);
            for (int part = 0; part < 4; ++part) {
                const Floats values = Simd::LoadBytes(row + part * Simd::floatCount);
                sums[part] = Simd::MultiplyAdd(values, weight, sums[part]);
            }
            row += job_.rows.stride;
            if (++place == job_.rows.capacity) {
                place = 0;
                row = job_.rows.places + offset;
            }
        }
        const Floats slack = Simd::Broadcast(list.slack);
        const Bytes low = Simd::ToBytes(sums);
        const Bytes high = Simd::ToBytes({Simd::Add(sums[0], slack), Simd::Add(sums[1], slack),
                                          Simd::Add(sums[2], slack), Simd::Add(sums[3], slack)});
        const Bytes pixels = Simd::InOrder(low);
        if (Simd::Differing(low, high) == 0) return arrange_(pixels);
        return arrange_(Settle(pixels, Simd::InOrder(high), offset));
    }

    // Computes by the definition what the bounds leave open, four pixels at a time.
    [[gnu::noinline]] Bytes Settle(Bytes low, Bytes high, std::int64_t offset) const {
        constexpr std::int64_t partSize = 16;
        std::uint8_t bytes[Simd::byteCount];
        Simd::StoreAll(bytes, low);
        const Mask open = Simd::Differing(low, high) & colourLanes_;
        const std::int64_t size = job_.width * bytesPerPixelWord - offset;
        for (std::int64_t part = 0; part < Simd::byteCount && part < size; part += partSize) {
            if ((open >> static_cast<unsigned>(part) & 0xFFFFU) == 0) continue;
            Sse2::StoreAll(bytes + part, BlendExactly(offset + part));
        }
        return Simd::LoadAll(bytes);
    }

    // Four pixels by the definition.
    __m128i BlendExactly(std::int64_t offset) const {
        const ContributionList& list = *job_.list->exact;
        DoublePixel sums[4];
        for (std::int32_t index = 0; index < list.count; ++index) {
            const Contribution& entry = list.entries[index];
            const std::uint8_t* pixels = job_.rows.Row(entry.pixel) + offset;
            const __m128 weight = _mm_set1_ps(entry.weight);
            for (int pixel = 0; pixel < 4; ++pixel) {
                const __m128 values = Narrow::LoadBytes(pixels + pixel * bytesPerPixelWord);
                sums[pixel] = sums[pixel] + DoublePixel::FromFloats(_mm_mul_ps(values, weight));
            }
        }
        const double weightSum = list.weightSum;
        return _mm_packus_epi16(_mm_packs_epi32(sums[0].Mean(weightSum), sums[1].Mean(weightSum)),
                                _mm_packs_epi32(sums[2].Mean(weightSum), sums[3].Mean(weightSum)));
    }

    const ColumnBlending& job_;
    typename Simd::Arrangement arrange_;
    Mask colourLanes_;
    std::int32_t firstPlace_;
};

template <typename Taps>
void ResampleRows(const RowResampling& job) {
    RowResampler<Taps>(job).Run();
}

template <typename Simd, typename Narrow, typename Taps>
void BlendRows(const ColumnBlending& job) {
    ColumnBlender<Simd, Narrow, Taps>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
