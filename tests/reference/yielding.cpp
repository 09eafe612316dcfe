// The yield decision. Differences and the negated interval wrap; the clock may therefore stand
// anywhere, also before the last yield.
#include "tests/reference/yielding.h"

#include <cstdint>

namespace reference {
namespace {

std::int64_t Negated(std::int64_t value) {
    return static_cast<std::int64_t>(0U - static_cast<std::uint64_t>(value));
}

std::int64_t Distance(std::int64_t now, std::int64_t last) {
    const auto difference = static_cast<std::int64_t>(static_cast<std::uint64_t>(now) -
                                                      static_cast<std::uint64_t>(last));
    return difference < 0 ? Negated(difference) : difference;
}

}  // namespace

bool Yields(std::int64_t interval, std::int64_t now, std::int64_t last) {
    const std::int64_t length = interval > 0 ? interval : Negated(interval);
    return Distance(now, last) >= length;
}

std::int64_t MillisecondsOf(std::uint64_t nanoseconds) {
    return static_cast<std::int64_t>(static_cast<double>(nanoseconds) / 1000000.0);
}

}  // namespace reference
