// Defines the callable objects of all host services from the one table of services.
#include "bridge/host_services.h"

namespace zvk {

namespace {

REALfunction FindNothing(const char* /*name*/) {
    return nullptr;
}

}  // namespace

constinit REALresolver gResolver = FindNothing;

#define HOST_SERVICE(name, wrapper, result, parameters) \
    constinit HostService<result parameters> wrapper{name};
#include "hostapi/host_services.inc"
#undef HOST_SERVICE

}  // namespace zvk
