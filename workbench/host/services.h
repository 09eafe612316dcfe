// The host's services as an enumeration and a table, both made from the one list of services.
// Faults, traces and tests name services by it; nothing here calls a service.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"

namespace workbench {

/// One enumerator per service, named as its wrapper: `Service::REALNewPicture`.
enum class Service : std::size_t {
#define HOST_SERVICE(name, wrapper, result, parameters) wrapper,
#include "hostapi/host_services.inc"
#undef HOST_SERVICE
};

/// What is known of a service before any call.
struct ServiceInfo {
    Service service;
    std::string_view name;     // what the resolver is asked for
    std::string_view wrapper;  // its name in code
    bool answers;              // it has a result, which can be made null, false or 0
};

/// All services, in the order of the list; `allServices[i].service` is enumerator i.
inline constexpr std::array allServices{
#define HOST_SERVICE(name, wrapper, result, parameters) \
    ServiceInfo{Service::wrapper, name, #wrapper, !std::is_void_v<result>},
#include "hostapi/host_services.inc"
#undef HOST_SERVICE
};

inline constexpr std::size_t serviceCount = allServices.size();

/// The table's row for `service`.
constexpr const ServiceInfo& Info(Service service) {
    return allServices[static_cast<std::size_t>(service)];
}

/// The service that the resolver knows by `name`, or nothing.
constexpr std::optional<Service> FindService(std::string_view name) {
    for (const ServiceInfo& info : allServices) {
        if (info.name == name) return info.service;
    }
    return std::nullopt;
}

}  // namespace workbench
