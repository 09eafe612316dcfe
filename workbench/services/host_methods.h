// Methods of host objects that the plugin finds by their declarations and calls directly.
// Used by the service that looks them up.
#pragma once

#include <string_view>

#include "hostapi/host_types.h"
#include "workbench/host/host.h"

namespace workbench {

/// The function of the method of exactly that declaration on objects of this one's class, or null.
REALfunction FindHostMethod(const Host& host, const Object& object, std::string_view declaration);

}  // namespace workbench
