// A 32-bit copy of a picture that the host does not lock as a bitmap context, for reading.
#pragma once

#include "bridge/host_reference.h"

namespace zvk {

// Draws `source` into a new picture of its size: an alpha-channel one if the source has an alpha
// channel, else a plain one with the source drawn without its mask, which is back in place
// afterwards. Nothing if the host cannot make such a picture.
PictureReference CopyPicture(REALpicture source);

}  // namespace zvk
