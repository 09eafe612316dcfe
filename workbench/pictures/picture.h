// The host's pictures: pixel memory of either runtime, mask, alpha channel, locks.
// Made by the host for the plugin and for tests; tests look at pixels here, the plugin through
// the description of its memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "hostapi/host_records.h"
#include "workbench/host/held.h"
#include "workbench/host/settings.h"
#include "workbench/objects/object.h"
#include "workbench/pictures/color.h"
#include "workbench/pictures/owned_image.h"

namespace workbench {

class PixelStore;
class Picture;

/// What the platform's queries answer for a bitmap context. Tests may change it to make a host
/// that lies; the picture's own view of its pixels does not follow.
struct BitmapContext {
    void* data = nullptr;
    std::size_t width = 0;   // in pixels
    std::size_t height = 0;  // in pixels
    std::size_t bytesPerRow = 0;
    std::size_t bitsPerPixel = 32;
    std::uint32_t alphaInfo = 0;
};

/// A window of another picture's memory, for pictures that share pixels.
struct SharedPixels {
    const Picture* owner = nullptr;
    int column = 0;
    int row = 0;
};

/// How to make a picture; what has no value follows the host's settings.
struct PictureOptions {
    int width = 1;
    int height = 1;

    /// Reports the property HasAlphaChannel.
    bool alphaChannel = false;

    /// 1 to 6, of a bitmap context. Kept as given, also where an alpha channel forbids it.
    std::optional<int> layout = std::nullopt;

    /// Bitmap context or console image.
    std::optional<REALdescriptionKind> memory = std::nullopt;

    /// Bytes behind each row of a bitmap context, a multiple of 4.
    std::optional<std::size_t> rowPadding = std::nullopt;

    /// What the bitmap context is to report; the memory has 32 bits per pixel and its layout.
    std::optional<std::size_t> bitsPerPixel = std::nullopt;
    std::optional<std::uint32_t> alphaInfo = std::nullopt;

    /// A console image that is not truecolor.
    bool palette = false;

    REALinteger typeCode = 2;

    /// The description cannot be locked.
    bool refusesLocks = false;

    /// Pixels of another picture, in its layout; they stay as they are unless `fill` is given.
    std::optional<SharedPixels> shares = std::nullopt;

    /// Else white, or transparent with an alpha channel.
    std::optional<Color> fill = std::nullopt;

    /// Pixel words stay 0, in memory that is not touched yet: for whoever writes all of them.
    bool unfilled = false;
};

class Picture : public Object {
  public:
    /// Without pixels until Construct is called, as an instance made by class name is.
    Picture();
    ~Picture() override;

    /// Gives the picture its pixels. Throws std::invalid_argument for options that make no sense
    /// and std::bad_alloc for a size that cannot be had; the picture is then as before.
    void Construct(const PictureOptions& options, const HostSettings& settings);

    /// Makes it a console picture whose pixels are those of the truecolor image, which it then
    /// owns. Throws std::invalid_argument for another image; the picture is then as before.
    void Adopt(OwnedImage image, bool alphaChannel);

    std::string_view ClassName() const override { return "Picture"; }
    std::string_view Kind() const override { return "picture"; }
    REALpicture Handle() const { return ToHandle<REALpicture>(Address()); }

    /// Size in pixels; 0 before construction.
    int Width() const;
    int Height() const;
    bool HasAlphaChannel() const { return hasAlphaChannel_; }

    /// 1 to 6, or `consoleLayout`; 0 before construction.
    int Layout() const;
    bool IsConsoleImage() const;

    /// True for a console image that is not truecolor.
    bool IsPalette() const;

    /// The pixels of a row as words. Empty for a palette image. Throws std::out_of_range for a
    /// row that is not there.
    std::span<std::uint32_t> Row(int y);
    std::span<const std::uint32_t> Row(int y) const;

    /// Single pixels, as words or colours. Both throw std::out_of_range outside the picture.
    std::uint32_t Word(int x, int y) const;
    void SetWord(int x, int y, std::uint32_t word);
    Color At(int x, int y) const;
    void Put(int x, int y, Color color);

    /// A whole row of colours; `colors` has at least the picture's width.
    void ReadRow(int y, std::span<Color> colors) const;
    void WriteRow(int y, std::span<const Color> colors);
    void Fill(Color color);

    /// True while every byte behind the rows is as it was made.
    bool PaddingIsIntact() const;

    /// The mask, or null. White is transparent and black opaque; beyond a smaller mask the
    /// picture is opaque.
    Picture* Mask() const { return mask_.Get(); }

    /// Replaces the mask, which the picture then holds; an empty one is none. The mask must not
    /// have the picture among its own masks.
    void SetMask(Held<Picture> mask) { mask_ = std::move(mask); }

    /// How often the plugin said that the pixels changed.
    int CacheClears() const { return cacheClears_; }

    void CountCacheClear() { ++cacheClears_; }

    /// Locks on the description now.
    int Locks() const;

    /// Fills in a description of the wanted kind; false where the memory is of the other kind,
    /// there is none, or the picture refuses locks. Counting the lock is the caller's.
    bool Describe(REALinteger kind, REALpictureDescription& description);

    /// Whether some byte may belong to both pictures.
    bool SharesMemoryWith(const Picture& other) const;

    /// The bitmap context as it is reported, or null for a console image.
    BitmapContext* Context();

    /// The libgd image (a `gdImage`), or null for a bitmap context.
    void* GdImage() const;

    // Lies, for hosts that do not keep their word. None is set at first.
    REALinteger typeCode = 2;
    bool refusesLocks = false;
    std::optional<REALinteger> reportedWidth;                       // the property "Width"
    std::optional<REALinteger> reportedHeight;                      // the property "Height"
    std::function<void(REALpictureDescription&)> alterDescription;  // after a lock that succeeded

  private:
    std::unique_ptr<PixelStore> ShareWindow(const Picture& borrower,
                                            const PictureOptions& options) const;

    std::unique_ptr<PixelStore> pixels_;
    bool hasAlphaChannel_ = false;
    Held<Picture> mask_;
    int cacheClears_ = 0;
};

}  // namespace workbench
