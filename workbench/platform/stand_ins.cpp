// The platform's functions that a plugin binds by name: queries of bitmap contexts, and clocks.
// Exported from every program that links the workbench; a context is answered for only while its
// picture's description is locked, as the interface promises no more.
#include <string>

#include "hostapi/platform.h"
#include "workbench/host/host.h"
#include "workbench/pictures/bitmap.h"

namespace {

using workbench::Bitmap;
using workbench::BitmapContext;
using workbench::Clock;
using workbench::Host;

/// What `field` of a context says; 0 or null for a handle that is no locked context, which is an
/// error in the ledger.
template <typename T>
T Query(const char* function, void* context, T BitmapContext::*field) {
    if (context == nullptr) return T{};
    Host* host = Host::Current();
    Bitmap* bitmap = Bitmap::Find(context);
    if (bitmap != nullptr && bitmap->Owner().Locks() > 0) return bitmap->Context()->*field;
    if (host != nullptr) {
        const std::string what =
            bitmap == nullptr ? "no bitmap context"
                              : "the context of " + host->Books().Name(bitmap->Owner().Address()) +
                                    ", whose description is not locked";
        host->Books().AddError(std::string(function) + " was given " + what);
    }
    return T{};
}

Clock& CurrentClock() {
    static Clock withoutHost;
    Host* host = Host::Current();
    return host == nullptr ? withoutHost : host->Time();
}

}  // namespace

extern "C" {

[[gnu::visibility("default")]] void* CGBitmapContextGetData(void* context) {
    return Query(__func__, context, &BitmapContext::data);
}

[[gnu::visibility("default")]] std::size_t CGBitmapContextGetWidth(void* context) {
    return Query(__func__, context, &BitmapContext::width);
}

[[gnu::visibility("default")]] std::size_t CGBitmapContextGetHeight(void* context) {
    return Query(__func__, context, &BitmapContext::height);
}

[[gnu::visibility("default")]] std::size_t CGBitmapContextGetBytesPerRow(void* context) {
    return Query(__func__, context, &BitmapContext::bytesPerRow);
}

[[gnu::visibility("default")]] std::size_t CGBitmapContextGetBitsPerPixel(void* context) {
    return Query(__func__, context, &BitmapContext::bitsPerPixel);
}

[[gnu::visibility("default")]] std::uint32_t CGBitmapContextGetAlphaInfo(void* context) {
    return Query(__func__, context, &BitmapContext::alphaInfo);
}

[[gnu::visibility("default")]] std::uint32_t TickCount() {
    return CurrentClock().Ticks();
}

[[gnu::visibility("default")]] std::uint64_t AudioGetCurrentHostTime() {
    return CurrentClock().HostTime();
}

[[gnu::visibility("default")]] std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime) {
    return Clock::ToNanoseconds(hostTime);
}

}  // extern "C"
