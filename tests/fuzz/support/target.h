// What a fuzz program is made of: libFuzzer, or the replaying main function where the build has no
// libFuzzer, calls these two. Their names are libFuzzer's.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Called once, before any input.
int LLVMFuzzerInitialize(int* argumentCount, char*** arguments);

/// Runs one input. Whatever is wrong ends the process with a message; the result is always 0.
int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count);
}
