// The program zvk_golden, apart from its streams: so that tests can run it.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace golden {

struct Environment {
    std::ostream& output;
    std::ostream& errors;
    std::filesystem::path defaultPlugin;
};

/// Runs a command line without the program's name. Returns the status to exit with: 0; 1 for any
/// difference; 2 for a usage or file error; contract::skippedStatus where the machine does not
/// offer the level that --level names.
int RunProgram(const std::vector<std::string>& arguments, const Environment& environment);

}  // namespace golden
