// The vector body of the resampler's pass down the columns, compiled once per instruction set.
// Included by the files that instantiate it and by nothing else; everything here is internal to
// each of them.
//
// Colours are summed up each by itself; the fourth bytes of rows mean nothing.
//
// Exactness: sums are formed in single precision, in any order, fused or not. A list's bounds say
// between which two values the definition's sum lies; where both truncate to one byte, that is it.
// Open bytes are decided without any rounding where a list fits two sums. Elsewhere they are
// decided by the definition, whose products are rounded to single precision, or, where there are
// many, first by sums of these products that lie much closer to its sum.
#pragma once

#include <algorithm>
#include <utility>

#include "kernels/colour_readers.h"
#include "kernels/column_vectors.h"
#include "kernels/eighteenth_blending_body.h"
#include "kernels/repetition.h"
#include "kernels/simd_sse2.h"
#include "kernels/whole_blending_body.h"

namespace zvk::kernels {
namespace {

template <typename Simd, typename FourDoubles, typename Reader, int rowCount>
class ColumnBlender {
  public:
    explicit ColumnBlender(const ColumnBlending& job)
        : job_(job),
          reader_(job),
          count_(job.lists->count),
          beforeEnd_(std::min(
              count_, reader_.rows().capacity - job.lists->first % reader_.rows().capacity)),
          first_(reader_.rows().Row(job.lists->first)),
          isInTwoSums_(std::all_of(
              job.lists, job.lists + rowCount,
              [](const BoundedList& list) { return list.decision == Decision::InTwoSums; })),
          asRead_(job.rowOrder),
          asWritten_(job.order),
          arrange_(job.rowOrder, job.order),
          places_{job.rowOrder.red, job.rowOrder.green, job.rowOrder.blue} {}

    void Run() const {
        ForEachPart<Simd>(
            job_, [this](std::int64_t offset, auto store)
                      __attribute__((always_inline)) { this->Blend(offset, store); });
    }

  private:
    using Floats = typename Simd::Floats;
    using Bytes = typename Simd::Bytes;
    using Mask = typename Simd::Mask;

    // A number for each colour of a vector's pixels.
    using Sums = Floats[colourCount];

    // Calls `store` with a vector's bytes of each row from `offset` on.
    template <typename Store>
    [[gnu::always_inline]] void Blend(std::int64_t offset, Store store) const {
        if (isInTwoSums_) {
            Repeat<rowCount>([&](auto row) __attribute__((always_inline)) {
                store(row, SumInTwo(job_.lists[row], offset));
            });
            return;
        }
        Sums sums[rowCount];
        Repeat<rowCount>([&](auto row) {
            Repeat<colourCount>(
                [&](auto colour) { sums[row][colour] = Simd::Broadcast(job_.lists[row].bias); });
        });
        ForEachTap(offset, [&](std::int32_t tap, const auto* values) {
            Repeat<colourCount>([&](auto colour) {
                Floats numbers = reader_.Load(values, colour);
                // Keeps the compiler from loading the numbers once more for every row: the loads
                // are what bounds this loop.
                __asm__("" : "+v"(numbers));
                Repeat<rowCount>([&](auto row) {
                    const Floats weight = Simd::Broadcast(job_.lists[row].weights[tap]);
                    sums[row][colour] = Simd::MultiplyAdd(numbers, weight, sums[row][colour]);
                });
            });
        });
        Repeat<rowCount>([&](auto row) __attribute__((always_inline)) {
            store(row, Truncate(job_.lists[row], sums[row], offset));
        });
    }

    // Calls `add` for every row of the source that the lists name, in order, with its place in the
    // lists and where its values lie from `offset` on.
    template <typename Add>
    void ForEachTap(std::int64_t offset, Add add) const {
        const std::int64_t stride = reader_.rows().stride;
        const auto* const beforeEnd = Reader::PlaceIn(first_, offset);
        for (std::int32_t tap = 0; tap < beforeEnd_; ++tap)
            add(tap, beforeEnd + tap * stride);
        const auto* const begin = Reader::PlaceIn(reader_.rows().places, offset);
        for (std::int32_t tap = beforeEnd_; tap < count_; ++tap)
            add(tap, begin + (tap - beforeEnd_) * stride);
    }

