// Rows as bytes, with AVX-512 VNNI: a vector holds one colour of four neighbouring pixels in
// sixteen rows, so that one product sums up four taps of all rows with one byte of their weights.
// Coarse digits have three such bytes, which leaves so little open that fine ones are seldom
// needed.
//
// The sums of the bytes of digits wrap where they are put together. That gives the sums of whole
// digits as long as these fit.
#pragma once

#include <immintrin.h>

#include <algorithm>

#include "kernels/kernel_table.h"
#include "kernels/prefetching.h"
#include "kernels/repetition.h"
#include "kernels/row_lanes_avx512.h"

namespace zvk::kernels {
namespace {

class RowBytes {
  public:
    using Lanes = WidestRowLanes;
    // A number of every row for each colour.
    using Colours = Lanes[colourCount];
    static constexpr RowLayout layout = RowLayout::Bytes;
    static constexpr int rowCount = RowsAtOnce(layout);
    static constexpr bool servesTwo = false;

    explicit RowBytes(const RowResampling& job)
        : job_(job),
          byColour_(_mm512_broadcast_i32x4(_mm_and_si128(
              _mm_add_epi8(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                           _mm_set1_epi8(job.order.alpha == 0 ? 1 : 0)),
              _mm_set1_epi8(15)))),
          fetcher_({job.sources, job.ahead, job.sourceWidth * bytesPerPixelWord}) {
        static_assert(rowCount == 16, "as many rows as a vector has numbers");
        static_assert(colourCount == 3, "as many colours as are stored");
    }

    // Lays out the pixels of every row up to before place `end`, four at a time.
    void ArrangeUpTo(std::int32_t end) {
        for (; arranged_ < end; arranged_ += pixelsArranged) {
            const std::int64_t pixel = std::int64_t{arranged_} - job_.lead;
            const std::int64_t offset = pixel * bytesPerPixelWord;
            fetcher_.FetchAheadOf(offset);
            if (pixel >= 0 && job_.sourceWidth - pixel >= pixelsArranged) {
                Arrange([&](int row) { return job_.sources[row] + offset; });
            } else {
                ArrangeEnd(pixel);
            }
        }
    }

    // What coarse digits and the bias add up to.
    void SumUp(const FixedList& list, Colours& sums) const {
        Digits digits;
        Repeat<colourCount>([&](auto colour) {
            digits.low[colour] = Lanes::Broadcast(list.bias);
            digits.middle[colour] = Lanes::Broadcast(0);
            digits.high[colour] = Lanes::Broadcast(0);
        });
        Taps taps{.pixels = GroupOf(list.first, 0), .weights = list.bytes};
        if (list.hasLowBytes) {
            taps.Add<1>(list.count, digits);
            return Repeat<colourCount>([&](auto colour) { sums[colour] = digits.low[colour]; });
        }
        taps.Add<2>(list.highFirst, digits);
        taps.Add<3>(list.highCount, digits);
        taps.Add<2>(list.count - list.highFirst - list.highCount, digits);
        Repeat<colourCount>([&](auto colour) {
            const Lanes upper = (digits.high[colour] << 8) + digits.middle[colour];
            sums[colour] = (upper << 8) + digits.low[colour];
        });
    }

    // What fine digits add up to.
    void SumUpFinely(const FixedList& list, Colours& sums) const {
        for (int colour = 0; colour < colourCount; ++colour)
            sums[colour] = FineSum(list, colour, 0);
    }

    // The same for one colour, from `start` on.
    Lanes FineSum(const FixedList& list, int colour, std::int32_t start) const {
        const std::uint8_t* pixels = GroupOf(list.first, colour);
        Lanes sum = Lanes::Broadcast(start);
        for (std::int32_t group = 0; group < list.count / pixelsArranged; ++group) {
            AddProducts(Lanes::Load(pixels), LoadFour(list.bytes[group].fine), sum);
            pixels += bytesPerGroup;
        }
        return sum;
    }

    // Whether all pixels of a mirrored list add up with their mirror images to the same in every
    // row that is open, as they do on even slopes; symmetrical weights then give exact halves
    // again and again. `sums` receives what they add up to.
    //
    // Two sums of bytes are the same where their halves, rounded up, and their last bits are.
    bool AreMirrored(const FixedList& list, int colour, Lanes open, Lanes& sums) const {
        const std::uint8_t* pixels = GroupOf(list.first, colour);
        const std::uint8_t* images = GroupOf(list.first + list.count - pixelsArranged, colour);
        const MirroredBytes first(pixels, images);
        sums = first.FirstSums();
        const __m512i half = WithFirstBytes(first.HalfSums());
        const __m512i odd = WithFirstBytes(first.OddSums());
        __m512i differences = _mm512_setzero_si512();
        for (std::int32_t tap = 0; tap < list.count / 2; tap += pixelsArranged) {
            const MirroredBytes bytes(pixels, images);
            differences = OrDifferences(differences, bytes.HalfSums(), half);
            differences = OrDifferences(differences, bytes.OddSums(), odd);
            pixels += bytesPerGroup;
            images -= bytesPerGroup;
        }
        const __mmask16 openRows = _mm512_test_epi32_mask(open.bits, open.bits);
        return _mm512_mask_test_epi32_mask(openRows, differences, differences) == 0;
    }

    // One colour of one pixel.
    Lanes ValuesOf(std::int32_t place, int colour) const {
        const Lanes four = Lanes::Load(GroupOf(place, colour));
        return (four >> 8 * (place % pixelsArranged)) & Lanes::Broadcast(255);
    }

