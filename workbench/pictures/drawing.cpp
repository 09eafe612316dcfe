// Drawing: the common part, before the runtimes part ways.
// Copies a source that the destination would overwrite or that is of the other runtime.
#include "workbench/pictures/drawing.h"

#include <limits>
#include <vector>

#include "workbench/pictures/clipping.h"
#include "workbench/pictures/drawing_roads.h"

namespace workbench {

namespace {

bool IsWithin32Bits(const Rectangle& rectangle) {
    const auto fits = [](std::int64_t value) {
        return value >= std::numeric_limits<std::int32_t>::min() &&
               value <= std::numeric_limits<std::int32_t>::max();
    };
    return fits(rectangle.x) && fits(rectangle.y) && fits(rectangle.width) &&
           fits(rectangle.height);
}

/// A copy with the memory of the wanted kind; it has no mask and is in no ledger.
void CopyInto(Picture& copy, const Picture& source, bool console) {
    PictureOptions options;
    options.width = source.Width();
    options.height = source.Height();
    options.memory =
        console ? REALdescriptionKind::ConsoleImage : REALdescriptionKind::BitmapContext;
    // Straight alpha, so that a colour under a low alpha survives the copy.
    constexpr int straightLayout = 3;
    options.layout = source.IsConsoleImage() ? straightLayout : source.Layout();
    HostSettings settings;
    settings.maximumPictureBytes = std::numeric_limits<std::size_t>::max();
    copy.Construct(options, settings);

    std::vector<Color> row(static_cast<std::size_t>(source.Width()));
    for (int y = 0; y < source.Height(); ++y) {
        source.ReadRow(y, row);
        copy.WriteRow(y, row);
    }
}

/// `picture` itself, or a copy of it in `copy` where drawing into `destination` needs one.
const Picture* Usable(const Picture* picture, const Picture& destination, Picture& copy) {
    if (picture == nullptr) return nullptr;
    const bool console = destination.IsConsoleImage();
    if (picture->IsConsoleImage() == console && !picture->SharesMemoryWith(destination)) {
        return picture;
    }
    CopyInto(copy, *picture, console);
    return &copy;
}

}  // namespace

void DrawPicture(Picture& destination, const Picture& source, Rectangle to, Rectangle from) {
    if (!IsWithin32Bits(to) || !IsWithin32Bits(from)) return;
    const Drawing drawing{
        Clip(to.x, to.width, from.x, from.width, destination.Width(), source.Width()),
        Clip(to.y, to.height, from.y, from.height, destination.Height(), source.Height())};
    if (drawing.columns.IsEmpty() || drawing.rows.IsEmpty()) return;

    Picture sourceCopy;
    Picture maskCopy;
    const Picture* usableSource = Usable(&source, destination, sourceCopy);
    const Picture* usableMask = Usable(source.Mask(), destination, maskCopy);
    if (destination.IsConsoleImage()) {
        DrawOnConsoleImage(destination, *usableSource, usableMask, drawing);
    } else {
        DrawOnBitmap(destination, *usableSource, usableMask, drawing);
    }
}

}  // namespace workbench
