// Requests for bytes that are read soon: what a processor fetches by itself begins anew with every
// row and every page.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {
namespace {

inline constexpr std::int64_t cacheLine = 64;

inline void Prefetch(const std::uint8_t* bytes) {
    __builtin_prefetch(bytes);
    // Without this, compilers leave out calls of functions that do nothing but request.
    __asm__ volatile("");
}

// Requests rows one row, or one block of rows, ahead, little by little as the work goes along.
class AheadFetcher {
  public:
    // Nothing before pixel `first` is requested.
    AheadFetcher(const std::uint8_t* const* rows, int rowCount, std::int64_t first)
        : rows_(rows), rowCount_(rowCount), fetched_(first) {}

    // Requests what has not been of the pixels up to before `end`.
    void FetchUpTo(std::int64_t end) {
        for (; fetched_ < end; fetched_ += pixelsPerLine) {
            for (int row = 0; row < rowCount_; ++row)
                Prefetch(rows_[row] + fetched_ * bytesPerPixelWord);
        }
    }

  private:
    static constexpr std::int64_t pixelsPerLine = cacheLine / bytesPerPixelWord;

    const std::uint8_t* const* rows_;
    int rowCount_;
    std::int64_t fetched_;
};

// Requests parts of rows that are read side by side, shortly before their turn comes; near the
// ends of the rows, the beginnings of those that are read next. So many rows are more than a
// first-level cache would keep for the length of a row.
template <int rowCount>
class SideBySideFetcher {
  public:
    // Rows, and those that are read next, of `rowSize` bytes.
    SideBySideFetcher(const std::uint8_t* const* rows, const std::uint8_t* const* next,
                      std::int64_t rowSize)
        : rows_(rows), next_(next), rowSize_(rowSize) {}

    // To be called for every `step` bytes that are read, from `offset` on: requests what lies ahead
    // in some of the rows, and in all of them by the time that a cache line has been read.
    template <std::int64_t step>
    void FetchAheadOf(std::int64_t offset) {
        constexpr std::int64_t distance = 4 * cacheLine;
        constexpr int rowsPerCall = static_cast<int>(rowCount * step / cacheLine);
        const bool isInRow = offset + distance < rowSize_;
        const std::uint8_t* const* const rows = isInRow ? rows_ : next_;
        const std::int64_t place = offset + distance - (isInRow ? 0 : rowSize_);
        if (place < rowSize_) {
            for (int row = turn_; row < turn_ + rowsPerCall; ++row)
                Prefetch(rows[row] + place);
        }
        turn_ = (turn_ + rowsPerCall) % rowCount;
    }

  private:
    const std::uint8_t* const* rows_;
    const std::uint8_t* const* next_;
    std::int64_t rowSize_;
    int turn_ = 0;
};

}  // namespace
}  // namespace zvk::kernels
