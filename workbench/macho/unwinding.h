// Makes exceptions find their way through the frames of a Mach-O image.
#pragma once

#include <cstdint>

#include "workbench/macho/byte_reader.h"

namespace workbench::macho {

/// Whether the bytes are a chain of call frame records (DWARF 4, section 6.4.1, with lengths of 32
/// bits) with a zero behind the last, which is how this system's unwinder finds their end.
bool IsChainOfFrames(Bytes frames);

/// Registers the records with this system's unwinder while it lives. They must be a chain of frames
/// and stay where they are.
class UnwindRegistration {
  public:
    explicit UnwindRegistration(std::uint8_t* frames);
    UnwindRegistration(const UnwindRegistration&) = delete;
    UnwindRegistration& operator=(const UnwindRegistration&) = delete;
    ~UnwindRegistration();

  private:
    std::uint8_t* frames_;
};

}  // namespace workbench::macho
