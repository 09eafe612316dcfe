// The vector body of copying pixels from one order of channels to another, compiled once per
// instruction set.
#pragma once

#include <cstring>

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Bytes up to the next place in memory where a vector of `size` bytes lies in one cache line.
inline std::int64_t BytesToBoundary(const std::uint8_t* place, std::int64_t size) {
    const auto address = reinterpret_cast<std::uintptr_t>(place);
    return static_cast<std::int64_t>(-address & static_cast<std::uintptr_t>(size - 1));
}

// Copies fewer bytes than a vector holds.
template <typename Vectors>
void CopyShortRow(const RowCopying& job) {
    const typename Vectors::Arrangement arrange(job.sourceOrder, job.order);
    const auto size = static_cast<std::size_t>(job.width * bytesPerPixelWord);
    std::uint8_t bytes[Vectors::byteCount] = {};
    std::memcpy(bytes, job.source, size);
    Vectors::StoreAll(bytes, arrange(Vectors::LoadAll(bytes)));
    std::memcpy(job.destination, bytes, size);
}

template <typename Vectors, bool streams>
void CopyLongRow(const RowCopying& job) {
    const typename Vectors::Arrangement arrange(job.sourceOrder, job.order);
    const auto copy = [&](std::int64_t offset) {
        const typename Vectors::Bytes pixels = arrange(Vectors::LoadAll(job.source + offset));
        if constexpr (streams) {
            Vectors::Stream(job.destination + offset, pixels);
        } else {
            Vectors::StoreAll(job.destination + offset, pixels);
        }
    };
    // The first and the last vector overlap others; what is written twice comes out the same.
    const std::int64_t size = job.width * bytesPerPixelWord;
    constexpr std::int64_t step = Vectors::byteCount;
    copy(0);
    std::int64_t offset = BytesToBoundary(job.destination, step);
    offset = offset % bytesPerPixelWord == 0 ? offset : step;
    for (; offset + 4 * step <= size; offset += 4 * step) {
        copy(offset);
        copy(offset + step);
        copy(offset + 2 * step);
        copy(offset + 3 * step);
    }
    for (; offset + step <= size; offset += step)
        copy(offset);
    copy(size - step);
    if constexpr (streams) EndStream();
}

// Makes a row opaque in its place. What is opaque already is left alone: memory that is not written
// need not be written back.
template <typename Vectors>
class RowOpaquer {
  public:
    explicit RowOpaquer(const RowCopying& job)
        : pixels_(job.destination),
          size_(job.width * bytesPerPixelWord),
          opaque_(Vectors::Repeat32(FourthByte(job.order, job.order.opaque))),
          colours_(Vectors::Repeat32(~FourthByte(job.order, 0xFF))) {}

    void Run() const {
        std::int64_t offset = 0;
        for (; offset + 4 * step <= size_; offset += 4 * step) {
            const Bytes differences = Difference(offset) | Difference(offset + step) |
                                      Difference(offset + 2 * step) | Difference(offset + 3 * step);
            if (Vectors::Differing(differences & ~colours_, Bytes{}) == 0) continue;
            for (std::int64_t vector = 0; vector < 4; ++vector)
                MakeOpaque(offset + vector * step);
        }
        for (; offset + step <= size_; offset += step)
            MakeOpaque(offset);
        MakeOpaque(size_ - step);
    }

  private:
    using Bytes = typename Vectors::Bytes;
    static constexpr std::int64_t step = Vectors::byteCount;

    static std::int32_t FourthByte(const ChannelOrder& order, std::uint32_t value) {
        return static_cast<std::int32_t>(value << (8U * order.alpha));
    }

    // Has bits where a fourth byte is not opaque, and others in the colours.
    Bytes Difference(std::int64_t offset) const {
        return Vectors::LoadAll(pixels_ + offset) ^ opaque_;
    }

    void MakeOpaque(std::int64_t offset) const {
        const Bytes pixels = Vectors::LoadAll(pixels_ + offset);
        const Bytes opaque = (pixels & colours_) | opaque_;
        if (Vectors::Differing(pixels, opaque) != 0) Vectors::StoreAll(pixels_ + offset, opaque);
    }

    std::uint8_t* pixels_;
    std::int64_t size_;
    Bytes opaque_;
    Bytes colours_;
};

template <typename Simd, typename Narrow>
void CopyRow(const RowCopying& job) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    if (job.source == job.destination && size >= Simd::byteCount) {
        RowOpaquer<Simd>(job).Run();
    } else if (size >= Simd::byteCount) {
        job.streams ? CopyLongRow<Simd, true>(job) : CopyLongRow<Simd, false>(job);
    } else if (size >= Narrow::byteCount) {
        CopyLongRow<Narrow, false>(job);
    } else {
        CopyShortRow<Narrow>(job);
    }
}

}  // namespace
}  // namespace zvk::kernels
