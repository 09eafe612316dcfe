// Drawing one host picture into another through the host. The picture editor makes its 32-bit
// copies with it and the scale methods carry pictures and masks over.
#pragma once

#include "hostapi/host_types.h"

namespace zvk {

// Draws the rectangle 0, 0, sw, sh of `source` into the rectangle 0, 0, w, h of `destination`,
// both in pixels, with the host's own drawing method; where that is missing and no scaling is
// asked for, copies the rows of two console images of the same size. Silent: whatever is missing
// leaves the destination unchanged. Either picture may be null.
void GraphicsDrawPicture(REALpicture destination, REALpicture source, REALinteger w, REALinteger h,
                         REALinteger sw, REALinteger sh);

}  // namespace zvk
