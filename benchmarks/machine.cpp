// Asks and tells the system, before anything is measured.
#include "benchmarks/machine.h"

#include <malloc.h>
#include <sched.h>

#include <cerrno>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace bench {

void PinToOneCore() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot ask for processor cores");
    // The last one: the system's own work tends to run on the first.
    int core = CPU_SETSIZE - 1;
    while (core > 0 && !CPU_ISSET(core, &allowed))
        --core;
    cpu_set_t chosen;
    CPU_ZERO(&chosen);
    CPU_SET(core, &chosen);
    if (sched_setaffinity(0, sizeof chosen, &chosen) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot keep to one core");
}

void KeepFreedMemory() {
    constexpr int neverTrim = std::numeric_limits<int>::max();
    if (mallopt(M_MMAP_MAX, 0) != 1 || mallopt(M_TRIM_THRESHOLD, neverTrim) != 1)
        throw std::runtime_error("the allocator takes no settings");
}

std::string ProcessorModel() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    }
    return "unknown processor";
}

}  // namespace bench