  private:
    static constexpr int quarter = rowCount / 4;
    static constexpr std::int64_t bytesPerColour = sizeof(Lanes);
    static constexpr std::int64_t bytesPerGroup = bytesPerColour * colourCount;
    static_assert(pixelsArranged == PixelsAtOnce(RowLayout::Bytes));

    // Sums with each byte of the coarse digits.
    struct Digits {
        Colours low;
        Colours middle;
        Colours high;
    };

    // The next pixels of a list and their weights.
    struct Taps {
        const std::uint8_t* pixels;
        const WeightBytes* weights;

        // Adds the products of so many of them with the first bytes of their weights' digits.
        template <int byteCount>
        [[gnu::always_inline]] void Add(std::int32_t count, Digits& digits) {
            for (std::int32_t group = 0; group < count / pixelsArranged; ++group) {
                const __m512i low = LoadFour(weights->low);
                const __m512i middle = LoadFour(weights->middle);
                const __m512i high = LoadFour(weights->high);
                Repeat<colourCount>([&](auto colour) __attribute__((always_inline)) {
                    const Lanes values = Lanes::Load(pixels + colour * bytesPerColour);
                    AddProducts(values, low, digits.low[colour]);
                    if constexpr (byteCount > 1) AddProducts(values, middle, digits.middle[colour]);
                    if constexpr (byteCount > 2) AddProducts(values, high, digits.high[colour]);
                });
                pixels += bytesPerGroup;
                ++weights;
            }
        }
    };

    // The bytes of four pixels and of their mirror images.
    struct MirroredBytes {
        __m512i own;
        __m512i images;

        MirroredBytes(const std::uint8_t* pixels, const std::uint8_t* imagePixels)
            : own(_mm512_load_si512(pixels)),
              images(_mm512_shuffle_epi8(
                  _mm512_load_si512(imagePixels),
                  _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4,  //
                                                       11, 10, 9, 8, 15, 14, 13, 12)))) {}

        // The sum of the first of each four.
        Lanes FirstSums() const {
            const Lanes low = Lanes::Broadcast(255);
            return (Lanes{own} & low) + (Lanes{images} & low);
        }
        __m512i HalfSums() const { return _mm512_avg_epu8(own, images); }
        __m512i OddSums() const {
            return _mm512_and_si512(_mm512_xor_si512(own, images), _mm512_set1_epi8(1));
        }
    };

    // The first of each four bytes in the places of all.
    static __m512i WithFirstBytes(__m512i bytes) {
        return _mm512_shuffle_epi8(bytes, _mm512_broadcast_i32x4(_mm_setr_epi8(
                                              0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12)));
    }

    // These bits, and those in which the others differ.
    static __m512i OrDifferences(__m512i bits, __m512i left, __m512i right) {
        return _mm512_or_si512(bits, _mm512_xor_si512(left, right));
    }

    static void AddProducts(Lanes pixels, __m512i weights, Lanes& sum) {
        sum.bits = _mm512_dpbusd_epi32(sum.bits, pixels.bits, weights);
    }

    // The weights of four taps for every row.
    static __m512i LoadFour(const std::int8_t (&weights)[weightsPerGroup]) {
        std::int32_t four = 0;
        __builtin_memcpy(&four, weights, sizeof four);
        return _mm512_set1_epi32(four);
    }

    // Lays out four pixels that lie where `placeOf` says.
    template <typename PlaceOf>
    [[gnu::always_inline]] void Arrange(PlaceOf placeOf) const {
        Lanes rows[quarter];
        for (int row = 0; row < quarter; ++row) {
            const auto load = [&](int part) {
                return _mm_loadu_si128(
                    reinterpret_cast<const __m128i*>(placeOf(row + part * quarter)));
            };
            const Lanes pixels = Lanes::FromParts({load(0), load(1), load(2), load(3)});
            rows[row] = {_mm512_shuffle_epi8(pixels.bits, byColour_)};
        }
        const Lanes firstRows = rows[0].FirstNumbersWith(rows[1]);
        const Lanes lastRows = rows[2].FirstNumbersWith(rows[3]);
        const Lanes firstOfLast = rows[0].LastNumbersWith(rows[1]);
        const Lanes lastOfLast = rows[2].LastNumbersWith(rows[3]);
        std::uint8_t* const place = GroupOf(arranged_, 0);
        firstRows.FirstPairsWith(lastRows).Store(place);
        firstRows.LastPairsWith(lastRows).Store(place + bytesPerColour);
        firstOfLast.FirstPairsWith(lastOfLast).Store(place + 2 * bytesPerColour);
    }

    // The same for the first or the last pixels, from `pixel` on, not all of which are there.
    [[gnu::noinline]] void ArrangeEnd(std::int64_t pixel) const {
        std::uint8_t aside[rowCount][pixelsArranged * bytesPerPixelWord] = {};
        const std::int64_t begin = std::max<std::int64_t>(pixel, 0);
        const std::int64_t end = std::min(pixel + pixelsArranged, job_.sourceWidth);
        for (int row = 0; row < rowCount; ++row) {
            __builtin_memcpy(aside[row] + (begin - pixel) * bytesPerPixelWord,
                             job_.sources[row] + begin * bytesPerPixelWord,
                             static_cast<std::size_t>((end - begin) * bytesPerPixelWord));
        }
        Arrange([&](int row) { return aside[row]; });
    }

    // Where one colour of a place and its neighbours lies.
    std::uint8_t* GroupOf(std::int32_t place, int colour) const {
        return job_.layout + place / pixelsArranged * bytesPerGroup + colour * bytesPerColour;
    }

    const RowResampling& job_;
    __m512i byColour_;
    StepFetcher<rowCount, pixelsArranged * bytesPerPixelWord> fetcher_;
    std::int32_t arranged_ = 0;
};

}  // namespace
}  // namespace zvk::kernels
