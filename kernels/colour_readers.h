// The colours of the rows that are blended down the columns, as numbers in single precision.
// Included by the bodies of that pass; everything here is internal to each file that is compiled
// for a level.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Takes the colours of a vector's pixels from rows of bytes.
template <typename Simd>
class ByteReader {
  public:
    explicit ByteReader(const ColumnBlending& job)
        : rows_(job.rows), bytes_{job.rowOrder.red, job.rowOrder.green, job.rowOrder.blue} {}

    const PixelRows& rows() const { return rows_; }

    // Where pixels lie in a row that begin `offset` bytes behind its first.
    static const std::uint8_t* PlaceIn(const std::uint8_t* row, std::int64_t offset) {
        return row + offset;
    }
    // One colour of the pixels at a place.
    typename Simd::Floats Load(const std::uint8_t* place, int colour) const {
        return Simd::Channel(Simd::LoadAll(place), bytes_[colour]);
    }
    // The same of four of the pixels, by their place among the fours.
    Sse2::Floats LoadPart(const std::uint8_t* place, int colour, int part) const {
        return Sse2::Channel(Sse2::LoadAll(place + part * Sse2::byteCount), bytes_[colour]);
    }

  private:
    const PixelRows& rows_;
    int bytes_[colourCount];
};

// The same from rows of numbers, where the colours of each vector's pixels lie one behind the
// other.
template <typename Simd>
class NumberReader {
  public:
    explicit NumberReader(const ColumnBlending& job) : rows_(job.numbers) {}

    const NumberRows& rows() const { return rows_; }

    static const float* PlaceIn(const float* row, std::int64_t offset) {
        return row + offset / bytesPerPixelWord * colourCount;
    }
    static typename Simd::Floats Load(const float* place, int colour) {
        return Simd::Load(place + colour * Simd::floatCount);
    }
    static Sse2::Floats LoadPart(const float* place, int colour, int part) {
        return Sse2::Load(place + colour * Simd::floatCount + part * Sse2::floatCount);
    }

  private:
    const NumberRows& rows_;
};

}  // namespace
}  // namespace zvk::kernels
