// The vector body of fractional drawing, compiled once per instruction set, for rows that share no
// memory with the source.
//
// Exactness: with plain weights, products are truncated by a multiplication that gives trunc(c w)
// for every byte c; five of them do not overflow 16 bits. At the ends, samples that are not there
// count as 0, and what a pixel keeps of itself has a weight of its own, from which theirs were not
// subtracted. With weight tables all samples of a column are there, and every product is
// formed in double and truncated as defined, and the remaining weight is subtracted from in the
// same order.
#pragma once

#include <type_traits>

#include "kernels/compositing.h"
#include "kernels/drawing_weights.h"
#include "kernels/kernel_table.h"
#include "kernels/prefetching.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

inline constexpr std::int64_t drawnPixelsAtOnce = 4;

// Goes through the columns of a job in fours with `draw`, and leaves the rest to the definition.
template <typename Draw>
void DrawInFours(const RowDrawing& job, Draw draw) {
    std::int64_t x = job.begin;
    for (; x + drawnPixelsAtOnce <= job.end; x += drawnPixelsAtOnce)
        draw(x);
    if (x == job.end) return;
    RowDrawing rest = job;
    rest.begin = x;
    DrawRow(rest);
}

// With `mayBeOne` a weight may be 1, with `haveSameOrder` the channels of both pictures lie alike.
// Sums are formed in the order of the source.
template <typename Words, bool mayBeOne, bool haveSameOrder>
class PlainDrawer {
  public:
    PlainDrawer(const RowDrawing& job, const PlainWeights& weights)
        : first_{.above = SamplesAt(job, job.source.above.pixels),
                 .below = SamplesAt(job, job.source.below.pixels),
                 .destination = job.destination + job.begin * bytesPerPixelWord},
          size_((job.end - job.begin) * bytesPerPixelWord),
          hasLeftEnd_(job.begin == job.offset),
          hasRightEnd_(job.end == job.offset + job.source.width + 1),
          fromOwn_(job.order, job.source.order),
          toOwn_(ToOwn(job)),
          weights_(weights),
          topLeft_(weights.topLeft),
          topRight_(weights.topRight),
          bottomRight_(weights.bottomRight),
          bottomLeft_(weights.bottomLeft),
          rest_(weights.rest) {}

    void Run(const RowRun& rows) const {
        for (std::int64_t y = 0; y < rows.count; ++y) {
            const Place row{.above = first_.above + y * rows.sourceStep,
                            .below = first_.below + y * rows.sourceStep,
                            .destination = first_.destination + y * rows.destinationStep};
            const bool isLast = y + 1 == rows.count;
            DrawRow(row, isLast ? row.destination : row.destination + rows.destinationStep);
        }
    }

  private:
    using Scaler = typename Words::template Scaler<mayBeOne>;
    using Pixels = typename Words::Pixels;
    using ToOwnOrder = std::conditional_t<haveSameOrder, typename Words::PartedRestoration,
                                          typename Words::PartedArrangement>;
    static constexpr std::int64_t groupSize = Words::pixelCount * bytesPerPixelWord;

    // Where a row's first pixel is, and the right ones of its samples.
    struct Place {
        const std::uint8_t* above;
        const std::uint8_t* below;
        std::uint8_t* destination;

        Place At(std::int64_t offset) const {
            return {.above = above + offset,
                    .below = below + offset,
                    .destination = destination + offset};
        }
    };

    // The last group may overlap the one before it, and is drawn before that one changes it. The
    // row of the destination that is drawn next is requested meanwhile: where only part of a
    // picture is drawn on, processors do not find it by themselves.
    void DrawRow(const Place& row, const std::uint8_t* next) const {
        if (size_ <= groupSize) return DrawFew(row);
        const std::int64_t end = size_ - groupSize;
        const Pixels last = hasRightEnd_ ? DrawnAtRightEnd(row.At(end)) : Drawn(row.At(end));
        std::int64_t offset = 0;
        if (hasLeftEnd_) {
            Words::StorePixels(row.destination, DrawnAtLeftEnd(row));
            offset = groupSize;
        }
        for (; offset < end; offset += groupSize) {
            Prefetch(next + offset);
            Words::StorePixels(row.destination + offset, Drawn(row.At(offset)));
        }
        Words::StorePixels(row.destination + end, last);
    }

    // What pixels have taken so far, bytes at even and at odd places.
    struct Sums {
        Words even;
        Words odd;

        Sums(Pixels pixels, const Scaler& scale)
            : even(scale(Words::EvenBytes(pixels))), odd(scale(Words::OddBytes(pixels))) {}

        void Add(const Sums& other) {
            even = even + other.even;
            odd = odd + other.odd;
        }
        void ReplaceFirst(const Sums& other) {
            even = even.WithFirst(other.even);
            odd = odd.WithFirst(other.odd);
        }
        void ReplaceLast(const Sums& other) {
            even = even.WithLast(other.even);
            odd = odd.WithLast(other.odd);
        }
    };

