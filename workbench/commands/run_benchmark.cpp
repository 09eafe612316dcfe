// Times one call: warm-up, repetitions, median and spread. Only the call itself is inside the
// measured time; pictures are loaded before it and released after it.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <ostream>

#include "workbench/commands/call_run.h"
#include "workbench/commands/commands.h"
#include "workbench/commands/interruption.h"
#include "workbench/files/picture_files.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double warmUpSeconds = 0.2;
constexpr double measuredSeconds = 2.0;
constexpr std::size_t fewestRuns = 5;
constexpr std::size_t mostRuns = 1000;

struct Size {
    int width = 0;
    int height = 0;
};

double Megapixels(Size size) {
    return static_cast<double>(size.width) * size.height / 1e6;
}

std::string SizeText(Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

double Seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

// The value below which the given part of the sorted times lies.
double Quantile(const std::vector<double>& sorted, double part) {
    return sorted[static_cast<std::size_t>(
        std::lround(part * static_cast<double>(sorted.size() - 1)))];
}

double TimeOnce(Host& host, const LoadedCall& call, const Picture& receiver) {
    Interruption::Check();
    const Clock::time_point start = Clock::now();
    const HostValue value = call.Invoke(receiver.Handle());
    const double seconds = Seconds(Clock::now() - start);
    if (const auto* const picture = std::get_if<REALpicture>(&value)) host.Adopt(*picture);
    if (const auto* const string = std::get_if<REALstring>(&value)) host.Adopt(*string);
    return seconds;
}

std::vector<double> Measure(Host& host, const LoadedCall& call, const Picture& receiver) {
    const Clock::time_point warmUp = Clock::now();
    do {
        TimeOnce(host, call, receiver);
    } while (Seconds(Clock::now() - warmUp) < warmUpSeconds);
    std::vector<double> times;
    const Clock::time_point start = Clock::now();
    while (times.size() < fewestRuns ||
           (times.size() < mostRuns && Seconds(Clock::now() - start) < measuredSeconds))
        times.push_back(TimeOnce(host, call, receiver));
    std::sort(times.begin(), times.end());
    return times;
}

}  // namespace

ExitStatus RunBenchmark(Session& session, const Options& options, const Environment& environment) {
    Host& host = session.RunningHost();
    const CheckedCall checked = CheckCall(session, options.calls.front());
    const Held<Picture> mask =
        options.mask.empty() ? Held<Picture>() : LoadMask(host, options.mask);
    const LoadedCall call(host, checked, mask ? &*mask : nullptr);
    const Held<Picture> input = LoadPicture(host, options.inputs.front());
    if (mask && !checked.DrawsAPicture()) host.SetMask(*input, &*mask);
    host.OnYield(Interruption::Check);

    // The first call tells whether there is anything to time, and the size of what comes out.
    CallResult result = RunCall(session, call, *input);
    const Size source{input->Width(), input->Height()};
    const Size target =
        result.picture ? Size{result.picture->Width(), result.picture->Height()} : source;
    result.picture.Reset();
    session.StopWatching();
    const std::vector<double> times = Measure(host, call, *input);

    constexpr double milliseconds = 1e3;
    const double median = Quantile(times, 0.5);
    environment.output << OneLine(checked.text) << " on " << SizeText(source) << " pixels, "
                       << times.size() << " runs\n"
                       << "median  " << Fixed(median * milliseconds, 3) << " ms\n"
                       << "spread  " << Fixed(Quantile(times, 0.25) * milliseconds, 3) << " to "
                       << Fixed(Quantile(times, 0.75) * milliseconds, 3)
                       << " ms for the middle half, " << Fixed(times.front() * milliseconds, 3)
                       << " to " << Fixed(times.back() * milliseconds, 3) << " ms in all\n"
                       << "speed   " << Fixed(Megapixels(source) / median, 1)
                       << " megapixels per second in, " << Fixed(Megapixels(target) / median, 1)
                       << " out (" << SizeText(target) << ")\n";
    return ExitStatus::Ok;
}

}  // namespace workbench
