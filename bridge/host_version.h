// The host's version and the plugin-interface version that goes with it, learnt once at start-up.
#pragma once

#include <cstdint>

namespace zvk {

// The host's version as a number such as 2013.04; 0.0 if the host does not answer.
extern double rbversion_rbversion;

// The plugin-interface version (9 to 13) that the plugin speaks with this host.
extern std::int64_t CurrentREALControlVersion;

// The newest interface version that a host of the given version understands.
std::int64_t InterfaceVersionFor(double hostVersion);

}  // namespace zvk
