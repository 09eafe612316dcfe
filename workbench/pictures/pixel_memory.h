// Memory for the rows of one picture, with whatever must not be touched around them.
// Bitmaps and console images lay their rows out in it; it knows no pixels.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace workbench {

/// What memory to get. All sizes are in bytes; rowBytes and padding are multiples of 4.
struct MemoryShape {
    std::size_t rowBytes = 0;
    std::size_t height = 0;
    std::size_t padding = 0;    // behind each row
    bool separateRows = false;  // each row an allocation of its own, without padding
    bool guarded = false;       // inaccessible pages around what may be used
};

class PixelMemory {
  public:
    PixelMemory() = default;
    PixelMemory(const PixelMemory&) = delete;
    PixelMemory& operator=(const PixelMemory&) = delete;
    virtual ~PixelMemory() = default;

    /// The first byte of a row.
    virtual std::byte* Row(std::size_t y) const = 0;

    /// Bytes from one row to the next; 0 for separate rows.
    virtual std::size_t BytesPerRow() const = 0;

    /// Whether all accessible bytes that belong to no row are as they were made.
    virtual bool PaddingIsIntact() const = 0;
};

/// Zeroed rows. Guarded without padding, every row ends directly against an inaccessible page
/// (up to 8192 rows); otherwise the block of all rows does. What is guarded begins less than a page
/// behind another inaccessible page.
/// Throws std::bad_alloc.
std::shared_ptr<PixelMemory> MakePixelMemory(const MemoryShape& shape);

}  // namespace workbench
