// Masks and alpha channels turned into each other.
// Called by the host for its pictures' mask methods.
#pragma once

#include "workbench/pictures/picture.h"

namespace workbench {

/// Sets the alpha of every pixel of `picture` from `mask`: white transparent, black opaque, and
/// opaque beyond the mask and where there is none. Colours stay, as far as the layout keeps them.
void TakeAlphaFromMask(Picture& picture, const Picture* mask);

/// Fills `mask`, of the same size, with greys that show the alpha of `picture`.
void ShowAlphaAsMask(Picture& mask, const Picture& picture);

}  // namespace workbench