    // The left and the right samples of a group's pixels in one row.
    struct Samples {
        Pixels left;
        Pixels right;
    };

    static ToOwnOrder ToOwn(const RowDrawing& job) {
        if constexpr (haveSameOrder) {
            return ToOwnOrder(job.order);
        } else {
            return ToOwnOrder(job.source.order, job.order);
        }
    }

    // The right sample of the job's first column in a row.
    static const std::uint8_t* SamplesAt(const RowDrawing& job, const std::uint8_t* row) {
        return row + (job.begin - job.offset) * bytesPerPixelWord;
    }

    static Samples SamplesOf(const std::uint8_t* rights) {
        return {.left = Words::LoadPixels(rights - bytesPerPixelWord),
                .right = Words::LoadPixels(rights)};
    }
    // At an end some samples are not there; they count as 0.
    static Samples LeftEndSamplesOf(const std::uint8_t* rights) {
        const Pixels right = Words::LoadPixels(rights);
        return {.left = Words::MovedOn(right), .right = right};
    }
    static Samples RightEndSamplesOf(const std::uint8_t* rights) {
        const Pixels left = Words::LoadPixels(rights - bytesPerPixelWord);
        return {.left = left, .right = Words::MovedBack(left)};
    }

    Pixels OwnPixels(const std::uint8_t* place) const {
        const Pixels own = Words::LoadPixels(place);
        return haveSameOrder ? own : fromOwn_(own);
    }

    // A group's pixels, of their samples and of what they keep of themselves.
    Pixels Blended(const Samples& above, const Samples& below, Sums sums) const {
        sums.Add(Sums(above.left, topLeft_));
        sums.Add(Sums(above.right, topRight_));
        sums.Add(Sums(below.right, bottomRight_));
        sums.Add(Sums(below.left, bottomLeft_));
        return Words::Unite(sums.even, sums.odd, toOwn_);
    }

    Pixels Drawn(const Place& place) const {
        return Blended(SamplesOf(place.above), SamplesOf(place.below),
                       Sums(OwnPixels(place.destination), rest_));
    }
    Pixels DrawnAtLeftEnd(const Place& place) const {
        const Pixels own = OwnPixels(place.destination);
        Sums kept(own, rest_);
        kept.ReplaceFirst(Sums(own, Scaler(*weights_.leftRest)));
        return Blended(LeftEndSamplesOf(place.above), LeftEndSamplesOf(place.below), kept);
    }
    Pixels DrawnAtRightEnd(const Place& place) const {
        const Pixels own = OwnPixels(place.destination);
        Sums kept(own, rest_);
        kept.ReplaceLast(Sums(own, Scaler(*weights_.rightRest)));
        return Blended(RightEndSamplesOf(place.above), RightEndSamplesOf(place.below), kept);
    }

    // Draws no more pixels than a group has, from copies that are long enough.
    void DrawFew(const Place& row) const {
        const SampleCopy above(*this, row.above);
        const SampleCopy below(*this, row.below);
        std::uint8_t pixels[groupSize] = {};
        __builtin_memcpy(pixels, row.destination, static_cast<std::size_t>(size_));
        const Pixels own = OwnPixels(pixels);
        // What a pixel keeps of itself differs at the ends: these are drawn once more.
        const auto draw = [&](std::int64_t begin, std::int64_t end, const ScaledWeight& rest) {
            const Pixels drawn =
                Blended(above.AsSamples(), below.AsSamples(), Sums(own, Scaler(rest)));
            Words::StorePixels(pixels, drawn);
            __builtin_memcpy(row.destination + begin, pixels + begin,
                             static_cast<std::size_t>(end - begin));
        };
        draw(0, size_, weights_.rest);
        if (hasLeftEnd_) draw(0, bytesPerPixelWord, *weights_.leftRest);
        if (hasRightEnd_) draw(size_ - bytesPerPixelWord, size_, *weights_.rightRest);
    }

    // The samples of one row for no more pixels than a group has; those that are not there are 0.
    class SampleCopy {
      public:
        SampleCopy(const PlainDrawer& drawer, const std::uint8_t* rights) {
            const std::int64_t begin = drawer.hasLeftEnd_ ? bytesPerPixelWord : 0;
            const std::int64_t end = drawer.size_ + (drawer.hasRightEnd_ ? 0 : bytesPerPixelWord);
            __builtin_memcpy(bytes_ + begin, rights + begin - bytesPerPixelWord,
                             static_cast<std::size_t>(end - begin));
        }

        Samples AsSamples() const { return SamplesOf(bytes_ + bytesPerPixelWord); }

      private:
        std::uint8_t bytes_[groupSize + bytesPerPixelWord] = {};
    };

