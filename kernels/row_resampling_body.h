// The vector body of the resampler's pass along the rows, compiled once per instruction set.
// Included by the files that instantiate it and by nothing else; everything here is internal to
// each of them.
//
// The rows are the lanes: a vector holds one colour of two neighbouring pixels in eight rows, as
// words, so that one product sums up two taps of all rows. Pixels are widened once, shortly before
// the first list that names them.
//
// Exactness: sums are formed in integers with one digit of the weights, then with two. A list's
// bounds say between which two values the definition's sum lies; where both have one whole part,
// that is the byte. Where one half of a list mirrors the other, equal sums of pixels and their
// mirror images decide what is open. What is still open is computed by the definition, whose
// products are exact and so may be fused.
#pragma once

#include <algorithm>

#include "kernels/kernel_table.h"
#include "kernels/prefetching.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

template <typename Lanes, typename FourDoubles>
class RowResampler {
  public:
    explicit RowResampler(const RowResampling& job)
        : job_(job),
          pairing_(job.order),
          // Pixels that do not begin with a colour begin with the byte that is none.
          colourShift_(job.order.alpha == 0 ? 8 : 0) {
        static_assert(rowsAtOnce == 8, "as many rows as a vector has numbers");
        static_assert(colourCount == 3, "as many colours as are packed");
    }

    void Run() {
        for (std::int64_t x = 0; x < job_.listCount; x += blockLength)
            ResampleBlock(x, std::min(blockLength, job_.listCount - x));
    }

  private:
    static constexpr std::int64_t blockLength = 4;
    static constexpr int halfRows = rowsAtOnce / 2;
    static constexpr std::int32_t shortList = 8;
    static constexpr std::int32_t overlapWorth = 8;

    // A number of every row for each colour.
    using Colours = Lanes[colourCount];

