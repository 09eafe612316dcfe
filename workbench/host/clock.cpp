// The host's clock, real or set.
// Called by the stand-ins for the platform's clocks; never waits.
#include "workbench/host/clock.h"

#include <chrono>
#include <utility>

namespace workbench {

namespace {

constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t ticksPerSecond = 60;

// Host time units and nanoseconds in lowest terms: 3 units are 125 nanoseconds.
constexpr std::uint64_t unitsInRatio = 3;
constexpr std::uint64_t nanosecondsInRatio = 125;
static_assert(Clock::hostTimeFrequency * nanosecondsInRatio == nanosecondsPerSecond * unitsInRatio);

// value * multiplier / divisor without overflow before the division.
constexpr std::uint64_t Scale(std::uint64_t value, std::uint64_t multiplier,
                              std::uint64_t divisor) {
    return value / divisor * multiplier + value % divisor * multiplier / divisor;
}

std::uint64_t RealNanoseconds() {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count());
}

}  // namespace

void Clock::Set(std::uint64_t nanoseconds) {
    real_ = false;
    now_ = nanoseconds;
}

void Clock::Advance(std::uint64_t nanoseconds) {
    Set((real_ ? RealNanoseconds() : now_) + nanoseconds);
}

void Clock::AdvanceAtEachReading(std::uint64_t nanoseconds) {
    step_ = nanoseconds;
}

void Clock::UseRealTime() {
    real_ = true;
}

std::uint64_t Clock::Nanoseconds() {
    if (real_) return RealNanoseconds();
    return std::exchange(now_, now_ + step_);
}

std::uint32_t Clock::Ticks() {
    return static_cast<std::uint32_t>(Scale(Nanoseconds(), ticksPerSecond, nanosecondsPerSecond));
}

std::uint64_t Clock::HostTime() {
    return Scale(Nanoseconds(), unitsInRatio, nanosecondsInRatio);
}

std::uint64_t Clock::ToNanoseconds(std::uint64_t hostTime) {
    return Scale(hostTime, nanosecondsInRatio, unitsInRatio);
}

}  // namespace workbench
