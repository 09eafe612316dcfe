// What is wrong with a Mach-O file.
#pragma once

#include <stdexcept>

namespace workbench::macho {

/// A file that cannot be loaded; what() is a clause for a person: "it ends within its header".
class MachOError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace workbench::macho
