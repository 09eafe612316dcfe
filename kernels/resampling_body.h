// The vector body of the resampler's passes, compiled once per instruction set. Included by the
// files that instantiate it and by nothing else; everything here is internal to each of them.
//
// Exactness: sums are formed in single precision, in any order, fused or not. A list's bias and
// slack say between which two values the definition's sum lies; where both truncate to one byte,
// that is the byte. The others, about one in a few thousand, are computed by the definition.
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

template <typename Simd>
class RowResampler {
  public:
    explicit RowResampler(const RowResampling& job)
        : job_(job), colourLanes_(static_cast<unsigned>(ColourLanes(job.order)) & 0xFFFFU) {}

    // Goes through the lists in stretches whose source pixels fit into the scratch memory.
    void Run() {
        for (std::int64_t begin = 0; begin < job_.listCount;) {
            const std::int64_t end = FindStretch(begin);
            LoadStretch();
            for (std::int64_t x = begin; x < end; ++x)
                ResamplePixel(x);
            begin = end;
        }
    }

  private:
    using Floats = typename Simd::Floats;
    static constexpr std::int64_t pixelsPerVector = Simd::floatCount / bytesPerPixelWord;

    // The end of the longest run of lists from `begin` on that the scratch memory can serve.
    std::int64_t FindStretch(std::int64_t begin) {
        first_ = 0;
        last_ = 0;
        bool isEmpty = true;
        std::int64_t x = begin;
        for (; x < job_.listCount; ++x) {
            const BoundedList& list = job_.lists[x];
            if (list.count == 0) continue;
            const std::int64_t listLast = std::int64_t{list.first} + list.count;
            const std::int64_t first = isEmpty || list.first < first_ ? list.first : first_;
            const std::int64_t last = isEmpty || listLast > last_ ? listLast : last_;
            if (last - first + scratchSlack > job_.scratchPixels) break;
            first_ = first;
            last_ = last;
            isEmpty = false;
        }
        return x;
    }

    void LoadStretch() {
        for (int row = 0; row < rowsAtOnce; ++row) {
            const std::uint8_t* bytes = job_.sources[row] + first_ * bytesPerPixelWord;
            float* numbers = Numbers(row);
            const std::int64_t count = (last_ - first_) * bytesPerPixelWord;
            std::int64_t index = 0;
            for (; index + Simd::floatCount <= count; index += Simd::floatCount) {
                Simd::Store(numbers + index, Simd::LoadBytes(bytes + index));
            }
            for (; index < count; ++index)
                numbers[index] = bytes[index];
        }
    }

    float* Numbers(int row) const {
        return job_.scratch + row * job_.scratchPixels * bytesPerPixelWord;
    }

    void ResamplePixel(std::int64_t x) const {
        const BoundedList& list = job_.lists[x];
        const std::int64_t place = list.count == 0 ? 0 : list.first - first_;
        const float* numbers = Numbers(0) + place * bytesPerPixelWord;
        const std::int64_t rowLength = job_.scratchPixels * bytesPerPixelWord;
        const Floats bias = Simd::FirstPixel(list.bias);
        Floats sums[rowsAtOnce] = {bias, bias, bias, bias};
        for (std::int64_t tap = 0; tap < list.count; tap += pixelsPerVector) {
            const Floats weights = Simd::LoadWeights(list.weights + tap);
            for (int row = 0; row < rowsAtOnce; ++row) {
                const float* values = numbers + row * rowLength + tap * bytesPerPixelWord;
                sums[row] = Simd::MultiplyAdd(Simd::Load(values), weights, sums[row]);
            }
        }
        __m128i low;
        __m128i high;
        Simd::PixelsOfRows(sums, list.slack, low, high);
        StorePixels(x, list, low, Sse2::Differing(low, high) & colourLanes_);
    }

    void StorePixels(std::int64_t x, const BoundedList& list, __m128i pixels,
                     unsigned unsettled) const {
        alignas(16) std::uint8_t bytes[rowsAtOnce * bytesPerPixelWord];
        Sse2::StoreAll(bytes, pixels);
        for (; unsettled != 0; unsettled &= unsettled - 1) {
            const int lane = __builtin_ctz(unsettled);
            const std::uint8_t* channel =
                job_.sources[lane / bytesPerPixelWord] + lane % bytesPerPixelWord;
            bytes[lane] = ResampleRowChannel(channel, *list.exact);
        }
        for (int row = 0; row < rowsAtOnce; ++row) {
            __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord,
                             bytes + row * bytesPerPixelWord, bytesPerPixelWord);
        }
    }

    const RowResampling& job_;
    unsigned colourLanes_;
    std::int64_t first_ = 0;
    std::int64_t last_ = 0;
};

template <typename Simd>
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

    // Computes by the definition what the bounds leave open.
    Bytes Settle(Bytes low, Bytes high, std::int64_t offset) const {
        std::uint8_t bytes[Simd::byteCount];
        Simd::StoreAll(bytes, low);
        const std::int64_t size = job_.width * bytesPerPixelWord;
        for (Mask open = Simd::Differing(low, high) & colourLanes_; open != 0; open &= open - 1) {
            const std::int64_t lane = __builtin_ctzll(open);
            if (offset + lane >= size) break;
            bytes[lane] = ResampleColumnChannel(job_.rows, offset + lane, *job_.list->exact);
        }
        return Simd::LoadAll(bytes);
    }

    const ColumnBlending& job_;
    typename Simd::Arrangement arrange_;
    Mask colourLanes_;
    std::int32_t firstPlace_;
};

template <typename Simd>
void ResampleRows(const RowResampling& job) {
    RowResampler<Simd>(job).Run();
}

template <typename Simd>
void BlendRows(const ColumnBlending& job) {
    ColumnBlender<Simd>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
