// Compares what a plugin gives with a list.
#pragma once

#include <filesystem>
#include <iosfwd>

namespace golden {

/// Runs all cases and prints each difference and the counts. A case that only the program or only
/// the list has, and a line that describes another call than the program's, are differences too.
/// Returns how many there are. Throws std::runtime_error where list or plugin cannot be loaded.
int Check(const std::filesystem::path& list, const std::filesystem::path& plugin,
          std::ostream& output);

}  // namespace golden
