// The vector body of the resampler's pass along the rows, compiled once per instruction set.
// Included by the files that instantiate it and by nothing else; everything here is internal to
// each of them.
//
// The rows are the lanes. How their pixels are laid out and multiplied is a matter of `Rows`; what
// the sums decide is settled here.
//
// Exactness: sums are formed in integers with one digit of the weights, then with two. A list's
// bounds say between which two values the definition's sum lies; where both have one whole part,
// that is the byte. Where one half of a list mirrors the other, equal sums of pixels and their
// mirror images decide what is open. What is still open is computed by the definition, whose
// products are exact and so may be fused.
#pragma once

#include <emmintrin.h>

#include <algorithm>

#include "kernels/kernel_table.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

template <typename Rows, typename FourDoubles>
class RowResampler {
  public:
    explicit RowResampler(const RowResampling& job)
        : job_(job),
          rows_(job),
          // Pixels that do not begin with a colour begin with the byte that is none.
          colourShift_(job_.order.alpha == 0 ? 8 : 0) {}

    void Run() {
        for (std::int64_t x = 0; x < job_.listCount; x += blockLength)
            ResampleBlock(x, std::min(blockLength, job_.listCount - x));
    }

  private:
    using Lanes = typename Rows::Lanes;
    using Colours = typename Rows::Colours;

    static constexpr std::int64_t blockLength = 4;
    static constexpr int rowsPerPart = 4;
    static constexpr int partCount = Rows::rowCount / rowsPerPart;
    static constexpr std::int32_t shortList = 8;

    void ResampleBlock(std::int64_t x, std::int64_t length) {
        std::int32_t end = 0;
        for (std::int64_t index = 0; index < length; ++index)
            end = std::max(end, job_.lists[x + index].end);
        rows_.ArrangeUpTo(end);
        Lanes pixels[blockLength];
        for (std::int64_t index = 0; index < blockLength; index += 2) {
            const FixedList& list = job_.lists[x + std::min(index, length - 1)];
            const FixedList& next = job_.lists[x + std::min(index + 1, length - 1)];
            ResampleTwo(list, next, pixels[index], pixels[index + 1]);
        }
        for (Lanes& pixel : pixels)
            pixel = pixel << colourShift_;
        if (length == blockLength) {
            Store(pixels, [&](int row) { return job_.destinations[row] + x * bytesPerPixelWord; });
        } else {
            StoreFew(pixels, x, length);
        }
    }

    // One pixel of every row, its colours in its first bytes.
    Lanes Resample(const FixedList& list) const {
        Colours sums;
        rows_.SumUp(list, sums);
        return Finish(list, sums);
    }

    void ResampleTwo(const FixedList& list, const FixedList& next, Lanes& pixel,
                     Lanes& nextPixel) const {
        if constexpr (Rows::servesTwo) {
            if (Rows::Overlap(list, next)) return ResampleTogether(list, next, pixel, nextPixel);
        }
        pixel = Resample(list);
        nextPixel = Resample(next);
    }

    void ResampleTogether(const FixedList& list, const FixedList& next, Lanes& pixel,
                          Lanes& nextPixel) const {
        Colours sums;
        Colours nextSums;
        rows_.SumUpTogether(list, next, sums, nextSums);
        pixel = Finish(list, sums);
        nextPixel = Finish(next, nextSums);
    }

    // The bytes of a list whose coarse digits' products have been added up.
    Lanes Finish(const FixedList& list, const Colours& sums) const {
        if (list.slack != 0) {
            if (list.fineSlack == 0 && list.count <= shortList) return ResampleInTwo(list, sums);
            if (AreOpen(list, sums)) return ResampleFinely(list, sums);
        }
        return Lanes::PackPixels(sums[0] >> list.shift, sums[1] >> list.shift,
                                 sums[2] >> list.shift);
    }

    // The same with both digits and no question left. A short list is summed up once more in less
    // time than it takes to find out whether that is needed.
    Lanes ResampleInTwo(const FixedList& list, const Colours& coarse) const {
        Colours fine;
        rows_.SumUpFinely(list, fine);
        const Lanes rounding = Lanes::Broadcast(HalfOf(list) - list.bias);
        const auto valueOf = [&](int colour) {
            return (coarse[colour] + rounding + (fine[colour] >> list.fineShift)) >> list.shift;
        };
        return Lanes::PackPixels(valueOf(0), valueOf(1), valueOf(2));
    }

    // Whether sums with the coarse digit leave more than one byte for some colour of some row.
    static bool AreOpen(const FixedList& list, const Colours& least) {
        const Lanes slack = Lanes::Broadcast(list.slack);
        const Lanes differences = (least[0] ^ (least[0] + slack)) |
                                  (least[1] ^ (least[1] + slack)) | (least[2] ^ (least[2] + slack));
        return differences.HasAny(Lanes::Broadcast(WholeBits(list.shift)));
    }

    static std::int32_t HalfOf(const FixedList& list) { return 1 << (list.shift - 1); }

    // The bits of a number's whole part.
    static std::int32_t WholeBits(std::int32_t shift) {
        return static_cast<std::int32_t>(~std::uint32_t{0} << static_cast<std::uint32_t>(shift));
    }

