// What the command line asks for.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Options {
    std::string filter;               // part of a job's name, in any case; empty for all
    bool quick = false;               // fewer rounds, noise only
    std::vector<std::string> levels;  // empty for all that exist and that the machine can run
    bool details = false;             // every contender of every job
    bool freshResults = false;        // results in new memory instead of recycled
    bool write = false;               // docs/benchmarks.md and its figure
};

/// The options, or the status to exit with, where the help or a complaint has been printed.
struct ParsedOptions {
    Options options;
    std::optional<int> exitStatus;
};

ParsedOptions ParseOptions(int count, char** arguments);

}  // namespace bench
