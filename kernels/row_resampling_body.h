// The vector body of the resampler's pass along the rows, compiled once per instruction set.
// Included by the files that instantiate it and by nothing else; everything here is internal to
// each of them.
//
// Exactness: sums are formed in integers with one digit of the weights, then with two. A list's
// bounds say between which two values the definition's sum lies; where both have one whole part,
// that is the byte. What is still open is computed by the definition, whose products are exact and
// so may be fused.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

template <typename Taps>
class RowResampler {
  public:
    explicit RowResampler(const RowResampling& job)
        : job_(job),
          colours_(_mm_andnot_si128(
              _mm_cmpeq_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(job.order.alpha)),
              _mm_set1_epi32(-1))) {}

    void Run() const {
        std::int64_t x = 0;
        for (; x + blockLength <= job_.listCount; x += blockLength)
            ResampleBlock(x);
        for (; x < job_.listCount; ++x)
            StorePixel(x, ResamplePixel(job_.lists[x]));
    }

  private:
    using Totals = typename Taps::Totals;
    using DoublePixel = typename Taps::DoublePixel;
    static constexpr std::int64_t blockLength = 4;

    // Lists up to here are summed up in no time, and one branch for several pays.
    static constexpr std::int32_t shortList = 8;

    void ResampleBlock(std::int64_t x) const {
        const FixedList* lists = job_.lists + x;
        __m128i pixels[blockLength];
        if (lists[0].count <= shortList && lists[1].count <= shortList &&
            lists[2].count <= shortList && lists[3].count <= shortList) {
            ResampleTogether(lists, pixels);
        } else {
            for (int index = 0; index < blockLength; ++index)
                pixels[index] = ResamplePixel(lists[index]);
        }
        StoreBlock(x, pixels);
    }

    void ResampleTogether(const FixedList* lists, __m128i (&pixels)[blockLength]) const {
        if (All(lists, [](const FixedList& list) { return list.slack == 0; })) {
            for (int index = 0; index < blockLength; ++index)
                pixels[index] = WholeParts(lists[index], SumFew(lists[index], lists[index].coarse));
        } else if (All(lists, [](const FixedList& list) { return list.isExactInTwo; })) {
            for (int index = 0; index < blockLength; ++index)
                pixels[index] = ResampleInTwo(lists[index]);
        } else {
            ResampleWithBounds(lists, pixels);
        }
    }

    template <typename Has>
    static bool All(const FixedList* lists, Has has) {
        return has(lists[0]) && has(lists[1]) && has(lists[2]) && has(lists[3]);
    }

    void ResampleWithBounds(const FixedList* lists, __m128i (&pixels)[blockLength]) const {
        Totals sums[blockLength];
        bool isOpen = false;
        for (int index = 0; index < blockLength; ++index) {
            sums[index] = SumFew(lists[index], lists[index].coarse);
            isOpen = isOpen | IsOpen(lists[index], sums[index]);
        }
        for (int index = 0; index < blockLength; ++index) {
            pixels[index] = isOpen ? ResampleFinely(lists[index], sums[index])
                                   : WholeParts(lists[index], sums[index]);
        }
    }

    // With both digits and no question left.
    __m128i ResampleInTwo(const FixedList& list) const {
        const Totals coarse = SumFew(list, list.coarse) + (1 << (list.shift - 1));
        const Totals fine = SumFew(list, list.fine) >> list.fineShift;
        return ((coarse + fine) >> list.shift).ToBytes();
    }

    // A pixel of each row, one after the other.
    __m128i ResamplePixel(const FixedList& list) const {
        const Totals sums = SumProducts(list, list.coarse);
        return IsOpen(list, sums) ? ResampleFinely(list, sums) : WholeParts(list, sums);
    }

    [[gnu::always_inline]] Totals SumProducts(const FixedList& list,
                                              const std::int16_t* weights) const {
        return Taps::SumProducts(job_.sources, std::int64_t{list.first} * bytesPerPixelWord,
                                 weights, list.count);
    }

    // The same for a short list.
    [[gnu::always_inline]] Totals SumFew(const FixedList& list, const std::int16_t* weights) const {
        return Taps::SumFew(job_.sources, std::int64_t{list.first} * bytesPerPixelWord, weights,
                            list.count);
    }

    // Whether sums with the coarse digit leave more than one byte for some colour.
    bool IsOpen(const FixedList& list, const Totals& sums) const {
        const Totals least = sums + list.bias;
        return least.DiffersAbove(list.shift, least + list.slack, colours_);
    }

    static __m128i WholeParts(const FixedList& list, const Totals& sums) {
        return ((sums + list.bias) >> list.shift).ToBytes();
    }

    // Takes the second digit of the weights into account.
    __m128i ResampleFinely(const FixedList& list, const Totals& coarse) const {
        const Totals rounded = coarse + (1 << (list.shift - 1));
        const Totals least = SumProducts(list, list.fine) + list.fineBias;
        const Totals low = rounded + (least >> list.fineShift);
        const Totals high = rounded + ((least + list.fineSlack) >> list.fineShift);
        if (low.DiffersAbove(list.shift, high, colours_)) return ResampleExactly(*list.exact);
        return (low >> list.shift).ToBytes();
    }

    // Computes the pixels by the definition.
    [[gnu::noinline]] __m128i ResampleExactly(const ContributionList& list) const {
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
        return Sse2::PackPixels([&](int row) { return sums[row].Mean(weightSum); });
    }

    // Stores four neighbouring pixels of each row.
    void StoreBlock(std::int64_t x, const __m128i (&pixels)[blockLength]) const {
        __m128i rows[rowsAtOnce];
        Sse2::Transpose(pixels, rows);
        for (int row = 0; row < rowsAtOnce; ++row)
            Sse2::StoreAll(job_.destinations[row] + x * bytesPerPixelWord, rows[row]);
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
    __m128i colours_;
};

template <typename Taps>
void ResampleRows(const RowResampling& job) {
    RowResampler<Taps>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
