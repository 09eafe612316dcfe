// The vector body of making rows opaque in their place, compiled once per instruction set.
#pragma once

#include <algorithm>
#include <array>

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// What is opaque already is left alone: memory that is not written need not be written back.
template <typename Vectors>
class RowOpaquer {
  public:
    explicit RowOpaquer(const RowOpaquing& job)
        : size_(job.width * bytesPerPixelWord),
          opaque_(Vectors::Repeat32(FourthByte(job.order, job.order.opaque))),
          colours_(Vectors::Repeat32(~FourthByte(job.order, 0xFF))) {}

    void Run(std::uint8_t* row) const {
        std::int64_t offset = 0;
        for (; offset + 4 * step < size_; offset += 4 * step)
            MakeFourOpaque(row, {offset, offset + step, offset + 2 * step, offset + 3 * step});
        // The last four may overlap each other.
        const std::int64_t last = size_ - step;
        MakeFourOpaque(row, {std::min(offset, last), std::min(offset + step, last),
                             std::min(offset + 2 * step, last), last});
    }

  private:
    using Bytes = typename Vectors::Bytes;
    static constexpr std::int64_t step = Vectors::byteCount;

    static std::int32_t FourthByte(const ChannelOrder& order, std::uint32_t value) {
        return static_cast<std::int32_t>(value << (8U * order.alpha));
    }

    void MakeFourOpaque(std::uint8_t* row, const std::array<std::int64_t, 4>& offsets) const {
        const Bytes differences = (Difference(row + offsets[0]) | Difference(row + offsets[1])) |
                                  (Difference(row + offsets[2]) | Difference(row + offsets[3]));
        if (Vectors::Differing(differences & ~colours_, Bytes{}) == 0) return;
        for (const std::int64_t offset : offsets)
            MakeOpaque(row + offset);
    }

    // Has bits where a fourth byte is not opaque, and others in the colours.
    Bytes Difference(const std::uint8_t* pixels) const {
        return Vectors::LoadAll(pixels) ^ opaque_;
    }

    void MakeOpaque(std::uint8_t* place) const {
        const Bytes pixels = Vectors::LoadAll(place);
        const Bytes opaque = (pixels & colours_) | opaque_;
        if (Vectors::Differing(pixels, opaque) != 0) Vectors::StoreAll(place, opaque);
    }

    std::int64_t size_;
    Bytes opaque_;
    Bytes colours_;
};

// Rows that no vector fits into.
class ShortRowOpaquer {
  public:
    explicit ShortRowOpaquer(const RowOpaquing& job) : width_(job.width), order_(job.order) {}

    void Run(std::uint8_t* row) const {
        for (std::int64_t x = 0; x < width_; ++x)
            row[x * bytesPerPixelWord + order_.alpha] = order_.opaque;
    }

  private:
    std::int64_t width_;
    ChannelOrder order_;
};

template <typename Opaquer>
void MakeEachRowOpaque(const RowOpaquing& job) {
    const Opaquer opaquer(job);
    for (std::int64_t y = 0; y < job.rowCount; ++y)
        opaquer.Run(job.pixels + y * job.rowStep);
}

template <typename Simd, typename Narrow>
void MakeRowsOpaque(const RowOpaquing& job) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    if (size >= Simd::byteCount) {
        MakeEachRowOpaque<RowOpaquer<Simd>>(job);
    } else if (size >= Narrow::byteCount) {
        MakeEachRowOpaque<RowOpaquer<Narrow>>(job);
    } else {
        MakeEachRowOpaque<ShortRowOpaquer>(job);
    }
}

}  // namespace
}  // namespace zvk::kernels
