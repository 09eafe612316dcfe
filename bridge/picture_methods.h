// The functions behind the registered methods. The registration takes their addresses and the
// subsystems define them; both include this, so that a wrong signature cannot compile.
//
// The host calls each with the picture that the method was called on first and the declared
// arguments after it. A returned picture carries one reference, which the caller takes over.
#pragma once

#include <cstdint>

#include "hostapi/host_types.h"

namespace zvk {

// DrawPictureFZVK: true if `pic` was drawn onto `self`.
REALboolean DrawPictureF(REALpicture self, REALpicture pic, double x, double y, double alpha,
                         REALinteger yieldInterval);

// ScaleZVK
REALpicture VandrelZVK(REALpicture picture, REALinteger width, REALinteger height,
                       REALboolean antiAlias, REALinteger yieldTicks);

// ScaleImageAndMaskZVK
REALpicture VandrelImageAndMaskZVK(REALpicture picture, REALinteger width, REALinteger height,
                                   REALboolean antiAlias, REALinteger yieldTicks);

// ScalingZVK
REALpicture PictureScalingZVK(REALpicture picture, REALinteger mode, REALinteger width,
                              REALinteger height, REALinteger yieldInterval);

// BlurZVK
REALpicture BlurZVK(REALpicture self, double radius, REALinteger yieldInterval);

}  // namespace zvk
