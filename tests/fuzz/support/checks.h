// Checks of the fuzz targets. A failed one ends the process, so that the fuzzer keeps the input;
// the target says first what it was doing.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace fuzz {

/// From now on a failed check or a failed expectation of GoogleTest is printed together with what
/// `describe` says, and ends the process.
void StopAtFailures(std::function<std::string()> describe);

/// Fails unless `holds`.
void Require(bool holds, std::string_view what);

/// Whether ZVK_FUZZ_VERBOSE asks for a description of every input before it is run.
bool IsVerbose();

}  // namespace fuzz
