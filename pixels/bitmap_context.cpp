// The six queries of a CoreGraphics bitmap context.
#include "pixels/bitmap_context.h"

#include <limits>

#include "hostapi/platform.h"
#include "kernels/channel_order.h"

namespace zvk {

namespace {

bool HasPlatformQueries() {
    return CGBitmapContextGetData != nullptr && CGBitmapContextGetBitsPerPixel != nullptr &&
           CGBitmapContextGetWidth != nullptr && CGBitmapContextGetHeight != nullptr &&
           CGBitmapContextGetBytesPerRow != nullptr && CGBitmapContextGetAlphaInfo != nullptr;
}

}  // namespace

bool BitmapContext::IsUsable() const {
    constexpr std::uint64_t longestSide = std::numeric_limits<std::int32_t>::max();
    constexpr std::uint64_t bitsPerPixelWord = 32;
    return bitsPerPixel == bitsPerPixelWord && data != nullptr && width <= longestSide &&
           height <= longestSide && bytesPerRow / bytesPerPixelWord >= width;
}

std::optional<BitmapContext> QueryBitmapContext(const REALpictureDescription& description) {
    void* const handle = description.handle;
    if (handle == nullptr || description.kind != REALdescriptionKind::BitmapContext ||
        !HasPlatformQueries()) {
        return std::nullopt;
    }
    return BitmapContext{.data = static_cast<std::uint8_t*>(CGBitmapContextGetData(handle)),
                         .bitsPerPixel = CGBitmapContextGetBitsPerPixel(handle),
                         .width = CGBitmapContextGetWidth(handle),
                         .height = CGBitmapContextGetHeight(handle),
                         .bytesPerRow = CGBitmapContextGetBytesPerRow(handle),
                         .alphaInfo = CGBitmapContextGetAlphaInfo(handle)};
}

}  // namespace zvk
