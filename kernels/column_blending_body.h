// The vector body of the resampler's pass down the columns, compiled once per instruction set.
// Included by the files that instantiate it and by nothing else; everything here is internal to
// each of them.
//
// Colours are summed up each by itself; the fourth bytes of rows mean nothing.
//
// Exactness: sums are formed in single precision, in any order, fused or not. A list's bounds say
// between which two values the definition's sum lies; where both truncate to one byte, that is it.
// Open bytes are decided without any rounding where a list fits two sums, and by the definition
// elsewhere, whose products are rounded to single precision.
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

// Bits of the colour channels among bytes of pixels, lowest first.
inline std::uint64_t ColourLanes(const ChannelOrder& order) {
    const std::uint64_t colours = 0xFU & ~(1U << order.alpha);
    return colours * 0x1111111111111111U;
}

template <typename Simd, typename Narrow, typename FourDoubles, typename Reader, int rowCount>
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
          colourLanes_(static_cast<Mask>(ColourLanes(job.rowOrder))) {}

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

    // Computes by the definition what is open: whole pixels, or one channel of four pixels, as
    // takes fewer sums.
    [[gnu::noinline]] Bytes Settle(const BoundedList& list, Bytes low, Bytes high,
                                   std::int64_t offset) const {
        const Mask open = Simd::Differing(low, high) & colourLanes_;
        std::uint8_t bytes[Simd::byteCount];
        Simd::StoreAll(bytes, low);
        for (std::int64_t part = 0; part < Simd::byteCount; part += partSize) {
            const auto lanes = static_cast<unsigned>(open >> static_cast<unsigned>(part)) & 0xFFFFU;
            if (lanes != 0) SettlePart(list, lanes, offset + part, bytes + part);
        }
        return arrange_(Simd::LoadAll(bytes));
    }

    void SettlePart(const BoundedList& list, unsigned lanes, std::int64_t offset,
                    std::uint8_t* bytes) const {
        const unsigned byPair = lanes | lanes >> 8U;
        unsigned channels = (byPair | byPair >> 4U) & 0xFU;
        const unsigned byTwo = lanes | lanes >> 2U;
        unsigned pixels = (byTwo | byTwo >> 1U) & 0x1111U;
        if (__builtin_popcount(pixels) <= __builtin_popcount(channels)) {
            for (; pixels != 0; pixels &= pixels - 1) {
                const int place = __builtin_ctz(pixels);
                const std::uint32_t pixel = ToFourBytes(BlendPixel(list, offset + place));
                __builtin_memcpy(bytes + place, &pixel, sizeof pixel);
            }
            return;
        }
        for (; channels != 0; channels &= channels - 1) {
            const int channel = __builtin_ctz(channels);
            const std::uint32_t values = ToFourBytes(BlendChannel(list, offset, channel));
            for (int pixel = 0; pixel < 4; ++pixel)
                bytes[4 * pixel + channel] = static_cast<std::uint8_t>(values >> (8 * pixel));
        }
    }

    // Four numbers clamped to bytes.
    static std::uint32_t ToFourBytes(__m128i numbers) {
        const __m128i bytes = Sse2::PackPixels([&](int) { return numbers; });
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(bytes));
    }

    // The channels of one pixel by the definition.
    [[gnu::noinline]] __m128i BlendPixel(const BoundedList& list, std::int64_t offset) const {
        return BlendExactly(list, offset, Narrow::LoadBytes);
    }

    // One channel of four pixels.
    [[gnu::noinline]] __m128i BlendChannel(const BoundedList& list, std::int64_t offset,
                                           int channel) const {
        const __m128i shift = _mm_cvtsi32_si128(8 * channel);
        return BlendExactly(list, offset, [shift](const std::uint8_t* bytes) {
            const __m128i values = _mm_srl_epi32(Sse2::LoadAll(bytes), shift);
            return _mm_cvtepi32_ps(_mm_and_si128(values, _mm_set1_epi32(255)));
        });
    }

    // Four bytes by the definition, given how each row's are loaded. Where no sum is rounded, four
    // are formed at once.
    template <typename LoadValues>
    [[gnu::always_inline]] __m128i BlendExactly(const BoundedList& list, std::int64_t offset,
                                                LoadValues loadValues) const {
        constexpr int sumCount = 4;
        FourDoubles sums[sumCount];
        const ContributionList& exact = *list.exact;
        const auto addRun = [&](const Contribution* entries, std::int64_t count,
                                const std::uint8_t* row) {
            row += offset;
            const auto add = [&](FourDoubles& sum, const Contribution& entry) {
                const __m128 weight = _mm_set1_ps(entry.weight);
                sum = sum + FourDoubles::FromFloats(_mm_mul_ps(loadValues(row), weight));
                row += job_.rows.stride;
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
        RowCursor cursor(job_.rows);
        std::int64_t index = 0;
        while (index < list.count) {
            const std::uint8_t* const row = cursor.Row(list.entries[index].pixel);
            const std::int64_t count =
                hasGaps ? 1 : std::min<std::int64_t>(list.count - index, cursor.RowsBeforeEnd());
            add(list.entries + index, count, row);
            index += count;
        }
    }

    static constexpr std::int64_t partSize = 16;

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
    Mask colourLanes_;
};

template <typename Simd, typename Narrow, typename FourDoubles, typename Reader, int rowCount>
void BlendTogether(const ColumnBlending& job) {
    if (AreInEighteenths<rowCount>(job)) {
        EighteenthBlender<Simd, Reader, rowCount>(job).Run();
    } else {
        ColumnBlender<Simd, Narrow, FourDoubles, Reader, rowCount>(job).Run();
    }
}

template <typename Simd, typename Narrow, typename FourDoubles, typename Reader>
void BlendFrom(const ColumnBlending& job) {
    job.listCount == 1 ? BlendTogether<Simd, Narrow, FourDoubles, Reader, 1>(job)
                       : BlendTogether<Simd, Narrow, FourDoubles, Reader, rowsBlended>(job);
}

template <typename Simd, typename Narrow, typename FourDoubles>
void BlendRows(const ColumnBlending& job) {
    if (AreInWholes(job)) {
        BlendInWholes<Simd>(job);
    } else if (job.numbers.places != nullptr) {
        BlendFrom<Simd, Narrow, FourDoubles, NumberReader<Simd>>(job);
    } else {
        BlendFrom<Simd, Narrow, FourDoubles, ByteReader<Simd>>(job);
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
