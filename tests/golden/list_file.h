// The list of golden results as a file: a head of comments, then a line for each case.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <map>
#include <string>

#include "tests/golden/golden_case.h"

namespace golden {

/// What a line of the list says of the case of its number.
struct ListEntry {
    std::string description;
    std::string checksum;

    friend bool operator==(const ListEntry&, const ListEntry&) = default;
};

/// The comment lines at the top of every list.
void WriteHead(std::ostream& output);

/// "17: ScalingZVK(...), ... = 5f0d1e22".
std::string LineOf(const Case& item, const std::string& checksum);

/// The entries by number. Throws std::runtime_error, with the file's name and the line's number,
/// for a file that cannot be read, a line that is none, a number that occurs twice, and no case at
/// all.
std::map<int, ListEntry> ReadList(const std::filesystem::path& file);

}  // namespace golden
