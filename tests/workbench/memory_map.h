// What the system says of this process's memory.
#pragma once

#include <cstdint>
#include <fstream>
#include <limits>
#include <string>

namespace workbench {

/// The protection of the mapping that holds an address, such as "r-xp"; empty where there is none.
inline std::string ProtectionAt(const void* address) {
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char dash = 0;
    std::string protection;
    while (maps >> std::hex >> begin >> dash >> end >> protection) {
        if (number >= begin && number < end) return protection;
        maps.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return {};
}

/// How much memory is in use.
inline std::uint64_t ResidentBytes() {
    constexpr std::uint64_t pageSize = 4096;
    std::uint64_t pages = 0;
    std::uint64_t residentPages = 0;
    std::ifstream("/proc/self/statm") >> pages >> residentPages;
    return residentPages * pageSize;
}

}  // namespace workbench
