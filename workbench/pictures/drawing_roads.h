// The two ways of drawing, one for each runtime's memory.
// Called by DrawPicture alone, which has clipped the drawing and resolved overlaps.
#pragma once

#include "workbench/pictures/clipping.h"
#include "workbench/pictures/picture.h"

namespace workbench {

/// A clipped drawing: neither axis is empty.
struct Drawing {
    Axis columns;
    Axis rows;

    bool IsScaled() const { return columns.IsScaled() || rows.IsScaled(); }
};

/// Draws between bitmap contexts with pixman. The mask is null or a bitmap context too; none of
/// the three shares memory with the destination.
void DrawOnBitmap(Picture& destination, const Picture& source, const Picture* mask,
                  const Drawing& drawing);

/// Draws between libgd images with libgd's copies. As DrawOnBitmap.
void DrawOnConsoleImage(Picture& destination, const Picture& source, const Picture* mask,
                        const Drawing& drawing);

}  // namespace workbench
