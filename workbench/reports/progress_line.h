// One line on a terminal that is written over again and again while a call yields or a batch goes
// through its files, and wiped away at the end.
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>
#include <string_view>

namespace workbench {

class ProgressLine {
  public:
    /// Writes to `terminal`, or nothing at all if it is null.
    explicit ProgressLine(std::ostream* terminal);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Wipes the line.
    ~ProgressLine();

    /// What is going on; starts the time that is shown.
    void Begin(std::string_view what);

    /// Shows the line again if it was not shown a moment ago; `detail` stands behind the time.
    void Update(std::string_view detail);

    /// Takes the line away, so that something else can be written.
    void Wipe();

  private:
    using Clock = std::chrono::steady_clock;

    std::ostream* terminal_;
    std::string what_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point lastShown_;
    bool isShown_ = false;
};

}  // namespace workbench
