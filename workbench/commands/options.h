// The command line as data. Parsed once, at the start; nothing is opened or loaded here.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "workbench/host/settings.h"

namespace workbench {

enum class Command { Run, Batch, Bench, Demo, Methods, Help, Version };

struct Options {
    Command command = Command::Run;

    // The host
    Runtime runtime = Runtime::Console;
    int layout = 1;
    std::optional<double> hostVersion;  // none: what a host has by default
    std::filesystem::path plugin;       // empty: the built one

    // The work
    std::vector<std::filesystem::path> inputs;  // one, or a batch
    std::vector<std::string> calls;
    std::filesystem::path output;
    std::filesystem::path outputFolder;  // of a batch or of the demonstration
    std::filesystem::path mask;          // empty: none
    bool trace = false;

    std::string helpText;  // for Command::Help
};

/// Throws UsageError, with one line that says what is wrong.
Options ParseOptions(std::span<const std::string> arguments);

}  // namespace workbench
