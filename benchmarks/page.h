// The written report: a page of documentation with its figure.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/outcome.h"

namespace bench {

/// What stands in the page beside the outcomes.
struct PageText {
    std::string processor;
    std::vector<std::string> libraries;  // names with versions
    std::vector<std::string> remarks;    // sentences about peers and levels
    bool freshResults = false;
};

/// Writes `folder`/benchmarks.md and `folder`/images/benchmarks.svg. What a person wrote into the
/// page from the line "## Notes" on stays. Throws std::runtime_error if a file cannot be written.
void WritePage(const std::filesystem::path& folder, const std::vector<Outcome>& outcomes,
               const std::vector<std::string>& levels, const PageText& text);

}  // namespace bench
