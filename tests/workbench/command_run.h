// Runs command lines inside the test, with streams that can be read afterwards.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/workbench/own_plugin.h"

namespace workbench {

struct CommandResult {
    int status = -1;
    std::string output;
    std::string errors;

    /// Whether the errors are one line, ended.
    bool HasOneErrorLine() const;
};

/// Runs with the built plugin, or with the test's own.
CommandResult RunLine(const std::vector<std::string>& arguments,
                      std::optional<OwnPlugin> plugin = std::nullopt, bool errorsAreSeen = false);

}  // namespace workbench
