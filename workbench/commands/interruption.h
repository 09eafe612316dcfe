// Ctrl-C and the other requests to end, turned into a question that a command asks when it suits.
// A command that is not asked to yield cannot be stopped within a call, so a second signal ends the
// process at once. Either way no half-written file stays behind.
#pragma once

#include <array>
#include <csignal>

namespace workbench {

class Interruption {
  public:
    /// Catches the signals while it lives; forgets earlier ones. A hangup or
    /// quit that is ignored, as for what is to outlive its terminal, stays ignored.
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// Whether a signal has come.
    static bool HasCome();

    /// Throws Interrupted with the signal if one has come.
    static void Check();

  private:
    static constexpr std::array<int, 4> signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

    std::array<struct sigaction, signals.size()> previous_{};
};

}  // namespace workbench
