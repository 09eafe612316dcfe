// Calls a function of which only the declaration is known. Used by the command line for every
// method a plugin registered, whichever way it registered it: the machine's calling convention is
// the same for both, the receiver first.
#pragma once

#include <span>
#include <variant>

#include "hostapi/host_types.h"
#include "workbench/calling/declaration.h"

namespace workbench {

/// What passes between host and plugin; std::monostate where a method returns nothing.
using HostValue = std::variant<std::monostate, REALinteger, double, bool, REALpicture, REALstring>;

/// Calls the function with the receiver and one argument per parameter, each holding the
/// parameter's type (std::invalid_argument otherwise). References are neither added nor released: a
/// picture or string returned brings the caller one. An exception thrown by a host service on the
/// way passes through the call to the caller.
HostValue Invoke(REALfunction function, const Declaration& declaration, REALpicture receiver,
                 std::span<const HostValue> arguments);

}  // namespace workbench
