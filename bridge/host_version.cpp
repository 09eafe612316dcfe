// The table of host versions and their interface versions.
#include "bridge/host_version.h"

#include "hostapi/host_types.h"

namespace zvk {

constinit double rbversion_rbversion = 0.0;
constinit std::int64_t CurrentREALControlVersion = 13;

std::int64_t InterfaceVersionFor(double hostVersion) {
    if (hostVersion >= REALversion::Interface13) return 13;
    if (hostVersion >= REALversion::Interface12) return 12;
    if (hostVersion >= REALversion::Interface11) return 11;
    if (hostVersion >= REALversion::Interface10) return 10;
    return 9;
}

}  // namespace zvk
