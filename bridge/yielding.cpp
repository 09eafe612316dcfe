// The yield decision and its two clocks.
#include "bridge/yielding.h"

#include <chrono>
#include <cstdlib>

#include "bridge/host_services.h"
#include "hostapi/platform.h"
#include "kernels/arithmetic.h"
#include "kernels/streaming.h"

namespace zvk {

namespace {

// Ticks of 1/60 second since the system started, 32 bits wide as the platform counts them.
std::int64_t CurrentTick() {
    if (TickCount != nullptr) return TickCount();
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 60>>;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<Ticks>(now).count());
}

std::uint64_t CurrentNanoseconds() {
    if (AudioGetCurrentHostTime != nullptr && AudioConvertHostTimeToNanos != nullptr) {
        return AudioConvertHostTimeToNanos(AudioGetCurrentHostTime());
    }
    const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(now.count());
}

// 2^64 nanoseconds are far fewer milliseconds than 64 bits hold, so the conversion is in range.
std::int64_t CurrentMillisecond() {
    return static_cast<std::int64_t>(static_cast<double>(CurrentNanoseconds()) / 1000000.0);
}

// Deliberate: the magnitude of the difference counts, so a clock that went back yields as well.
std::int64_t Elapsed(std::int64_t now, std::int64_t last) {
    const std::int64_t difference = WrappingSubtract(now, last);
    return difference < 0 ? WrappingSubtract<std::int64_t>(0, difference) : difference;
}

}  // namespace

constinit YieldData yield{.interval = 0, .last = 0};

void YieldData::DoYield() {
    const bool inTicks = interval > 0;
    const auto now = [inTicks] { return inTicks ? CurrentTick() : CurrentMillisecond(); };
    const std::int64_t span = inTicks ? interval : WrappingSubtract<std::int64_t>(0, interval);
    if (Elapsed(now(), last) < span) return;
    kernels::EndStreams();
    REALYieldToRB();
    last = now();
}

}  // namespace zvk
