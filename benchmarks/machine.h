// The conditions of a measurement: one processor core, an allocator that keeps its memory, and what
// may be said about the machine.
#pragma once

#include <string>

namespace bench {

/// Keeps this process on one core. Throws std::system_error if that is not possible.
void PinToOneCore();

/// Makes the C allocator keep what was freed and give it out again, so that nobody's time is spent
/// on the system's handing out of pages, and the first job finds the same allocator as the last.
void KeepFreedMemory();

/// The processor's model, as it names itself.
std::string ProcessorModel();

}  // namespace bench
