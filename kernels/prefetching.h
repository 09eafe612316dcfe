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

// Rows that are read side by side from left to right, and those that are read next.
struct RowsInTurn {
    const std::uint8_t* const* rows;
    const std::uint8_t* const* next;
    std::int64_t rowSize;  // in bytes

    // Requests a byte at `place` of rows `first` to before `last`, or of those that are read next
    // where these have no more.
    void Fetch(int first, int last, std::int64_t place) const {
        const bool isInRow = place < rowSize;
        const std::uint8_t* const* const from = isInRow ? rows : next;
        const std::int64_t offset = isInRow ? place : place - rowSize;
        if (offset >= rowSize) return;
        for (int row = first; row < last; ++row)
            Prefetch(from[row] + offset);
    }
};

// Requests rows line by line, a few cache lines before their turn comes; of a row by itself the
// next one, since a processor fetches ahead in one row by itself. Several rows are more than a
// first-level cache would keep for the length of a row.
class LineFetcher {
  public:
    // Nothing before pixel `first` is requested.
    LineFetcher(const RowsInTurn& rows, int rowCount, std::int64_t first)
        : rows_(rows),
          rowCount_(rowCount),
          distance_(rowCount > 1 ? 8 * cacheLine : rows.rowSize),
          fetched_(first * bytesPerPixelWord) {}

    // Requests what lies ahead of the pixels up to before `end`, as far as it has not been.
    void FetchAheadOf(std::int64_t end) {
        for (; fetched_ < end * bytesPerPixelWord; fetched_ += cacheLine)
            rows_.Fetch(0, rowCount_, fetched_ + distance_);
    }

  private:
    RowsInTurn rows_;
    int rowCount_;
    std::int64_t distance_;
    std::int64_t fetched_;
};

// The same for rows that are read in steps of `step` bytes: of all rows by the time that a cache
// line has been read.
template <int rowCount, std::int64_t step>
class StepFetcher {
  public:
    explicit StepFetcher(const RowsInTurn& rows) : rows_(rows) {}

    // To be called for every step, which reads from `offset` on.
    void FetchAheadOf(std::int64_t offset) {
        constexpr std::int64_t distance = 4 * cacheLine;
        constexpr int rowsPerStep = static_cast<int>(rowCount * step / cacheLine);
        rows_.Fetch(turn_, turn_ + rowsPerStep, offset + distance);
        turn_ = (turn_ + rowsPerStep) % rowCount;
    }

  private:
    RowsInTurn rows_;
    int turn_ = 0;
};

}  // namespace
}  // namespace zvk::kernels
