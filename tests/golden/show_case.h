// Shows a case: what the reference expects beside what the plugin gives.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

#include "tests/golden/golden_case.h"
#include "tests/golden/pixels.h"

namespace golden {

/// Prints two pictures of hexadecimal words, at most 16 x 16 pixels around the first difference or
/// of the top left corner, and whether the pictures are equal, which it returns. Words are RRGGBB,
/// or RRGGBBAA where alpha differs.
bool ShowPictures(const std::string& name, const Pixels& expected, const Pixels& found,
                  std::ostream& output);

/// Prints the case, its pictures and whether it gives what the reference expects, which it returns.
bool ShowCase(const Case& item, const std::filesystem::path& plugin, std::ostream& output);

}  // namespace golden
