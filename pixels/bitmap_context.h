// What the platform says about a desktop picture's bitmap context.
#pragma once

#include <cstdint>
#include <optional>

#include "hostapi/host_records.h"

namespace zvk {

struct BitmapContext {
    std::uint8_t* data;
    std::uint64_t bitsPerPixel;
    std::uint64_t width;
    std::uint64_t height;
    std::uint64_t bytesPerRow;
    std::uint32_t alphaInfo;

    // Whether the memory is 32-bit pixels that can be addressed row by row within what is
    // described. Contexts of other depths exist; one without memory, with rows shorter than its
    // width or with a side beyond 31 bits is broken and must not be touched.
    bool IsUsable() const;
};

// Queries the context that a description carries; nothing if the description carries none or the
// process has no such platform functions.
std::optional<BitmapContext> QueryBitmapContext(const REALpictureDescription& description);

}  // namespace zvk
