// What the workbench offers to Mach-O libraries: the functions and objects that the plugin may
// import, each with the library of the other system that has it there. Everything is this system's
// own under the same name, since the binary interface is the same, but for a few stand-ins.
#pragma once

#include <span>
#include <string_view>

namespace workbench::macho {

struct Import {
    std::string_view symbol;   // with the format's leading underscore
    std::string_view library;  // the install name
    /// The stand-in; null where this process has the symbol itself, or may lack it.
    void* address = nullptr;
};

/// Everything that is offered.
std::span<const Import> Imports();

/// The address of a symbol of a library; of any library if its name is empty. Null where it is not
/// offered or this process does not have it.
void* ResolveImport(std::string_view symbol, std::string_view library);

}  // namespace workbench::macho
