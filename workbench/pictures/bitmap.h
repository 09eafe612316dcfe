// Pixels of desktop pictures: a bitmap context in one of the layouts 1 to 6.
// Made by pictures; found again by the stand-ins for the platform's queries.
#pragma once

#include "workbench/pictures/picture.h"
#include "workbench/pictures/pixel_store.h"

namespace workbench {

class Bitmap final : public PixelStore {
  public:
    /// Takes a window of `memory` that begins `column` pixels into row `row`. `owner` is the
    /// picture that has the bitmap.
    Bitmap(const Picture& owner, int width, int height, int layout,
           std::shared_ptr<PixelMemory> memory, int column, int row);
    ~Bitmap() override;

    /// The bitmap whose context has that handle, or null.
    static Bitmap* Find(const void* context);

    std::uint32_t* Row(int y) const override;
    REALdescriptionKind Kind() const override { return REALdescriptionKind::BitmapContext; }
    void* DescribedHandle() const override { return const_cast<void*>(handle_); }
    const std::shared_ptr<PixelMemory>& Memory() const override { return memory_; }
    BitmapContext* Context() override { return &context_; }

    const Picture& Owner() const { return owner_; }

  private:
    const Picture& owner_;
    std::shared_ptr<PixelMemory> memory_;
    int column_;
    int row_;
    BitmapContext context_;
    const void* handle_;
};

}  // namespace workbench
