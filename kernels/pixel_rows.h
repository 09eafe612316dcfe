// The rows of pixels between the two passes of the resampler.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// Rows of four-byte pixels in the source's order; the fourth byte means nothing. Where there are
// more rows than places, a row takes the place of the one `capacity` rows above it.
struct PixelRows {
    std::uint8_t* places;
    std::int64_t stride;  // bytes from one place to the next
    std::int32_t capacity;

    std::uint8_t* Row(std::int64_t index) const { return places + index % capacity * stride; }
};

// Colours are kept as numbers for whole groups of this many pixels.
inline constexpr std::int64_t pixelsInNumbers = 16;

// How many numbers a row of `width` pixels takes.
constexpr std::int64_t NumberCountOf(std::int64_t width) {
    return (width + pixelsInNumbers - 1) / pixelsInNumbers * pixelsInNumbers * colourCount;
}

// The colours of rows as single-precision numbers, kept like PixelRows. How they lie within a row
// is the kernels' own affair: those that write them read them.
struct NumberRows {
    float* places;
    std::int64_t stride;  // numbers from one place to the next
    std::int32_t capacity;

    float* Row(std::int64_t index) const { return places + index % capacity * stride; }
};

// Finds rows whose indices ascend, and divides only where one would lie behind the last place.
template <typename Rows>
class RowCursor {
  public:
    explicit RowCursor(const Rows& rows) : rows_(rows) {}

    [[gnu::always_inline]] auto* Row(std::int64_t index) {
        place_ += index - index_;
        if (place_ >= rows_.capacity) place_ %= rows_.capacity;
        index_ = index;
        return rows_.places + place_ * rows_.stride;
    }

    // How many rows lie one behind the other from the one that was found last.
    std::int64_t RowsBeforeEnd() const { return rows_.capacity - place_; }

  private:
    const Rows& rows_;
    std::int64_t index_ = 0;
    std::int64_t place_ = 0;
};

}  // namespace zvk::kernels
