// Rows as words: a vector holds one colour of two neighbouring pixels in eight rows, so that one
// product sums up two taps of all rows. Pixels are widened once, shortly before the first list that
// names them.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/prefetching.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

template <typename RowLanes>
class RowWords {
  public:
    using Lanes = RowLanes;
    // A number of every row for each colour.
    using Colours = Lanes[colourCount];
    static constexpr RowLayout layout = RowLayout::Words;
    static constexpr int rowCount = RowsAtOnce(layout);
    // Whether the sums of two lists fit the registers.
    static constexpr bool servesTwo = Lanes::fitTwice;

    explicit RowWords(const RowResampling& job)
        : job_(job),
          pairing_(job.order),
          fetcher_({job.sources, job.ahead, job.sourceWidth * bytesPerPixelWord}) {
        static_assert(rowCount == 8, "as many rows as a vector has numbers");
        static_assert(colourCount == 3, "as many colours as are packed");
    }

    // Makes words of the pixels of every row up to before `end`, four at a time. Places are pixels.
    void ArrangeUpTo(std::int32_t end) {
        for (; widened_ < end; widened_ += pixelsArranged) {
            const std::int64_t offset = widened_ * bytesPerPixelWord;
            fetcher_.FetchAheadOf(offset);
            if (job_.sourceWidth - widened_ >= pixelsArranged) {
                Widen([&](int row) { return job_.sources[row] + offset; });
            } else {
                WidenLast(offset);
            }
        }
    }

    // What coarse digits and the bias add up to.
    [[gnu::always_inline]] void SumUp(const FixedList& list, Colours& sums) const {
        StartWith(list.bias, sums);
        AddProducts(list.first, list.count, list.low, sums);
        if (list.highCount > 0) AddHighProducts(list, sums);
    }

    // The same for two lists that overlap: what both name is loaded once.
    [[gnu::always_inline]] void SumUpTogether(const FixedList& list, const FixedList& next,
                                              Colours& sums, Colours& nextSums) const {
        StartWith(list.bias, sums);
        StartWith(next.bias, nextSums);
        const std::int32_t ownCount = next.first - list.first;
        AddProducts(list.first, ownCount, list.low, sums);
        const std::int32_t sharedCount = list.count - ownCount;
        AddSharedProducts(WordsOf(next.first, 0), sharedCount, list.low + ownCount, next.low, sums,
                          nextSums);
        AddProducts(next.first + sharedCount, next.count - sharedCount, next.low + sharedCount,
                    nextSums);
        if (list.highCount > 0) AddHighProducts(list, sums);
        if (next.highCount > 0) AddHighProducts(next, nextSums);
    }

    // Whether two lists have so much in common that it pays to serve them together.
    static bool Overlap(const FixedList& list, const FixedList& next) {
        const std::int32_t end = list.first + list.count;
        return list.first <= next.first && end <= next.first + next.count &&
               end - next.first >= overlapWorth;
    }

    // What fine digits add up to.
    void SumUpFinely(const FixedList& list, Colours& sums) const {
        StartWith(0, sums);
        AddProducts(list.first, list.count, list.fine, sums);
    }

    // The same for one colour, from `start` on.
    Lanes FineSum(const FixedList& list, int colour, std::int32_t start) const {
        const std::uint16_t* words = WordsOf(list.first, colour);
        Lanes sum = Lanes::Broadcast(start);
        const auto addPair = [&](std::int32_t tap) {
            sum = sum.PlusProducts(Lanes::Load(words), LoadPair(list.fine + tap));
            words += wordsPerPair;
        };
        std::int32_t tap = 0;
        for (; tap + 4 <= list.count; tap += 4) {
            addPair(tap);
            addPair(tap + 2);
        }
        if (tap < list.count) addPair(tap);
        return sum;
    }

    // Whether all pixels of a mirrored list add up with their mirror images to the same in every
    // row that is open, as they do on even slopes; symmetrical weights then give exact halves
    // again and again. `sums` receives what they add up to.
    bool AreMirrored(const FixedList& list, int colour, Lanes open, Lanes& sums) const {
        const std::uint16_t* words = WordsOf(list.first, colour);
        const std::uint16_t* images = WordsOf(list.first + list.count - 2, colour);
        const Lanes both = Lanes::Load(words) + Lanes::Load(images).WithSwappedWords();
        sums = both & Lanes::Broadcast(0xFFFF);
        Lanes differences = both ^ both.WithSwappedWords();
        if (!AreZeroWhere(open, differences)) return false;
        for (std::int32_t tap = 2; tap < list.count / 2; tap += 2) {
            words += wordsPerPair;
            images -= wordsPerPair;
            const Lanes others = Lanes::Load(words) + Lanes::Load(images).WithSwappedWords();
            differences = differences | (others ^ both);
        }
        return AreZeroWhere(open, differences);
    }

    // One colour of one pixel.
    Lanes ValuesOf(std::int32_t place, int colour) const {
        const Lanes both = Lanes::Load(WordsOf(place, colour));
        return place % 2 == 0 ? both & Lanes::Broadcast(255) : both >> 16;
    }

  private:
    static constexpr int halfRows = rowCount / 2;
    static constexpr std::int64_t wordsPerColour = std::int64_t{2} * rowCount;
    static constexpr std::int64_t wordsPerPair = wordsPerColour * colourCount;
    static constexpr std::int32_t overlapWorth = 8;

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
        std::uint8_t aside[rowCount][pixelsArranged * bytesPerPixelWord] = {};
        const std::int64_t size = job_.sourceWidth * bytesPerPixelWord - offset;
        for (int row = 0; row < rowCount; ++row) {
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

    static void StartWith(std::int32_t bias, Colours& sums) {
        for (Lanes& sum : sums)
            sum = Lanes::Broadcast(bias);
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

    // The weights of two taps for every row.
    static Lanes LoadPair(const std::int16_t* weights) {
        std::int32_t pair = 0;
        __builtin_memcpy(&pair, weights, sizeof pair);
        return Lanes::Broadcast(pair);
    }

    // Whether numbers are zero in all rows in which `rows` is not.
    static bool AreZeroWhere(Lanes rows, Lanes numbers) {
        return !rows.HasAny(numbers.IsZero() ^ Lanes::Broadcast(-1));
    }

    // Where the words of a pixel and its neighbour lie.
    std::uint16_t* WordsOf(std::int32_t place, int colour) const {
        return reinterpret_cast<std::uint16_t*>(job_.layout) + place / 2 * wordsPerPair +
               colour * wordsPerColour;
    }

    const RowResampling& job_;
    typename Lanes::ColourPairing pairing_;
    StepFetcher<rowCount, pixelsArranged * bytesPerPixelWord> fetcher_;
    std::int32_t widened_ = 0;
};

}  // namespace
}  // namespace zvk::kernels
