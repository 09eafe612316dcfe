// Makes exceptions find their way through the frames of a Mach-O image.
#pragma once

#include <cstdint>

#include "workbench/macho/file.h"
#include "workbench/macho/image.h"

namespace workbench::macho {

/// The image's call frame records (DWARF 4, section 6.4.1, as compilers write them for this
/// format); null where it has none. Throws MachOError unless they are sound: a chain with a zero
/// behind the last, which is how this system's unwinder finds their end, of records that it can
/// read and that describe code of the image only. Once registered it reads them at every exception
/// of the process.
std::uint8_t* FramesOf(const File& file, const Image& image);

/// Registers sound records with this system's unwinder while it lives. They must stay where they
/// are.
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
