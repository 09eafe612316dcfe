// The directory of services: a plain function for each, made from the one list.
// The plugin calls these functions; each finds the current host, asks the faults, and hands the
// call to the service desk.
#include "workbench/services/directory.h"

#include <array>
#include <stdexcept>
#include <tuple>

#include "workbench/host/host.h"
#include "workbench/services/service_desk.h"
#include "workbench/services/traced_call.h"

namespace workbench {

namespace {

Host& RequireHost(Service service) {
    Host* host = Host::Current();
    if (host == nullptr) {
        throw std::logic_error(std::string(Info(service).name) + " was called without a host");
    }
    return *host;
}

template <Service service, auto member>
struct Entry;

template <Service service, typename Result, typename... Parameters,
          Result (ServiceDesk::*member)(Parameters...)>
struct Entry<service, member> {
    static Result Call(Parameters... arguments) {
        Host& host = RequireHost(service);
        return TracedCall(host, service, Info(service).name,
                          std::tuple<Parameters...>(arguments...),
                          [&](TraceEntry& entry) -> Result {
                              entry.faulted = host.Failing().EnterCall(service);
                              if (entry.faulted) return Result();
                              return (ServiceDesk(host).*member)(arguments...);
                          });
    }
};

REALfunction FunctionOf(Service service) {
    static const std::array<REALfunction, serviceCount> functions{
#define HOST_SERVICE(name, wrapper, result, parameters) \
    reinterpret_cast<REALfunction>(&Entry<Service::wrapper, &ServiceDesk::wrapper>::Call),
#include "hostapi/host_services.inc"
#undef HOST_SERVICE
    };
    return functions[static_cast<std::size_t>(service)];
}

void NoteMissing(Host& host, std::optional<Service> service, const char* name) {
    if (!host.Tracing().IsWanted()) return;
    TraceEntry entry;
    entry.service = service;
    entry.name = name;
    entry.missing = true;
    host.Tracing().Add(std::move(entry));
}

}  // namespace

REALfunction Resolve(const char* name) {
    Host* host = Host::Current();
    if (host == nullptr || name == nullptr) return nullptr;
    const ServingScope serving(true);
    const auto service = FindService(name);
    if (!service || host->Failing().IsMissing(*service)) {
        NoteMissing(*host, service, name);
        return nullptr;
    }
    return FunctionOf(*service);
}

}  // namespace workbench