    // Colours as bytes, truncated and clamped, in an order of their own.
    static Bytes Pack(const Sums& sums) {
        return Simd::ToBytes({sums[0], sums[1], sums[2], sums[2]});
    }

    // The bytes of biased sums.
    Bytes Truncate(const BoundedList& list, const Sums& sums, std::int64_t offset) const {
        const Bytes low = Pack(sums);
        if (list.slack == 0.0F) return asWritten_(low);
        Sums upper;
        Repeat<colourCount>([&](auto colour) {
            upper[colour] = Simd::Add(sums[colour], Simd::Broadcast(list.slack));
        });
        const Bytes high = Pack(upper);
        if (Simd::Differing(low, high) == 0) return asWritten_(low);
        if (list.decision != Decision::ByBounds) return SumOpenInTwo(list, offset);
        return Settle(list, asRead_(low), asRead_(high), offset);
    }

    // Adds up the definition's products in two sums, of their whole units and of what is left, both
    // without rounding: T. J. Dekker, "A Floating-Point Technique for Extending the Available
    // Precision", 1971. The first stays in a range where one unit is the last place.
    [[gnu::always_inline]] Bytes SumInTwo(const BoundedList& list, std::int64_t offset) const {
        constexpr float anchor = 3072.0F;
        constexpr float unit = 0x1p-12F;
        Sums heads;
        Sums rests;
        Repeat<colourCount>([&](auto colour) {
            heads[colour] = Simd::Broadcast(anchor + 0.5F);
            rests[colour] = Simd::Broadcast(0.0F);
        });
        ForEachTap(offset, [&](std::int32_t tap, const auto* values) {
            const Floats weight = Simd::Broadcast(list.weights[tap]);
            Repeat<colourCount>([&](auto colour) {
                const Floats numbers = reader_.Load(values, colour);
                const Floats product = Simd::Multiply(numbers, weight);
                rests[colour] =
                    Simd::AddInMultiplier(rests[colour], MoveUnits(product, heads[colour]));
            });
        });
        Repeat<colourCount>([&](auto colour) {
            const Floats rest = MoveUnits(rests[colour], heads[colour]);
            heads[colour] = Simd::Subtract(Simd::Subtract(heads[colour], Simd::Broadcast(anchor)),
                                           Simd::WhereNegative(rest, unit / 2));
        });
        return asWritten_(Pack(heads));
    }

    [[gnu::noinline]] Bytes SumOpenInTwo(const BoundedList& list, std::int64_t offset) const {
        return SumInTwo(list, offset);
    }

    // Adds the nearest whole units of a value to `head` and gives what is left.
    static Floats MoveUnits(Floats value, Floats& head) {
        const Floats sum = Simd::Add(head, value);
        const Floats rest = Simd::SubtractInMultiplier(value, Simd::Subtract(sum, head));
        head = sum;
        return rest;
    }

    // Decides what is open, colour by colour: by the definition four pixels at a time, or, where
    // open pixels lie in several fours, in close sums of the whole vector first.
    [[gnu::noinline]] Bytes Settle(const BoundedList& list, Bytes low, Bytes high,
                                   std::int64_t offset) const {
        const Mask open = Simd::Differing(low, high);
        std::uint8_t bytes[Simd::byteCount];
        Simd::StoreAll(bytes, low);
        for (int colour = 0; colour < colourCount; ++colour) {
            const Mask lanes = (open >> places_[colour]) & static_cast<Mask>(firstChannel);
            if (lanes == 0) continue;
            const int first = __builtin_ctzll(lanes) / partSize;
            if constexpr (partCount > 1) {
                const bool lieInSeveral = lanes >> (first * partSize) >> partSize != 0;
                if (lieInSeveral && list.anchor != 0.0F) {
                    SettleColour(list, offset, colour, bytes);
                    continue;
                }
            }
            for (int part = first; part < partCount; ++part) {
                if ((lanes >> (part * partSize) & partLanes) != 0)
                    SettlePart(list, offset, colour, part, bytes);
            }
        }
        return arrange_(Simd::LoadAll(bytes));
    }

