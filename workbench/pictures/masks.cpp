// Masks and alpha channels turned into each other, row by row.
// Called by the host; nothing is drawn here.
#include "workbench/pictures/masks.h"

#include <cstddef>
#include <vector>

#include "workbench/pictures/drawing.h"

namespace workbench {

void TakeAlphaFromMask(Picture& picture, const Picture* mask) {
    std::vector<Color> row(static_cast<std::size_t>(picture.Width()));
    for (int y = 0; y < picture.Height(); ++y) {
        picture.ReadRow(y, row);
        for (int x = 0; x < picture.Width(); ++x) {
            const bool masked = mask != nullptr && x < mask->Width() && y < mask->Height();
            row[static_cast<std::size_t>(x)].alpha = masked ? MaskOpacity(mask->At(x, y)) : 255;
        }
        picture.WriteRow(y, row);
    }
}

void ShowAlphaAsMask(Picture& mask, const Picture& picture) {
    std::vector<Color> row(static_cast<std::size_t>(picture.Width()));
    for (int y = 0; y < picture.Height(); ++y) {
        picture.ReadRow(y, row);
        for (Color& color : row)
            color = Grey(static_cast<std::uint8_t>(255 - color.alpha));
        mask.WriteRow(y, row);
    }
}

}  // namespace workbench
