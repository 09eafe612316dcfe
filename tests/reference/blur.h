// The box blur: down the columns, then along the rows, every division truncating.
#pragma once

#include <cstdint>

#include "tests/reference/image.h"

namespace reference {

/// The radius that is used for the argument of the method: truncated to 32 bits.
std::int32_t BlurRadius(double radius);

/// The source blurred with the radius `r`, at least 1, into a picture in the layout `format`.
Image Blur(const Image& source, std::int32_t r, int format);

}  // namespace reference
