// Requests for bytes that are read soon: what a processor fetches by itself begins anew with every
// row and every page.
#pragma once

#include <algorithm>
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

// How far ahead several rows are requested: a few cache lines, for the first-level cache, where the
// work on a line takes longer than memory does.
struct NearReach {
    static constexpr std::int64_t distance = 8 * cacheLine;
    static void Request(const std::uint8_t* bytes) { Prefetch(bytes); }
};

// Farther, for the second-level cache, where the work has to wait for memory.
struct FarReach {
    static constexpr std::int64_t distance = 64 * cacheLine;
    static void Request(const std::uint8_t* bytes) {
        __builtin_prefetch(bytes, 0, 2);
        __asm__ volatile("");
    }
};

// Some bytes of each of several rows that are read soon.
template <typename Reach>
struct StretchAhead {
    const std::uint8_t* const* rows;
    std::int64_t offset;
    std::int64_t size;  // 0 or less where there is nothing to request

    void Request(int row) const {
        const std::uint8_t* const bytes = rows[row] + offset;
        for (std::int64_t line = 0; line < size; line += cacheLine)
            Reach::Request(bytes + line);
    }
};

// Tells what to request while rows are read from left to right. Of a row by itself it is the next
// one, since a processor fetches ahead in one row by itself.
template <typename Reach>
class LineFetcher {
  public:
    // Nothing before pixel `first` is requested.
    LineFetcher(const RowsInTurn& rows, int rowCount, std::int64_t first)
        : rows_(rows),
          distance_(rowCount > 1 ? std::min(Reach::distance, rows.rowSize) : rows.rowSize),
          reached_(first * bytesPerPixelWord) {}

    // What lies ahead of the pixels up to before `end`, as far as it has not been told before.
    StretchAhead<Reach> AheadOf(std::int64_t end) {
        const std::int64_t first = reached_ + distance_;
        while (reached_ < end * bytesPerPixelWord)
            reached_ += cacheLine;
        const std::int64_t last = reached_ + distance_;
        const std::int64_t rowSize = rows_.rowSize;
        if (first < rowSize)
            return {.rows = rows_.rows, .offset = first, .size = std::min(last, rowSize) - first};
        return {.rows = rows_.next,
                .offset = first - rowSize,
                .size = std::min(last, 2 * rowSize) - first};
    }

  private:
    RowsInTurn rows_;
    std::int64_t distance_;
    std::int64_t reached_;
};

// Requests rows that are read in steps of `step` bytes: a cache line of all rows by the time that
// one has been read.
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
