// The host's clock: real, or set and moved by a test.
// The stand-ins for the platform's clock functions read it; nothing else does.
#pragma once

#include <cstdint>

namespace workbench {

/// Nanoseconds since the system started, and the platform's units made from them.
class Clock {
  public:
    /// Host time units per second; not a whole number of nanoseconds each, so that the
    /// conversion is real.
    static constexpr std::uint64_t hostTimeFrequency = 24'000'000;

    /// From now on the clock stands at `nanoseconds` and moves only when told.
    void Set(std::uint64_t nanoseconds);

    /// Moves a clock that was set; sets a real one where it is and moves it.
    void Advance(std::uint64_t nanoseconds);

    /// Lets a clock that was set move by itself: by `nanoseconds` after each reading.
    void AdvanceAtEachReading(std::uint64_t nanoseconds);

    /// From now on the clock is the system's monotonic one, as it is at first.
    void UseRealTime();

    /// The time now. Counts as one reading.
    std::uint64_t Nanoseconds();

    /// The time in ticks of 1/60 second, wrapping at 32 bits. Counts as one reading.
    std::uint32_t Ticks();

    /// The time in host time units. Counts as one reading.
    std::uint64_t HostTime();

    /// Host time units to nanoseconds, rounded down.
    static std::uint64_t ToNanoseconds(std::uint64_t hostTime);

  private:
    bool real_ = true;
    std::uint64_t now_ = 0;
    std::uint64_t step_ = 0;
};

}  // namespace workbench
