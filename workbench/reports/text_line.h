// Text for one line of a terminal. Everything shown to a user passes through here, since names of
// files and words of a plugin may hold any byte.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace workbench {

/// The text without control characters, which are shown as \n, \t or \x1b, and shortened if it is
/// longer than a person would read.
std::string OneLine(std::string_view text);

/// The parts one after the other.
std::string Joined(std::initializer_list<std::string_view> parts);

/// A number with the given count of digits behind the point.
std::string Fixed(double value, int digits);

}  // namespace workbench