    Place first_;
    std::int64_t size_;
    bool hasLeftEnd_;
    bool hasRightEnd_;
    typename Words::PixelArrangement fromOwn_;
    ToOwnOrder toOwn_;
    const PlainWeights& weights_;
    Scaler topLeft_;
    Scaler topRight_;
    Scaler bottomRight_;
    Scaler bottomLeft_;
    Scaler rest_;
};

template <typename Simd, typename FourDoubles>
class WeightedDrawer {
  public:
    WeightedDrawer(const RowDrawing& job, const WeightTables& weights)
        : job_(job),
          weights_(weights),
          sourceChannels_(job.source.order),
          ownChannels_(job.order),
          arrange_(summedOrder, job.order) {}

    void Run() const {
        DrawInFours(job_, [this](std::int64_t x) { Draw(x); });
    }

  private:
    static constexpr ChannelOrder summedOrder{
        .red = 0, .green = 1, .blue = 2, .alpha = 3, .opaque = 0};

    // Takes the colours of four pixels apart.
    class Channels {
      public:
        explicit Channels(const ChannelOrder& order)
            : shifts_{_mm_cvtsi32_si128(8 * order.red), _mm_cvtsi32_si128(8 * order.green),
                      _mm_cvtsi32_si128(8 * order.blue)} {}

        __m128i operator()(__m128i pixels, int colour) const {
            return _mm_and_si128(_mm_srl_epi32(pixels, shifts_[colour]), _mm_set1_epi32(255));
        }

      private:
        __m128i shifts_[colourCount];
    };

    // What four destination pixels have taken so far.
    struct Sums {
        __m128i channels[colourCount] = {};

        void Add(__m128i pixels, const Channels& channelOf, const FourDoubles& weights) {
            for (int colour = 0; colour < colourCount; ++colour) {
                const auto values = FourDoubles::FromIntegers(channelOf(pixels, colour));
                channels[colour] =
                    _mm_add_epi32(channels[colour], values.Times(weights).Truncated());
            }
        }
        // As pixels in the order that is named for it, clamped.
        __m128i ToPixels() const {
            const __m128i low = _mm_packs_epi32(channels[0], channels[1]);
            const __m128i high = _mm_packs_epi32(channels[2], _mm_setzero_si128());
            return Simd::TransposeBytes(_mm_packus_epi16(low, high));
        }
    };

    // The weights of a column's and the next three columns' samples, by the values of their masks.
    FourDoubles WeightsAt(const PixelRow& row, std::int64_t column, const double* table) const {
        if (row.mask == nullptr) return FourDoubles::Broadcast(table[0]);
        const std::uint8_t* const values =
            row.mask + column * bytesPerPixelWord + job_.source.maskByte;
        return FourDoubles::FromNumbers(table[values[0]], table[values[bytesPerPixelWord]],
                                        table[values[2 * bytesPerPixelWord]],
                                        table[values[3 * bytesPerPixelWord]]);
    }

    void Draw(std::int64_t x) const {
        const std::int64_t left = x - job_.offset - 1;
        std::uint8_t* const destination = job_.destination + x * bytesPerPixelWord;
        Sums sums;
        FourDoubles remaining = FourDoubles::Broadcast(1.0);
        const auto take = [&](const PixelRow& row, std::int64_t column, const double* table) {
            const FourDoubles weights = WeightsAt(row, column, table);
            const __m128i pixels = Sse2::LoadAll(row.pixels + column * bytesPerPixelWord);
            sums.Add(pixels, sourceChannels_, weights);
            remaining = remaining.Minus(weights);
        };
        const SourceRows& source = job_.source;
        if (source.above.pixels != nullptr) {
            take(source.above, left, weights_.topLeft);
            take(source.above, left + 1, weights_.topRight);
        }
        if (source.below.pixels != nullptr) {
            take(source.below, left + 1, weights_.bottomRight);
            take(source.below, left, weights_.bottomLeft);
        }
        sums.Add(Sse2::LoadAll(destination), ownChannels_, remaining.WherePositive());
        Sse2::StoreAll(destination, arrange_(sums.ToPixels()));
    }

    const RowDrawing& job_;
    const WeightTables& weights_;
    Channels sourceChannels_;
    Channels ownChannels_;
    typename Simd::Arrangement arrange_;
};

template <typename Words>
void DrawPlainRows(const RowDrawing& first, const PlainWeights& weights, const RowRun& rows) {
    const bool haveSameOrder = first.source.order == first.order;
    if (weights.HasOne()) {
        PlainDrawer<Words, true, false>(first, weights).Run(rows);
    } else if (haveSameOrder) {
        PlainDrawer<Words, false, true>(first, weights).Run(rows);
    } else {
        PlainDrawer<Words, false, false>(first, weights).Run(rows);
    }
}

template <typename Simd, typename FourDoubles>
void DrawWeightedRow(const RowDrawing& job, const WeightTables& weights) {
    WeightedDrawer<Simd, FourDoubles>(job, weights).Run();
}

}  // namespace
}  // namespace zvk::kernels
