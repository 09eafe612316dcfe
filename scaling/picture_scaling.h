// The two scaling routines of ScaleZVK and ScaleImageAndMaskZVK. Both yield by the process-wide
// record, never raise, and return a new picture with one reference owned by the caller, or nil.
#pragma once

#include <cstdint>

#include "hostapi/host_types.h"

namespace zvk {

// Fast scaling: every destination pixel is the average of neighbouring pixels of one source row.
// The result is opaque. Yields once per row and once at the end, failure included.
REALpicture ScalePictureFast(REALpicture picture, std::int64_t width, std::int64_t height);

// Smooth enlargement: separable cubic interpolation of all four bytes alike. Meant for sizes
// greater than the picture's. Yields after each weight table and once per row of each byte.
REALpicture ScalePictureNiceBigger(REALpicture picture, std::int64_t width, std::int64_t height);

}  // namespace zvk
