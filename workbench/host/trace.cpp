// The record of service calls.
// Filled by the services; a listener must not call into the plugin.
#include "workbench/host/trace.h"

#include <utility>

namespace workbench {

std::string TraceEntry::Line() const {
    if (missing) return name + ": the host has no such service";
    std::string line = name + "(" + arguments + ")";
    if (!result.empty()) line += " = " + result;
    if (faulted) line += " (failed on purpose)";
    if (threw) line += ", left by an exception";
    return line;
}

void Trace::Keep(bool keep) {
    keep_ = keep;
}

void Trace::SetListener(Listener listener) {
    listener_ = std::move(listener);
}

void Trace::Add(TraceEntry entry) {
    if (listener_) listener_(entry);
    if (keep_) entries_.push_back(std::move(entry));
}

void Trace::Clear() {
    entries_.clear();
}

}  // namespace workbench