    void ResampleBlock(std::int64_t x, std::int64_t length) {
        std::int32_t end = 0;
        for (std::int64_t index = 0; index < length; ++index)
            end = std::max(end, job_.lists[x + index].end);
        WidenUpTo(end);
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

    // Makes words of the pixels of every row up to before `end`, four at a time.
    void WidenUpTo(std::int32_t end) {
        for (; widened_ < end; widened_ += pixelsWidened) {
            const std::int64_t offset = widened_ * bytesPerPixelWord;
            FetchAhead(offset);
            if (job_.sourceWidth - widened_ >= pixelsWidened) {
                Widen([&](int row) { return job_.sources[row] + offset; });
            } else {
                WidenLast(offset);
            }
        }
    }

    // Requests a part of the rows ahead: of all of them by the time that a cache line is widened.
    void FetchAhead(std::int64_t offset) const {
        constexpr std::int64_t step = pixelsWidened * bytesPerPixelWord;
        constexpr std::int64_t rowsPerStep = rowsAtOnce * step / cacheLine;
        const std::int64_t first = offset % cacheLine / step * rowsPerStep;
        for (std::int64_t row = first; row < first + rowsPerStep; ++row)
            Prefetch(job_.ahead[row] + offset);
    }

    // Makes words of four pixels that lie where `placeOf` says.
    template <typename PlaceOf>
    void Widen(PlaceOf placeOf) const {
        Lanes pairs[halfRows];
        for (int row = 0; row < halfRows; ++row)
            pairs[row] = pairing_(Lanes::FromHalves(placeOf(row), placeOf(row + halfRows)));
        std::uint16_t* const words = WordsOf(widened_, 0);
        WidenPair(pairs[0].FirstWordsWith(pairs[1]), pairs[2].FirstWordsWith(pairs[3]), words);
        WidenPair(pairs[0].LastWordsWith(pairs[1]), pairs[2].LastWordsWith(pairs[3]),
                  words + wordsPerPair);
    }

    // The same for the last pixels, fewer than four.
    [[gnu::noinline]] void WidenLast(std::int64_t offset) const {
        std::uint8_t aside[rowsAtOnce][pixelsWidened * bytesPerPixelWord] = {};
        const std::int64_t size = job_.sourceWidth * bytesPerPixelWord - offset;
        for (int row = 0; row < rowsAtOnce; ++row) {
            __builtin_memcpy(aside[row], job_.sources[row] + offset,
                             static_cast<std::size_t>(size));
        }
        Widen([&](int row) { return aside[row]; });
    }

    // Stores the words of two pixels, whose colours are given for two rows of each half.
    static void WidenPair(Lanes firstRows, Lanes lastRows, std::uint16_t* words) {
        const Lanes zero = Lanes::Broadcast(0);
        const Lanes firstColours = firstRows.FirstNumbersWith(lastRows);
        firstColours.FirstBytesWith(zero).Store(words);
        firstColours.LastBytesWith(zero).Store(words + wordsPerColour);
        firstRows.LastNumbersWith(lastRows).FirstBytesWith(zero).Store(words + 2 * wordsPerColour);
    }

    // One pixel of every row, its colours in its first bytes.
    Lanes Resample(const FixedList& list) const {
        Colours sums;
        StartWith(list.bias, sums);
        AddProducts(list.first, list.count, list.low, sums);
        return Finish(list, sums);
    }

    void ResampleTwo(const FixedList& list, const FixedList& next, Lanes& pixel,
                     Lanes& nextPixel) const {
        if constexpr (Lanes::fitTwice) {
            if (Overlap(list, next)) return ResampleTogether(list, next, pixel, nextPixel);
        }
        pixel = Resample(list);
        nextPixel = Resample(next);
    }

    // Two pixels of every row from lists that overlap: what both name is loaded once.
    void ResampleTogether(const FixedList& list, const FixedList& next, Lanes& pixel,
                          Lanes& nextPixel) const {
        Colours sums;
        Colours nextSums;
        StartWith(list.bias, sums);
        StartWith(next.bias, nextSums);
        const std::int32_t ownCount = next.first - list.first;
        AddProducts(list.first, ownCount, list.low, sums);
        const std::int32_t sharedCount = list.count - ownCount;
        AddSharedProducts(WordsOf(next.first, 0), sharedCount, list.low + ownCount, next.low, sums,
                          nextSums);
        AddProducts(next.first + sharedCount, next.count - sharedCount, next.low + sharedCount,
                    nextSums);
        pixel = Finish(list, sums);
        nextPixel = Finish(next, nextSums);
    }

    // Adds the products of `count` pixels' words with the weights of two lists.
    static void AddSharedProducts(const std::uint16_t* words, std::int32_t count,
                                  const std::int16_t* weights, const std::int16_t* nextWeights,
                                  Colours& sums, Colours& nextSums) {
        Colours own;
        Colours others;
        Repeat<colourCount>([&](auto colour) {
            own[colour] = sums[colour];
            others[colour] = nextSums[colour];
        });
        for (std::int32_t tap = 0; tap < count; tap += 2) {
            const Lanes factors = LoadPair(weights + tap);
            const Lanes nextFactors = LoadPair(nextWeights + tap);
            Repeat<colourCount>([&](auto colour) {
                Lanes values = Lanes::Load(words + colour * wordsPerColour);
                values.KeepLoaded();
                own[colour] = own[colour].PlusProducts(values, factors);
                others[colour] = others[colour].PlusProducts(values, nextFactors);
            });
            words += wordsPerPair;
        }
        Repeat<colourCount>([&](auto colour) {
            sums[colour] = own[colour];
            nextSums[colour] = others[colour];
        });
    }

    // Whether two lists have so much in common that it pays to serve them together.
    static bool Overlap(const FixedList& list, const FixedList& next) {
        const std::int32_t end = list.first + list.count;
        return list.first <= next.first && end <= next.first + next.count &&
               end - next.first >= overlapWorth;
    }

    static void StartWith(std::int32_t bias, Colours& sums) {
        for (Lanes& sum : sums)
            sum = Lanes::Broadcast(bias);
    }

    // The bytes of a list whose products with the low parts of the coarse digits have been added
    // up.
    Lanes Finish(const FixedList& list, Colours& sums) const {
        if (list.highCount > 0) AddHighProducts(list, sums);
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
        StartWith(0, fine);
        AddProducts(list.first, list.count, list.fine, fine);
        const Lanes rounding = Lanes::Broadcast(HalfOf(list) - list.bias);
        const auto valueOf = [&](int colour) {
            return (coarse[colour] + rounding + (fine[colour] >> list.fineShift)) >> list.shift;
        };
        return Lanes::PackPixels(valueOf(0), valueOf(1), valueOf(2));
    }

    void AddHighProducts(const FixedList& list, Colours& sums) const {
        Colours high;
        StartWith(0, high);
        AddProducts(list.first + list.highFirst, list.highCount, list.high, high);
        for (int colour = 0; colour < colourCount; ++colour)
            sums[colour] = sums[colour] + (high[colour] << highDigitShift);
    }

    // Adds the products of pixels from `first` on with one digit of their weights.
    [[gnu::always_inline]] void AddProducts(std::int32_t first, std::int32_t count,
                                            const std::int16_t* weights, Colours& sums) const {
        const std::uint16_t* words = WordsOf(first, 0);
        const auto addPair = [&sums](const std::uint16_t* pair, Lanes factors) {
            for (int colour = 0; colour < colourCount; ++colour) {
                const Lanes values = Lanes::Load(pair + colour * wordsPerColour);
                sums[colour] = sums[colour].PlusProducts(values, factors);
            }
        };
        std::int32_t left = count;
        for (; left >= 4; left -= 4) {
            addPair(words, LoadPair(weights));
            addPair(words + wordsPerPair, LoadPair(weights + 2));
            words += 2 * wordsPerPair;
            weights += 4;
        }
        if (left > 0) addPair(words, LoadPair(weights));
    }

    // Whether sums with the coarse digit leave more than one byte for some colour of some row.
    static bool AreOpen(const FixedList& list, const Colours& least) {
        const Lanes slack = Lanes::Broadcast(list.slack);
        const Lanes differences = (least[0] ^ (least[0] + slack)) |
                                  (least[1] ^ (least[1] + slack)) | (least[2] ^ (least[2] + slack));
        return differences.HasAny(Lanes::Broadcast(WholeBits(list.shift)));
    }

    // The weights of two taps for every row.
    static Lanes LoadPair(const std::int16_t* weights) {
        std::int32_t pair = 0;
        __builtin_memcpy(&pair, weights, sizeof pair);
        return Lanes::Broadcast(pair);
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
        if (list.mirrored == notMirrored || !AreMirrored(list, colour, open, sums))
            return SettleColour(list, colour, least);
        const Lanes rounded = (sums & Lanes::Broadcast(0xFFFF)) + Lanes::Broadcast(list.mirrored);
        return Lanes::Where(open.IsZero(), least >> list.shift, rounded >> 1);
    }

    // Whether all pixels of a mirrored list add up with their mirror images to the same in every
    // row that is open, as they do on even slopes; symmetrical weights then give exact halves
    // again and again. `sums` receives what they add up to, as words.
    bool AreMirrored(const FixedList& list, int colour, Lanes open, Lanes& sums) const {
        const std::uint16_t* words = WordsOf(list.first, colour);
        const std::uint16_t* images = WordsOf(list.first + list.count - 2, colour);
        sums = Lanes::Load(words) + Lanes::Load(images).WithSwappedWords();
        Lanes differences = sums ^ sums.WithSwappedWords();
        if (!AreZeroWhere(open, differences)) return false;
        for (std::int32_t tap = 2; tap < list.count / 2; tap += 2) {
            words += wordsPerPair;
            images -= wordsPerPair;
            const Lanes others = Lanes::Load(words) + Lanes::Load(images).WithSwappedWords();
            differences = differences | (others ^ sums);
        }
        return AreZeroWhere(open, differences);
    }

    // Whether numbers are zero in all rows in which `rows` is not.
    static bool AreZeroWhere(Lanes rows, Lanes numbers) {
        return !rows.HasAny(numbers.IsZero() ^ Lanes::Broadcast(-1));
    }

    // One colour, with the second digit of the weights.
    Lanes SettleColour(const FixedList& list, int colour, Lanes least) const {
        const std::uint16_t* words = WordsOf(list.first, colour);
        Lanes fine = Lanes::Broadcast(list.fineBias);
        const auto addPair = [&](std::int32_t tap) {
            fine = fine.PlusProducts(Lanes::Load(words), LoadPair(list.fine + tap));
            words += wordsPerPair;
        };
        std::int32_t tap = 0;
        for (; tap + 4 <= list.count; tap += 4) {
            addPair(tap);
            addPair(tap + 2);
        }
        if (tap < list.count) addPair(tap);
        const Lanes rounded = least + Lanes::Broadcast(HalfOf(list) - list.bias);
        const Lanes low = rounded + (fine >> list.fineShift);
        const Lanes high = rounded + ((fine + Lanes::Broadcast(list.fineSlack)) >> list.fineShift);
        const bool isOpen = (low ^ high).HasAny(Lanes::Broadcast(WholeBits(list.shift)));
        return isOpen ? ComputeColour(list, colour) : low >> list.shift;
    }

    // One colour of every row in double precision.
    struct Doubles {
        FourDoubles lower;
        FourDoubles upper;

        Doubles operator+(const Doubles& other) const {
            return {lower + other.lower, upper + other.upper};
        }
        // A product that is exact, and the sum.
        void AddProduct(Lanes values, double weight) {
            lower = lower.PlusExact(FourDoubles::FromIntegers(values.Lower()), weight);
            upper = upper.PlusExact(FourDoubles::FromIntegers(values.Upper()), weight);
        }
    };

    // One colour by the definition. Where no sum is rounded, two are formed at once.
    [[gnu::noinline]] Lanes ComputeColour(const FixedList& list, int colour) const {
        const ContributionList& exact = *list.exact;
        const auto valuesOf = [&](std::int32_t pixel) {
            const Lanes both = Lanes::Load(WordsOf(pixel, colour));
            return pixel % 2 == 0 ? both & Lanes::Broadcast(255) : both >> 16;
        };
        Doubles sum;
        Doubles other;
        std::int32_t index = 0;
        for (; list.addsExactly && index + 2 <= exact.count; index += 2) {
            const Contribution& entry = exact.entries[index];
            const Contribution& next = exact.entries[index + 1];
            sum.AddProduct(valuesOf(entry.pixel), entry.weight);
            other.AddProduct(valuesOf(next.pixel), next.weight);
        }
        sum = sum + other;
        for (; index < exact.count; ++index)
            sum.AddProduct(valuesOf(exact.entries[index].pixel), exact.entries[index].weight);
        const double weightSum = exact.weightSum;
        return Lanes::FromHalves(sum.lower.Mean(weightSum), sum.upper.Mean(weightSum));
    }

    // Where the words of a pixel and its neighbour lie.
    std::uint16_t* WordsOf(std::int32_t pixel, int colour) const {
        return job_.words + pixel / 2 * wordsPerPair + colour * wordsPerColour;
    }

    // Stores four neighbouring pixels of each row where `placeOf` says.
    template <typename PlaceOf>
    static void Store(const Lanes (&pixels)[blockLength], PlaceOf placeOf) {
        const Lanes firstLeft = pixels[0].FirstNumbersWith(pixels[1]);
        const Lanes firstRight = pixels[2].FirstNumbersWith(pixels[3]);
        const Lanes lastLeft = pixels[0].LastNumbersWith(pixels[1]);
        const Lanes lastRight = pixels[2].LastNumbersWith(pixels[3]);
        firstLeft.FirstPairsWith(firstRight).StoreHalves(placeOf(0), placeOf(halfRows));
        firstLeft.LastPairsWith(firstRight).StoreHalves(placeOf(1), placeOf(1 + halfRows));
        lastLeft.FirstPairsWith(lastRight).StoreHalves(placeOf(2), placeOf(2 + halfRows));
        lastLeft.LastPairsWith(lastRight).StoreHalves(placeOf(3), placeOf(3 + halfRows));
    }

    void StoreFew(const Lanes (&pixels)[blockLength], std::int64_t x, std::int64_t length) const {
        std::uint8_t aside[rowsAtOnce][blockLength * bytesPerPixelWord];
        Store(pixels, [&](int row) { return aside[row]; });
        for (int row = 0; row < rowsAtOnce; ++row) {
            __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord, aside[row],
                             static_cast<std::size_t>(length * bytesPerPixelWord));
        }
    }

    const RowResampling& job_;
    typename Lanes::ColourPairing pairing_;
    std::int32_t colourShift_;
    std::int32_t widened_ = 0;
};

template <typename Lanes, typename FourDoubles>
void ResampleRows(const RowResampling& job) {
    RowResampler<Lanes, FourDoubles>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
