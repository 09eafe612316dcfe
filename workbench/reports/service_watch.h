// Watches the host's services: shows them if asked to, and remembers the last one that failed,
// which tells why a method came back with nothing. A session has one.
#pragma once

#include <iosfwd>
#include <string>

#include "workbench/host/trace.h"

namespace workbench {

class ServiceWatch {
  public:
    /// Watches while it lives. Each call becomes one line on `output` unless that is null.
    ServiceWatch(Trace& trace, std::ostream* output);
    ServiceWatch(const ServiceWatch&) = delete;
    ServiceWatch& operator=(const ServiceWatch&) = delete;
    ~ServiceWatch();

    /// The last service since Forget that was missing, or that answered null, false or 0 where a
    /// host that can do what it is asked answers otherwise; empty if there was none.
    const std::string& LastFailure() const { return lastFailure_; }

    void Forget() { lastFailure_.clear(); }

  private:
    void Take(const TraceEntry& entry);

    Trace& trace_;
    std::ostream* output_;
    std::string lastFailure_;
};

}  // namespace workbench