    // The same where the coarse digit leaves more than one byte for some colour of some row.
    // `least` are the lower ends of its intervals.
    [[gnu::noinline]] Lanes ResampleFinely(const FixedList& list, const Colours& least) const {
        const Lanes slack = Lanes::Broadcast(list.slack);
        const Lanes whole = Lanes::Broadcast(WholeBits(list.shift));
        Colours bytes;
        Repeat<colourCount>([&](auto colour) {
            const Lanes low = least[colour];
            const Lanes open = (low ^ (low + slack)) & whole;
            bytes[colour] =
                open.HasAny(whole) ? SettleOpen(list, colour, low, open) : low >> list.shift;
        });
        return Lanes::PackPixels(bytes[0], bytes[1], bytes[2]);
    }

    // One colour, of which those rows are not settled that have any bit in `open`.
    Lanes SettleOpen(const FixedList& list, int colour, Lanes least, Lanes open) const {
        Lanes sums;
        if (list.mirrored == notMirrored || !rows_.AreMirrored(list, colour, open, sums))
            return SettleColour(list, colour, least);
        const Lanes rounded = sums + Lanes::Broadcast(list.mirrored);
        return Lanes::Where(open.IsZero(), least >> list.shift, rounded >> 1);
    }

    // One colour, with the second digit of the weights.
    Lanes SettleColour(const FixedList& list, int colour, Lanes least) const {
        const Lanes fine = rows_.FineSum(list, colour, list.fineBias);
        const Lanes rounded = least + Lanes::Broadcast(HalfOf(list) - list.bias);
        const Lanes low = rounded + (fine >> list.fineShift);
        const Lanes high = rounded + ((fine + Lanes::Broadcast(list.fineSlack)) >> list.fineShift);
        const bool isOpen = (low ^ high).HasAny(Lanes::Broadcast(WholeBits(list.shift)));
        return isOpen ? ComputeColour(list, colour) : low >> list.shift;
    }

    // One colour of every row in double precision.
    struct Doubles {
        FourDoubles parts[partCount];

        Doubles operator+(const Doubles& other) const {
            Doubles sum;
            Repeat<partCount>(
                [&](auto part) { sum.parts[part] = parts[part] + other.parts[part]; });
            return sum;
        }
        // A product that is exact, and the sum.
        void AddProduct(Lanes values, double weight) {
            Repeat<partCount>([&](auto part) {
                parts[part] = parts[part].PlusExact(
                    FourDoubles::FromIntegers(values.template Part<part>()), weight);
            });
        }
    };

    // One colour by the definition. Where no sum is rounded, two are formed at once.
    [[gnu::noinline]] Lanes ComputeColour(const FixedList& list, int colour) const {
        const ContributionList& exact = *list.exact;
        const auto valuesOf = [&](const Contribution& entry) {
            return rows_.ValuesOf(entry.pixel + job_.lead, colour);
        };
        Doubles sum;
        Doubles other;
        std::int32_t index = 0;
        for (; list.addsExactly && index + 2 <= exact.count; index += 2) {
            const Contribution& entry = exact.entries[index];
            const Contribution& next = exact.entries[index + 1];
            sum.AddProduct(valuesOf(entry), entry.weight);
            other.AddProduct(valuesOf(next), next.weight);
        }
        sum = sum + other;
        for (; index < exact.count; ++index)
            sum.AddProduct(valuesOf(exact.entries[index]), exact.entries[index].weight);
        __m128i means[partCount];
        for (int part = 0; part < partCount; ++part)
            means[part] = sum.parts[part].Mean(exact.weightSum);
        return Lanes::FromParts(means);
    }

    // Stores four neighbouring pixels of each row where `placeOf` says.
    template <typename PlaceOf>
    static void Store(const Lanes (&pixels)[blockLength], PlaceOf placeOf) {
        const Lanes firstLeft = pixels[0].FirstNumbersWith(pixels[1]);
        const Lanes firstRight = pixels[2].FirstNumbersWith(pixels[3]);
        const Lanes lastLeft = pixels[0].LastNumbersWith(pixels[1]);
        const Lanes lastRight = pixels[2].LastNumbersWith(pixels[3]);
        const auto store = [&](Lanes rows, int first) {
            Repeat<partCount>([&](auto part) {
                StoreVector(placeOf(first + part * rowsPerPart), rows.template Part<part>());
            });
        };
        store(firstLeft.FirstPairsWith(firstRight), 0);
        store(firstLeft.LastPairsWith(firstRight), 1);
        store(lastLeft.FirstPairsWith(lastRight), 2);
        store(lastLeft.LastPairsWith(lastRight), 3);
    }

    static void StoreVector(std::uint8_t* place, __m128i bytes) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(place), bytes);
    }

    void StoreFew(const Lanes (&pixels)[blockLength], std::int64_t x, std::int64_t length) const {
        std::uint8_t aside[Rows::rowCount][blockLength * bytesPerPixelWord];
        Store(pixels, [&](int row) { return aside[row]; });
        for (int row = 0; row < Rows::rowCount; ++row) {
            __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord, aside[row],
                             static_cast<std::size_t>(length * bytesPerPixelWord));
        }
    }

    const RowResampling& job_;
    Rows rows_;
    std::int32_t colourShift_;
};

template <typename Rows, typename FourDoubles>
void ResampleRows(const RowResampling& job) {
    RowResampler<Rows, FourDoubles>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
