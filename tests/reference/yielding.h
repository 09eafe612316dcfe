// When a long computation gives time back to the host.
#pragma once

#include <cstdint>

namespace reference {

/// Whether a yield point yields, for a nonzero interval: positive in ticks, negative in
/// milliseconds. `now` and `last` are in the unit that the interval's sign selects.
bool Yields(std::int64_t interval, std::int64_t now, std::int64_t last);

/// The millisecond clock for a count of nanoseconds.
std::int64_t MillisecondsOf(std::uint64_t nanoseconds);

}  // namespace reference
