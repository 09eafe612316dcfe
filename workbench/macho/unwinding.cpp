// The unwinder's own registration, made for code that is compiled at run time.
#include "workbench/macho/unwinding.h"

#include <cstring>

namespace workbench::macho {

// The names that the unwinder has for them are reserved.
void RegisterFrames(void* begin) __asm__("__register_frame");
void DeregisterFrames(void* begin) __asm__("__deregister_frame");

bool IsChainOfFrames(Bytes frames) {
    constexpr std::uint32_t lengthOf64Bits = 0xFFFFFFFF;
    std::uint32_t length = 0;
    for (std::size_t offset = 0; frames.size() - offset >= sizeof length;) {
        std::memcpy(&length, frames.data() + offset, sizeof length);
        offset += sizeof length;
        if (length == 0) return true;
        if (length == lengthOf64Bits || length > frames.size() - offset) return false;
        offset += length;
    }
    return false;
}

UnwindRegistration::UnwindRegistration(std::uint8_t* frames) : frames_(frames) {
    RegisterFrames(frames_);
}

UnwindRegistration::~UnwindRegistration() {
    DeregisterFrames(frames_);
}

}  // namespace workbench::macho
