// How rows lie in memory, and the search for memory that two pictures share, or rows of one.
#include <algorithm>
#include <cstdint>
#include <optional>

#include "pixels/picture_editor.h"

namespace zvk {

namespace {

// Addresses `begin` to before `end`.
struct Extent {
    std::uintptr_t begin;
    std::uintptr_t end;

    bool Meets(const Extent& other) const { return begin < other.end && other.begin < end; }
};

Extent RowExtent(const PictureEditor& editor, std::int64_t y) {
    const auto begin = reinterpret_cast<std::uintptr_t>(editor.RowAddress(y));
    return {begin, begin + static_cast<std::uintptr_t>(editor.width * bytesPerPixelWord)};
}

Extent Joined(const Extent& first, const Extent& second) {
    return {std::min(first.begin, second.begin), std::max(first.end, second.end)};
}

// From the lowest to the highest address of any row.
Extent WholeExtent(const PictureEditor& editor) {
    Extent whole = RowExtent(editor, 0);
    if (RowStep(editor) && editor.height > 0)
        return Joined(whole, RowExtent(editor, editor.height - 1));
    for (std::int64_t y = 1; y < editor.height; ++y) {
        whole = Joined(whole, RowExtent(editor, y));
    }
    return whole;
}

bool AnyRowMeets(const PictureEditor& editor, const Extent& extent) {
    for (std::int64_t y = 0; y < editor.height; ++y) {
        if (RowExtent(editor, y).Meets(extent)) return true;
    }
    return false;
}

}  // namespace

std::optional<std::int64_t> RowStep(const PictureEditor& editor) {
    if (editor.height < 2) return 0;
    if (editor.pixelFormat != PixelFormat::Console) {
        const std::int64_t greatest = (std::int64_t{1} << 47U) / editor.height;
        if (editor.rowBytes > greatest || editor.rowBytes < -greatest) return std::nullopt;
        return editor.rowBytes;
    }
    const auto distance = [&editor](std::int64_t y) {
        return reinterpret_cast<std::uintptr_t>(editor.rowTable[y + 1]) -
               reinterpret_cast<std::uintptr_t>(editor.rowTable[y]);
    };
    for (std::int64_t y = 1; y + 1 < editor.height; ++y) {
        if (distance(y) != distance(0)) return std::nullopt;
    }
    return static_cast<std::int64_t>(distance(0));
}

bool LieApart(const PictureEditor& first, const PictureEditor& second) {
    return !WholeExtent(first).Meets(WholeExtent(second));
}

// Most pictures lie apart as wholes; only rows within the other's extent are compared one by one.
bool SharesPixels(const PictureEditor& first, const PictureEditor& second) {
    if (LieApart(first, second)) return false;
    const Extent firstWhole = WholeExtent(first);
    for (std::int64_t y = 0; y < second.height; ++y) {
        const Extent row = RowExtent(second, y);
        if (row.Meets(firstWhole) && AnyRowMeets(first, row)) return true;
    }
    return false;
}

bool HasSeparateRows(const PictureEditor& editor) {
    if (editor.height < 2) return true;
    const std::int64_t rowSize = editor.width * bytesPerPixelWord;
    if (const auto step = RowStep(editor)) return *step >= rowSize || *step <= -rowSize;
    bool ascends = true;
    bool descends = true;
    for (std::int64_t y = 1; y < editor.height; ++y) {
        const Extent row = RowExtent(editor, y - 1);
        const Extent next = RowExtent(editor, y);
        ascends = ascends && row.end <= next.begin;
        descends = descends && next.end <= row.begin;
    }
    return ascends || descends;
}

}  // namespace zvk
