// The operating system's functions that the plugin calls, weak: bound where the process has them,
// null where it has not. Test an address before the call.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

// Queries of a CoreGraphics bitmap context. Sizes are in pixels, bytes and bits; the alpha info
// is the context's bitmap information masked to its low five bits.
[[gnu::weak]] void* CGBitmapContextGetData(void* context);
[[gnu::weak]] std::size_t CGBitmapContextGetWidth(void* context);
[[gnu::weak]] std::size_t CGBitmapContextGetHeight(void* context);
[[gnu::weak]] std::size_t CGBitmapContextGetBytesPerRow(void* context);
[[gnu::weak]] std::size_t CGBitmapContextGetBitsPerPixel(void* context);
[[gnu::weak]] std::uint32_t CGBitmapContextGetAlphaInfo(void* context);

// Ticks of 1/60 second since the system started; wraps.
[[gnu::weak]] std::uint32_t TickCount();

// The host clock in its own units, and their conversion to nanoseconds.
[[gnu::weak]] std::uint64_t AudioGetCurrentHostTime();
[[gnu::weak]] std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime);

}  // extern "C"