    // One colour of all pixels of a vector.
    [[gnu::noinline]] void SettleColour(const BoundedList& list, std::int64_t offset, int colour,
                                        std::uint8_t* bytes) const {
        const CloseSums sums = SumClosely(list, offset, colour);
        const double error = list.closeError;
        const double weightSum = list.exact->weightSum;
        for (int part = 0; part < partCount; ++part) {
            const FourDoubles sum = sums.Part(part);
            const __m128i least = sum.Plus(-error).Mean(weightSum);
            const __m128i greatest = sum.Plus(error).Mean(weightSum);
            if (_mm_movemask_epi8(_mm_cmpeq_epi32(least, greatest)) == 0xFFFF) {
                StorePart(least, colour, part, bytes);
            } else {
                SettlePart(list, offset, colour, part, bytes);
            }
        }
    }

    // The same of four of them, by the definition.
    void SettlePart(const BoundedList& list, std::int64_t offset, int colour, int part,
                    std::uint8_t* bytes) const {
        StorePart(BlendExactly(list, offset, colour, part), colour, part, bytes);
    }

    // Puts four means into the places of one colour.
    void StorePart(__m128i means, int colour, int part, std::uint8_t* bytes) const {
        const __m128i packed = Sse2::PackPixels([&](int) { return means; });
        const auto values = static_cast<std::uint32_t>(_mm_cvtsi128_si32(packed));
        bytes += part * partSize + places_[colour];
        for (int pixel = 0; pixel < 4; ++pixel)
            bytes[pixel * bytesPerPixelWord] = static_cast<std::uint8_t>(values >> (8 * pixel));
    }

    // What a list's products of one colour add up to, closely.
    struct CloseSums {
        static constexpr int chainCount = 2;
        float units[chainCount][Simd::floatCount];
        float rests[chainCount][Simd::floatCount];

        FourDoubles Part(int part) const {
            const auto load = [part](const float* numbers) {
                return FourDoubles::FromFloats(Sse2::Load(numbers + part * Sse2::floatCount));
            };
            return (load(units[0]) + load(units[1])) + (load(rests[0]) + load(rests[1]));
        }
    };

    [[gnu::always_inline]] CloseSums SumClosely(const BoundedList& list, std::int64_t offset,
                                                int colour) const {
        constexpr int chainCount = CloseSums::chainCount;
        const Floats anchor = Simd::Broadcast(list.anchor);
        Floats heads[chainCount] = {anchor, anchor};
        Floats rests[chainCount] = {Simd::Broadcast(0.0F), Simd::Broadcast(0.0F)};
        const auto addRun = [&](const Contribution* entries, std::int64_t count, const auto* row)
            __attribute__((always_inline)) {
            const auto* values = Reader::PlaceIn(row, offset);
            const auto add = [&](Floats& head, Floats& rest, const Contribution& entry) {
                const Floats product =
                    Simd::Multiply(reader_.Load(values, colour), Simd::Broadcast(entry.weight));
                rest = Simd::AddInMultiplier(rest, MoveUnits(product, head));
                values += reader_.rows().stride;
            };
            std::int64_t index = 0;
            for (; index + chainCount <= count; index += chainCount) {
                Repeat<chainCount>(
                    [&](auto chain) { add(heads[chain], rests[chain], entries[index + chain]); });
            }
            if (index < count) add(heads[0], rests[0], entries[index]);
        };
        ForEachRun(*list.exact, addRun);
        CloseSums sums;
        Repeat<chainCount>([&](auto chain) {
            Simd::Store(sums.units[chain], Simd::Subtract(heads[chain], anchor));
            Simd::Store(sums.rests[chain], rests[chain]);
        });
        return sums;
    }

