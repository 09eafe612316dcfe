// Every exception that can end a command, as a line for the user and an exit status.
#pragma once

#include <exception>
#include <string>

#include "workbench/commands/failures.h"

namespace workbench {

struct Failure {
    ExitStatus status = ExitStatus::BadInput;
    std::string text;
};

/// What to say and how to end for the exception.
Failure Describe(const std::exception_ptr& exception);

}  // namespace workbench
