// The allow-list and the few functions that exist under another name, or not at all, on this
// system.
#include "workbench/macho/imports.h"

#include <dlfcn.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace workbench::macho {
namespace {

constexpr std::string_view systemLibrary = "/usr/lib/libSystem.B.dylib";
constexpr std::string_view cxxLibrary = "/usr/lib/libc++.1.dylib";
constexpr std::string_view coreGraphics =
    "/System/Library/Frameworks/CoreGraphics.framework/Versions/A/CoreGraphics";
constexpr std::string_view coreServices =
    "/System/Library/Frameworks/CoreServices.framework/Versions/A/CoreServices";
constexpr std::string_view coreAudio =
    "/System/Library/Frameworks/CoreAudio.framework/Versions/A/CoreAudio";

void Zero(void* memory, std::size_t size) {
    std::memset(memory, 0, size);
}

// libc++'s std::chrono::steady_clock::now(), whose result is one number of nanoseconds.
std::int64_t SteadyNanoseconds() {
    const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
    return now.count();
}

// Binds on first use what is bound already when a library has been loaded.
[[noreturn]] void BindLate() {
    std::abort();
}

template <typename Function>
void* AddressOf(Function* function) {
    return reinterpret_cast<void*>(function);
}

const std::array imports = {
    Import{"__Unwind_Resume", systemLibrary},
    Import{"___bzero", systemLibrary, AddressOf(Zero)},
    Import{"_calloc", systemLibrary},
    Import{"_free", systemLibrary},
    Import{"_frexp", systemLibrary},
    Import{"_ldexp", systemLibrary},
    Import{"_memcpy", systemLibrary},
    Import{"_memmove", systemLibrary},
    Import{"_sin", systemLibrary},
    Import{"_snprintf", systemLibrary},
    Import{"_strchr", systemLibrary},
    Import{"_strcspn", systemLibrary},
    Import{"_strlen", systemLibrary},
    Import{"dyld_stub_binder", systemLibrary, AddressOf(BindLate)},
    Import{"__ZNSt3__16chrono12steady_clock3nowEv", cxxLibrary, AddressOf(SteadyNanoseconds)},
    Import{"__ZSt9terminatev", cxxLibrary},
    Import{"__ZTISt11range_error", cxxLibrary},
    Import{"__ZTISt12out_of_range", cxxLibrary},
    Import{"__ZTISt14overflow_error", cxxLibrary},
    Import{"__ZTISt15underflow_error", cxxLibrary},
    Import{"__ZTISt8bad_cast", cxxLibrary},
    Import{"__ZTISt9bad_alloc", cxxLibrary},
    Import{"__ZTISt9exception", cxxLibrary},
    Import{"__ZTVN10__cxxabiv117__class_type_infoE", cxxLibrary},
    Import{"__ZTVN10__cxxabiv120__si_class_type_infoE", cxxLibrary},
    Import{"__ZdlPv", cxxLibrary},
    Import{"___cxa_begin_catch", cxxLibrary},
    Import{"___cxa_end_catch", cxxLibrary},
    Import{"___cxa_guard_abort", cxxLibrary},
    Import{"___cxa_guard_acquire", cxxLibrary},
    Import{"___cxa_guard_release", cxxLibrary},
    Import{"___cxa_rethrow", cxxLibrary},
    Import{"___gxx_personality_v0", cxxLibrary},
    Import{"_CGBitmapContextGetAlphaInfo", coreGraphics},
    Import{"_CGBitmapContextGetBitsPerPixel", coreGraphics},
    Import{"_CGBitmapContextGetBytesPerRow", coreGraphics},
    Import{"_CGBitmapContextGetData", coreGraphics},
    Import{"_CGBitmapContextGetHeight", coreGraphics},
    Import{"_CGBitmapContextGetWidth", coreGraphics},
    Import{"_TickCount", coreServices},
    Import{"_AudioConvertHostTimeToNanos", coreAudio},
    Import{"_AudioGetCurrentHostTime", coreAudio},
};

}  // namespace

std::span<const Import> Imports() {
    return imports;
}

void* ResolveImport(std::string_view symbol, std::string_view library) {
    for (const Import& import : imports) {
        if (import.symbol != symbol || (!library.empty() && import.library != library)) continue;
        if (import.address != nullptr) return import.address;
        const std::string ownName(symbol.substr(1));
        return dlsym(RTLD_DEFAULT, ownName.c_str());
    }
    return nullptr;
}

}  // namespace workbench::macho
