// The pixels of a picture as one runtime keeps them, behind one interface.
// Pictures own one each; what the plugin is told of it comes from Describe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "hostapi/host_records.h"
#include "workbench/pictures/pixel_memory.h"

namespace workbench {

struct BitmapContext;

class PixelStore {
  public:
    PixelStore(int width, int height, int layout)
        : width_(width), height_(height), layout_(layout) {}
    PixelStore(const PixelStore&) = delete;
    PixelStore& operator=(const PixelStore&) = delete;
    virtual ~PixelStore() = default;

    int Width() const { return width_; }
    int Height() const { return height_; }
    int Layout() const { return layout_; }

    /// The pixels of row y, which must exist, or null where there are no pixel words.
    virtual std::uint32_t* Row(int y) const = 0;

    /// The kind of description, and the handle that stands in it.
    virtual REALdescriptionKind Kind() const = 0;
    virtual void* DescribedHandle() const = 0;

    /// The memory that the rows lie in; null where the store has none of its own.
    virtual const std::shared_ptr<PixelMemory>& Memory() const = 0;

    /// The context as it is reported, or null where there is none.
    virtual BitmapContext* Context() { return nullptr; }

  private:
    int width_;
    int height_;
    int layout_;
};

}  // namespace workbench
