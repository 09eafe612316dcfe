// Pixels of console and web pictures: libgd images.
// Made by pictures; drawing hands the images to libgd, the plugin reads their row tables.
#pragma once

#include <gd.h>

#include <vector>

#include "workbench/pictures/color.h"
#include "workbench/pictures/owned_image.h"
#include "workbench/pictures/pixel_store.h"

namespace workbench {

/// The rows of a truecolor image as pixel memory, which then owns it.
std::shared_ptr<PixelMemory> MakePixelMemory(OwnedImage image);

/// A truecolor image whose rows lie in pixel memory of ours, so that they can be guarded and
/// shared. libgd sees an ordinary image of its own.
class ConsoleImage final : public PixelStore {
  public:
    /// Takes a window of `memory` that begins `column` pixels into row `row`.
    ConsoleImage(int width, int height, std::shared_ptr<PixelMemory> memory, int column, int row);
    ~ConsoleImage() override;

    std::uint32_t* Row(int y) const override;
    REALdescriptionKind Kind() const override { return REALdescriptionKind::ConsoleImage; }
    void* DescribedHandle() const override { return image_.get(); }
    const std::shared_ptr<PixelMemory>& Memory() const override { return memory_; }

  private:
    std::shared_ptr<PixelMemory> memory_;
    std::vector<int*> rows_;
    OwnedImage image_;
    int** ownRows_;  // of the one-pixel image that libgd made; given back before it is destroyed
};

/// An image of palette indices, which the plugin must refuse.
class PaletteImage final : public PixelStore {
  public:
    PaletteImage(int width, int height);

    std::uint32_t* Row(int) const override { return nullptr; }
    REALdescriptionKind Kind() const override { return REALdescriptionKind::ConsoleImage; }
    void* DescribedHandle() const override { return image_.get(); }
    const std::shared_ptr<PixelMemory>& Memory() const override { return none_; }

  private:
    OwnedImage image_;
    std::shared_ptr<PixelMemory> none_;
};

}  // namespace workbench
