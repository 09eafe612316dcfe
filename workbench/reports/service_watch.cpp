// Listens to the trace. A listener runs inside service calls, so nothing here touches the host.
#include "workbench/reports/service_watch.h"

#include <ostream>

#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

// Services that say "there is none" as often as not.
bool MayAnswerNothing(const TraceEntry& entry) {
    return !entry.service || *entry.service == Service::REALGetClassRef ||
           *entry.service == Service::REALGetPictureMask;
}

bool IsFailure(const TraceEntry& entry) {
    if (entry.missing || entry.faulted) return true;
    if (MayAnswerNothing(entry)) return false;
    return entry.result == "null" || entry.result == "false" || entry.result == "0";
}

}  // namespace

ServiceWatch::ServiceWatch(Trace& trace, std::ostream* output) : trace_(trace), output_(output) {
    trace_.SetListener([this](const TraceEntry& entry) { Take(entry); });
}

ServiceWatch::~ServiceWatch() {
    trace_.SetListener({});
}

void ServiceWatch::Take(const TraceEntry& entry) {
    if (output_ != nullptr) *output_ << OneLine(entry.Line()) << '\n';
    if (IsFailure(entry)) lastFailure_ = entry.Line();
}

}  // namespace workbench
