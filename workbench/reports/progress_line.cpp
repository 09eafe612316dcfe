// Draws the progress line with a carriage return and the sequence that clears a line.
#include "workbench/reports/progress_line.h"

#include <ostream>

#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

constexpr std::string_view wipe = "\r\x1b[K";
constexpr std::size_t longestWhat = 60;

}  // namespace

ProgressLine::ProgressLine(std::ostream* terminal) : terminal_(terminal) {
}

ProgressLine::~ProgressLine() {
    Wipe();
}

void ProgressLine::Begin(std::string_view what) {
    what_ = OneLine(what);
    if (what_.size() > longestWhat) what_ = what_.substr(0, longestWhat) + "...";
    start_ = Clock::now();
    lastShown_ = Clock::time_point{};
}

void ProgressLine::Update(std::string_view detail) {
    constexpr std::chrono::milliseconds pause(50);
    const Clock::time_point now = Clock::now();
    if (terminal_ == nullptr || now - lastShown_ < pause) return;
    lastShown_ = now;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    *terminal_ << wipe << what_ << "  " << Fixed(seconds, 1) << " s  " << detail << std::flush;
    isShown_ = true;
}

void ProgressLine::Wipe() {
    if (isShown_) *terminal_ << wipe << std::flush;
    isShown_ = false;
}

}  // namespace workbench
