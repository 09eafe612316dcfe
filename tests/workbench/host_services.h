// The services of the current host as typed functions, found through the resolver as a plugin
// finds them: `services::REALNewPicture()(64, 48, 32)`.
// Used by the tests of the host; a missing service is a null function here.
#pragma once

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"
#include "workbench/host/host.h"

namespace services {

#define HOST_SERVICE(name, wrapper, result, parameters)                                   \
    inline auto wrapper() {                                                               \
        return reinterpret_cast<result(*) parameters>(workbench::Host::Resolver()(name)); \
    }
#include "hostapi/host_services.inc"
#undef HOST_SERVICE

}  // namespace services
