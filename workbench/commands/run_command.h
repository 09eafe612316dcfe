// The whole program as a function, so that tests can run it with streams of their own.
#pragma once

#include <span>
#include <string>

#include "workbench/commands/environment.h"

namespace workbench {

/// Runs the command line (without the program's name) and returns the exit status. Everything that
/// goes wrong becomes one line on the errors; nothing is thrown.
int RunCommand(std::span<const std::string> arguments, const Environment& environment);

}  // namespace workbench
