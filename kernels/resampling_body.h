// The vector body of the resampler's passes, compiled once per instruction set. Included by the
// files that instantiate it and by nothing else; everything here is internal to each of them.
//
// Exactness: along a row, sums are formed in integers with one digit of the weights, then with two;
// down a column in single precision, in any order, fused or not. A list's bounds say between which
// two values the definition's sum lies; where both have one whole part, that is the byte. What is
// still open is computed by the definition: its products are exact along a row, and so may be fused
// there, and they are rounded to single precision down a column.
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

// Clamps the channels of four pixels to bytes.
template <typename PixelAt>
__m128i PackPixels(PixelAt pixelAt) {
    return _mm_packus_epi16(_mm_packs_epi32(pixelAt(0), pixelAt(1)),
                            _mm_packs_epi32(pixelAt(2), pixelAt(3)));
}

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
        Totals sums[blockLength];
        bool isOpen = false;
        for (int index = 0; index < blockLength; ++index) {
            sums[index] = SumProducts(lists[index], lists[index].coarse);
            isOpen = isOpen | IsOpen(lists[index], sums[index]);
        }
        for (int index = 0; index < blockLength; ++index) {
            pixels[index] = isOpen ? ResampleFinely(lists[index], sums[index])
                                   : WholeParts(lists[index], sums[index]);
        }
    }

    // A pixel of each row, one after the other.
    __m128i ResamplePixel(const FixedList& list) const {
        const Totals sums = SumProducts(list, list.coarse);
        return IsOpen(list, sums) ? ResampleFinely(list, sums) : WholeParts(list, sums);
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
        return PackPixels([&](int row) { return sums[row].Mean(weightSum); });
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

template <typename Simd, typename Narrow, typename Taps>
class ColumnBlender {
  public:
    explicit ColumnBlender(const ColumnBlending& job)
        : job_(job),
          arrange_(job.rowOrder, job.order),
          colourLanes_(static_cast<Mask>(ColourLanes(job.rowOrder))),
          firstPlace_(job.list->first %
                      (job.numbers.places != nullptr ? job.numbers.capacity : job.rows.capacity)) {
        places_[job.rowOrder.red] = job.order.red;
        places_[job.rowOrder.green] = job.order.green;
        places_[job.rowOrder.blue] = job.order.blue;
    }

    void Run() const {
        const std::int64_t size = job_.width * bytesPerPixelWord;
        if (size < Simd::byteCount) {
            std::uint8_t bytes[Simd::byteCount];
            Blend(0, bytes);
            __builtin_memcpy(job_.destination, bytes, static_cast<std::size_t>(size));
            return;
        }
        // The last vector goes back over bytes that have been written; they come out the same.
        const std::int64_t last = size - Simd::byteCount;
        std::int64_t offset = 0;
        for (; offset < last; offset += Simd::byteCount)
            BlendInto(job_.destination, offset);
        BlendInto(job_.destination, last);
        if (job_.streams) EndStream();
    }

  private:
    using Floats = typename Simd::Floats;
    using Bytes = typename Simd::Bytes;
    using Mask = typename Simd::Mask;
    using DoublePixel = typename Taps::DoublePixel;
    static constexpr int partCount = 4;

    // Blends a vector's bytes from `offset` on into their place in a row.
    void BlendInto(std::uint8_t* row, std::int64_t offset) const {
        if (!job_.streams) {
            Blend(offset, row + offset);
            return;
        }
        std::uint8_t bytes[Simd::byteCount];
        Blend(offset, bytes);
        Simd::Stream(row + offset, Simd::LoadAll(bytes));
    }

    // Blends a vector's bytes from `offset` on and stores them.
    void Blend(std::int64_t offset, std::uint8_t* target) const {
        const BoundedList& list = *job_.list;
        const Floats bias = Simd::Broadcast(list.bias);
        Floats sums[partCount] = {bias, bias, bias, bias};
        if (job_.numbers.places != nullptr) {
            SumUp(job_.numbers, offset, sums);
        } else {
            SumUp(job_.rows, offset, sums);
        }
        const Bytes low = Simd::ToBytes(sums);
        const Bytes pixels = Simd::InOrder(low);
        Simd::StoreAll(target, arrange_(pixels));
        if (list.slack == 0.0F) return;
        const Floats slack = Simd::Broadcast(list.slack);
        const Bytes high = Simd::ToBytes({Simd::Add(sums[0], slack), Simd::Add(sums[1], slack),
                                          Simd::Add(sums[2], slack), Simd::Add(sums[3], slack)});
        if (Simd::Differing(low, high) == 0) return;
        Settle(Simd::Differing(pixels, Simd::InOrder(high)) & colourLanes_, offset, target);
    }

    static Floats LoadPart(const std::uint8_t* bytes) { return Simd::LoadBytes(bytes); }
    static Floats LoadPart(const float* numbers) { return Simd::Load(numbers); }

    // Adds the weighted rows, bytes or numbers, from `offset` on.
    template <typename Rows>
    void SumUp(const Rows& rows, std::int64_t offset, Floats (&sums)[partCount]) const {
        const BoundedList& list = *job_.list;
        const auto* const begin = rows.places + offset;
        std::int32_t place = firstPlace_;
        const auto* row = begin + place * rows.stride;
        for (std::int32_t tap = 0; tap < list.count; ++tap) {
            const Floats weight = Simd::Broadcast(list.weights[tap]);
            for (int part = 0; part < partCount; ++part) {
                sums[part] =
                    Simd::MultiplyAdd(LoadPart(row + part * Simd::floatCount), weight, sums[part]);
            }
            place = place + 1 == rows.capacity ? 0 : place + 1;
            row = place == 0 ? begin : row + rows.stride;
        }
    }

    // Computes by the definition what is open: single bytes, or four pixels at a time where many
    // are.
    [[gnu::noinline]] void Settle(Mask open, std::int64_t offset, std::uint8_t* target) const {
        const std::int64_t size = job_.width * bytesPerPixelWord - offset;
        for (std::int64_t part = 0; part < Simd::byteCount && part < size; part += partSize) {
            const auto lanes = static_cast<unsigned>(open >> static_cast<unsigned>(part)) & 0xFFFFU;
            if (__builtin_popcount(lanes) > fewLanes) {
                StorePart(BlendExactly(offset + part), target + part);
            } else {
                SettleLanes(lanes, offset + part, target + part);
            }
        }
    }

    void SettleLanes(unsigned lanes, std::int64_t offset, std::uint8_t* target) const {
        for (; lanes != 0; lanes &= lanes - 1) {
            const int lane = __builtin_ctz(lanes);
            const std::int64_t source = offset + lane;
            if (source >= job_.width * bytesPerPixelWord) return;
            target[lane / bytesPerPixelWord * bytesPerPixelWord +
                   places_[lane % bytesPerPixelWord]] =
                ResampleColumnChannel(job_.rows, source, *job_.list->exact);
        }
    }

    // Stores the colours of four pixels in their order.
    void StorePart(__m128i pixels, std::uint8_t* target) const {
        const typename Narrow::Arrangement arrange(job_.rowOrder, job_.order);
        Narrow::StoreAll(target, arrange(pixels));
    }

    // Four pixels by the definition.
    [[gnu::noinline]] __m128i BlendExactly(std::int64_t offset) const {
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
        return PackPixels([&](int pixel) { return sums[pixel].Mean(weightSum); });
    }

    static constexpr std::int64_t partSize = 16;
    static constexpr int fewLanes = 3;

    const ColumnBlending& job_;
    typename Simd::Arrangement arrange_;
    Mask colourLanes_;
    // Where the row's channels go.
    std::uint8_t places_[bytesPerPixelWord] = {};
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

template <typename Simd>
void WidenRow(const std::uint8_t* bytes, std::int64_t count, float* numbers) {
    std::int64_t index = 0;
    for (; index + Simd::floatCount <= count; index += Simd::floatCount)
        Simd::Store(numbers + index, Simd::LoadBytes(bytes + index));
    for (; index < count; ++index)
        numbers[index] = bytes[index];
}

}  // namespace
}  // namespace zvk::kernels
