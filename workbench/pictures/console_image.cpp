// libgd images over pixel memory.
// The plugin reads these images by a record of the plugin interface, so their layouts must agree.
#include "workbench/pictures/console_image.h"

#include <cstddef>
#include <new>
#include <utility>

namespace workbench {

static_assert(offsetof(gdImage, pixels) == offsetof(REALconsoleImage, pixels));
static_assert(offsetof(gdImage, sx) == offsetof(REALconsoleImage, sx));
static_assert(offsetof(gdImage, sy) == offsetof(REALconsoleImage, sy));
static_assert(offsetof(gdImage, trueColor) == offsetof(REALconsoleImage, trueColor));
static_assert(offsetof(gdImage, tpixels) == offsetof(REALconsoleImage, tpixels));

namespace {

OwnedImage Owned(gdImage* image) {
    if (image == nullptr) throw std::bad_alloc();
    return OwnedImage(image);
}

class RowsOfImage final : public PixelMemory {
  public:
    explicit RowsOfImage(OwnedImage image) : image_(std::move(image)) {}

    std::byte* Row(std::size_t y) const override {
        return reinterpret_cast<std::byte*>(image_->tpixels[y]);
    }
    std::size_t BytesPerRow() const override { return 0; }
    bool PaddingIsIntact() const override { return true; }

  private:
    OwnedImage image_;
};

}  // namespace

std::shared_ptr<PixelMemory> MakePixelMemory(OwnedImage image) {
    return std::make_shared<RowsOfImage>(std::move(image));
}

ConsoleImage::ConsoleImage(int width, int height, std::shared_ptr<PixelMemory> memory, int column,
                           int row)
    : PixelStore(width, height, consoleLayout),
      memory_(std::move(memory)),
      image_(Owned(gdImageCreateTrueColor(1, 1))),
      ownRows_(image_->tpixels) {
    rows_.reserve(static_cast<std::size_t>(height));
    const auto firstRow = static_cast<std::size_t>(row);
    for (int y = 0; y < height; ++y) {
        std::byte* start = memory_->Row(firstRow + static_cast<std::size_t>(y));
        rows_.push_back(reinterpret_cast<int*>(start) + column);
    }
    image_->tpixels = rows_.data();
    image_->sx = width;
    image_->sy = height;
    gdImageSetClip(image_.get(), 0, 0, width - 1, height - 1);
}

ConsoleImage::~ConsoleImage() {
    image_->tpixels = ownRows_;
    image_->sx = 1;
    image_->sy = 1;
}

std::uint32_t* ConsoleImage::Row(int y) const {
    return reinterpret_cast<std::uint32_t*>(rows_[static_cast<std::size_t>(y)]);
}

PaletteImage::PaletteImage(int width, int height)
    : PixelStore(width, height, consoleLayout), image_(Owned(gdImageCreate(width, height))) {
    gdImageColorAllocate(image_.get(), 255, 255, 255);
}

}  // namespace workbench
