// Requests for bytes that are read soon. Rows are fetched one row, or one block of rows, ahead of
// the work: what a processor fetches by itself begins anew with every row and every page.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {
namespace {

inline constexpr std::int64_t cacheLine = 64;

inline void Prefetch(const std::uint8_t* bytes) {
    __builtin_prefetch(bytes);
}

// Requests rows little by little, as the work on those before them goes along.
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

}  // namespace
}  // namespace zvk::kernels
