// The host's services as the plugin calls them: one callable object per service, found by name on
// first use. Everything that calls the host goes through here; nothing here knows what for.
#pragma once

#include <cstdint>

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"

namespace zvk {

// The function through which every host service is found. Until the host hands over its own, it
// finds nothing.
extern REALresolver gResolver;

template <typename Signature>
class HostService;

// A host service with the given signature, resolved lazily.
// A look-up that fails is not remembered: the next use asks the resolver again, since a host may
// offer a service later. The cache is not guarded: all calls come on the host's thread.
template <typename Result, typename... Parameters>
class HostService<Result(Parameters...)> {
  public:
    using Function = Result (*)(Parameters...);

    constexpr explicit HostService(const char* name) : name_(name) {}

    // The service's function, or null if the host lacks it.
    Function Find() {
        if (function_ == nullptr) function_ = reinterpret_cast<Function>(gResolver(name_));
        return function_;
    }

    // Calls the service and passes its result through; without the service the result is 0, null
    // or false and arguments that point to results are left untouched.
    Result operator()(Parameters... parameters) {
        const Function function = Find();
        if (function == nullptr) return Result();
        return function(parameters...);
    }

  private:
    const char* name_;
    Function function_ = nullptr;
};

#define HOST_SERVICE(name, wrapper, result, parameters) \
    extern HostService<result parameters> wrapper;
#include "hostapi/host_services.inc"
#undef HOST_SERVICE

}  // namespace zvk
