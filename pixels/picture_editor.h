// Direct access to the 32-bit pixel memory of a host picture: the picture's description is locked,
// its layout recorded, and the rows read and written in place. Only the editors know locks and
// descriptions; every algorithm reaches pixels through the two roles below.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"
#include "pixels/pixel_layout.h"

namespace zvk {

// Which kind of picture description the host's runtime gives. Process-wide; it leaves Unknown once
// and never changes after that.
enum class RuntimeKind : std::uint8_t {
    Unknown,
    Desktop,  // bitmap contexts
    Console,  // truecolor libgd images
};

extern RuntimeKind runtimeKind;

// Attached to one picture at a time, or detached. While attached it holds one lock on the picture
// and its locked description, and the pixel fields are valid. Nothing here raises: failures are
// false results or nil pictures.
class PictureEditor {
  public:
    PictureEditor() = default;
    PictureEditor(const PictureEditor&) = delete;
    PictureEditor& operator=(const PictureEditor&) = delete;

    // Releases the editor.
    virtual ~PictureEditor();

    // Attaches the editor to `subject`, releasing what it held before. With `mayCopy`, a reading
    // editor may attach to a fresh 32-bit copy of a picture that the host does not lock as a
    // bitmap context. `willWrite` says that pixels will be changed, so that the host's cached
    // rendering is cleared on release. False if the picture is nil or cannot be used.
    bool GetPictureEditor(REALpicture subject, bool mayCopy, bool willWrite);

    // Hands the finished picture over: returns it with one more reference, or a picture built from
    // `buffer` if none is attached, or nil. The editor is detached afterwards.
    REALpicture RenderPictureWriter();

    // Start of row `y`; a row at or beyond the height is row 0.
    std::uint8_t* RowAddress(std::int64_t y) const {
        if (y >= height) return firstRow;
        if (pixelFormat == PixelFormat::Console)
            return reinterpret_cast<std::uint8_t*>(rowTable[y]);
        return firstRow + y * rowBytes;
    }

    // Where the channels of the attached pixels lie. Attached editors only.
    ChannelOrder Order() const { return *ChannelOrderOf(pixelFormat); }

    // Distance in bytes from the start of one row to the next.
    std::int64_t rowBytes = 0;
    // Size in pixels.
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t bytesPerPixel = 0;
    PixelFormat pixelFormat = PixelFormat::None;
    // Cursor: start of the current row, and its position.
    std::uint8_t* rowPointer = nullptr;
    std::int64_t column = 0;
    std::int64_t row = 0;
    REALpictureDescription description{};
    // Own pixels of `width` x `height`, rendered when no picture is attached; not owned.
    const void* buffer = nullptr;
    std::uint8_t* firstRow = nullptr;
    REALpicture picture = nullptr;
    // Console images only: their own row pointers.
    int** rowTable = nullptr;
    // The picture said that it has an alpha channel.
    bool hasAlpha = false;
    // An alpha-channel picture was attached through a bitmap context; never cleared.
    bool premultipliedAlpha = false;
    bool allowCopy = false;
    bool writable = false;
    bool descriptionLocked = false;

  private:
    void Release();
    bool LockDescription(REALpicture subject, REALdescriptionKind kind);
    bool AttachBitmapContext(REALpicture subject);
    bool AttachConsoleImage(REALpicture subject);
    bool HoldPicture(REALpicture subject);
    void TakeRows(std::uint8_t* rows);
};

// The distance in bytes from each row of an attached picture to the next, 0 where there is but one.
// Nothing if distances differ, or if they are so large that no memory has room for the rows.
std::optional<std::int64_t> RowStep(const PictureEditor& editor);

// Whether all of one attached picture lies behind all of another in memory. If so they share none.
bool LieApart(const PictureEditor& first, const PictureEditor& second);

// Whether any row of two attached pictures has bytes in common. A host may hand out a picture whose
// memory another one uses too; what is written to it then changes what is read.
bool SharesPixels(const PictureEditor& first, const PictureEditor& second);

// Whether the rows of an attached picture lie one behind the other, or one before the other, with
// no bytes in common. A host may repeat rows; what is written to one then changes another.
bool HasSeparateRows(const PictureEditor& editor);

// The role that reads a source picture.
class PictureReader : public PictureEditor {
  public:
    // Moves the cursor to the start of row `y` and returns its address.
    const std::uint8_t* SeekRow(std::int64_t y) {
        column = 0;
        row = y;
        return RowAddress(y);
    }
};

// The role that creates a result picture, writes it and hands it back.
class PictureWriter : public PictureEditor {
  public:
    // Creates a picture of `newWidth` x `newHeight` pixels, with an alpha channel exactly when
    // `source` has one, and attaches to it for writing. False if the host does not make one or
    // it cannot be attached.
    bool NewPictureWriter(const PictureReader& source, std::int64_t newWidth,
                          std::int64_t newHeight);

    // How many of `wanted` pixels may be written to a row. A host may hand out a picture of
    // another size than was asked for; nothing is written outside the picture that it is.
    std::int64_t WritableWidth(std::int64_t wanted) const {
        return height < 1 ? 0 : std::min(wanted, width);
    }

    // Whether the picture is so large that nothing of it stays in any cache until it is read again.
    bool IsBeyondCaches() const {
        constexpr std::int64_t largestCached = std::int64_t{3} << 23U;
        return height > 0 && width > largestCached / bytesPerPixelWord / height;
    }

    // Moves the cursor to the next row; behind the last one it wraps to row 0 instead of running
    // off the picture.
    void NextRow() {
        column = 0;
        row += 1;
        rowPointer = RowAddress(row);
    }
};

}  // namespace zvk
