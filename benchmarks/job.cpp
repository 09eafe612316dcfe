// What can be said of a job by looking at it: its name and the memory it must touch.
// Used for the reports and for the copy that each job is compared with; measures nothing.
#include "benchmarks/job.h"

#include <array>
#include <cstddef>

namespace bench {

namespace {

std::string NameOf(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string FromTo(const Job& job) {
    if (KeepsSize(job)) return NameOf(job.source) + " to itself";
    return NameOf(job.source) + " to " + NameOf(job.target);
}

}  // namespace

std::int64_t BytesRead(const Job& job) {
    switch (job.task) {
        case Task::FastScaling:
            // One row of the source feeds each row of the result; the others are not looked at.
            return Bytes({job.source.width, job.target.height});
        case Task::Drawing:
            // Every pixel of the picture drawn upon is rewritten; a mask is a picture too.
            return Bytes(job.target) + Bytes(job.source) * (job.masked ? 2 : 1);
        default:
            return Bytes(job.source);
    }
}

std::int64_t BytesWritten(const Job& job) {
    return Bytes(job.target);
}

std::string NameOf(Mode mode) {
    constexpr std::array names{"triangle", "box",     "Lanczos3", "Lanczos8",
                               "Mitchell", "bicubic", "Cubic6"};
    return names[static_cast<std::size_t>(mode) - 1];
}

std::string NameOf(const Job& job) {
    switch (job.task) {
        case Task::Resampling:
            return FromTo(job) + ", " + NameOf(job.mode);
        case Task::FastScaling:
            return "fast " + FromTo(job);
        case Task::SmoothEnlargement:
            return "smooth " + FromTo(job);
        case Task::Blur:
            return "blur radius " + std::to_string(job.radius) + ", " + NameOf(job.source);
        case Task::Drawing:
            break;
    }
    return "draw " + NameOf(job.source) + " on " + NameOf(job.target) +
           (job.masked ? ", with mask" : "");
}

}  // namespace bench
