// The signal handlers do no more than remember, or remove a name and let the signal have its way;
// everything else happens where a command asks.
#include "workbench/commands/interruption.h"

#include "workbench/commands/failures.h"
#include "workbench/files/output_file.h"

namespace workbench {
namespace {

volatile std::sig_atomic_t hasCome = 0;  // the first signal, or 0

// The signal, raised once more, ends the process as soon as the handler returns.
void EndAtOnce(int signal) {
    OutputFile::RemoveUnfinished();
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    std::raise(signal);
}

void Remember(int signal) {
    if (hasCome != 0) return EndAtOnce(signal);
    hasCome = signal;
}

void Catch(int signal, struct sigaction& previous) {
    struct sigaction action {};
    // Whoever asks for a core dump wants the process as it is now.
    action.sa_handler = signal == SIGQUIT ? EndAtOnce : Remember;
    sigaction(signal, &action, &previous);
    const bool mayStayIgnored = signal == SIGHUP || signal == SIGQUIT;
    if (mayStayIgnored && previous.sa_handler == SIG_IGN) sigaction(signal, &previous, nullptr);
}

}  // namespace

Interruption::Interruption() {
    hasCome = 0;
    for (std::size_t i = 0; i < signals.size(); ++i)
        Catch(signals.at(i), previous_.at(i));
}

Interruption::~Interruption() {
    for (std::size_t i = 0; i < signals.size(); ++i)
        sigaction(signals.at(i), &previous_.at(i), nullptr);
}

bool Interruption::HasCome() {
    return hasCome != 0;
}

void Interruption::Check() {
    if (HasCome()) throw Interrupted{hasCome};
}

}  // namespace workbench