    // Four means of one colour by the definition. Where no sum is rounded, four are formed at once.
    [[gnu::noinline]] __m128i BlendExactly(const BoundedList& list, std::int64_t offset, int colour,
                                           int part) const {
        constexpr int sumCount = 4;
        FourDoubles sums[sumCount];
        const ContributionList& exact = *list.exact;
        const auto addRun = [&](const Contribution* entries, std::int64_t count, const auto* row)
            __attribute__((always_inline)) {
            const auto* values = Reader::PlaceIn(row, offset);
            const auto add = [&](FourDoubles& sum, const Contribution& entry) {
                const __m128 weight = _mm_set1_ps(entry.weight);
                const __m128 numbers = reader_.LoadPart(values, colour, part);
                sum = sum + FourDoubles::FromFloats(_mm_mul_ps(numbers, weight));
                values += reader_.rows().stride;
            };
            std::int64_t index = 0;
            for (; list.addsExactly && index + sumCount <= count; index += sumCount)
                Repeat<sumCount>([&](auto place) { add(sums[place], entries[index + place]); });
            for (; index < count; ++index)
                add(sums[0], entries[index]);
        };
        ForEachRun(exact, addRun);
        return ((sums[0] + sums[1]) + (sums[2] + sums[3])).Mean(exact.weightSum);
    }

    // Calls `add`, in order, with some of a list's entries after the others, how many they are, and
    // the row of the first; the rows of the others lie behind it.
    template <typename Add>
    void ForEachRun(const ContributionList& list, Add add) const {
        if (list.count == 0) return;
        const std::int32_t first = list.entries[0].pixel;
        const bool hasGaps = list.entries[list.count - 1].pixel - first != list.count - 1;
        RowCursor cursor(reader_.rows());
        std::int64_t index = 0;
        while (index < list.count) {
            const auto* const row = cursor.Row(list.entries[index].pixel);
            const std::int64_t count =
                hasGaps ? 1 : std::min<std::int64_t>(list.count - index, cursor.RowsBeforeEnd());
            add(list.entries + index, count, row);
            index += count;
        }
    }

    // Bytes of four pixels, which are a part of a vector.
    static constexpr int partSize = 4 * bytesPerPixelWord;
    static constexpr int partCount = static_cast<int>(Simd::byteCount) / partSize;
    static constexpr Mask partLanes = 0xFFFF;
    // The first channel of every pixel, as bits.
    static constexpr std::uint64_t firstChannel = 0x1111111111111111U;

    const ColumnBlending& job_;
    Reader reader_;
    std::int32_t count_;
    // How many of the rows come before the end of the places.
    std::int32_t beforeEnd_;
    decltype(std::declval<const Reader&>().rows().Row(0)) first_;
    bool isInTwoSums_;
    // From packed colours, and from pixels as they are read.
    typename Simd::ColourArrangement asRead_;
    typename Simd::ColourArrangement asWritten_;
    typename Simd::Arrangement arrange_;
    // Where the colours lie in a pixel that is read.
    int places_[colourCount];
};

template <typename Simd, typename FourDoubles, typename Reader, int rowCount>
void BlendTogether(const ColumnBlending& job) {
    if (AreInEighteenths<rowCount>(job)) {
        EighteenthBlender<Simd, Reader, rowCount>(job).Run();
    } else {
        ColumnBlender<Simd, FourDoubles, Reader, rowCount>(job).Run();
    }
}

template <typename Simd, typename FourDoubles, typename Reader>
void BlendFrom(const ColumnBlending& job) {
    job.listCount == 1 ? BlendTogether<Simd, FourDoubles, Reader, 1>(job)
                       : BlendTogether<Simd, FourDoubles, Reader, rowsBlended>(job);
}

template <typename Simd, typename FourDoubles>
void BlendRows(const ColumnBlending& job) {
    if (AreInWholes(job)) {
        BlendInWholes<Simd>(job);
    } else if (job.numbers.places != nullptr) {
        BlendFrom<Simd, FourDoubles, NumberReader<Simd>>(job);
    } else {
        BlendFrom<Simd, FourDoubles, ByteReader<Simd>>(job);
    }
}

template <typename Simd>
void WidenRow(const RowWidening& job) {
    const int places[] = {job.order.red, job.order.green, job.order.blue};
    float* numbers = job.numbers;
    for (std::int64_t x = 0; x < job.width; x += Simd::floatCount) {
        const auto pixels = Simd::LoadAll(job.pixels + x * bytesPerPixelWord);
        for (const int place : places) {
            Simd::Store(numbers, Simd::Channel(pixels, place));
            numbers += Simd::floatCount;
        }
    }
}

}  // namespace
}  // namespace zvk::kernels
