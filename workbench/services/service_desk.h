// The host's services as member functions, declared from the one list: one that is not written
// does not link.
// Called through the directory, which counts, traces and fails calls; implemented by subject in
// the other files of this folder. A service never trusts a handle and never crashes for one.
#pragma once

#include <cstdint>

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"

namespace workbench {

class Host;

class ServiceDesk {
  public:
    explicit ServiceDesk(Host& host) : host_(host) {}

#define HOST_SERVICE(name, wrapper, result, parameters) result wrapper parameters;
#include "hostapi/host_services.inc"
#undef HOST_SERVICE

  private:
    Host& host_;
};

}  // namespace workbench
