// A record of service calls as text: kept, handed to a listener as they happen, or neither.
// Formatting costs time, so nothing is made when nobody wants it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "workbench/host/services.h"

namespace workbench {

/// One call of a service or of a host object's method, or one search for a missing service.
struct TraceEntry {
    std::optional<Service> service;  // none for a method
    std::string name;                // "newPicture", "Graphics.DrawPicture"
    std::string arguments;           // `picture 3, "Width"`, without the parentheses
    std::string result;              // `true -> 640`; empty where the service has no result
    bool missing = false;            // the resolver was asked for the service and had none
    bool faulted = false;            // the answer was forced by the faults
    bool threw = false;              // the call was left by an exception

    /// The entry as one line, without a line end: `newPicture(64, 48, 32) = picture 4`.
    std::string Line() const;
};

class Trace {
  public:
    using Listener = std::function<void(const TraceEntry&)>;

    /// Keeps entries from now on, or stops. Off at first.
    void Keep(bool keep);

    /// Hands every entry to `listener` when its call ends; an empty function ends that.
    void SetListener(Listener listener);

    /// Whether anybody wants entries.
    bool IsWanted() const { return keep_ || listener_ != nullptr; }

    /// Takes in an entry; called by the services.
    void Add(TraceEntry entry);

    /// The entries kept, oldest first; a call made inside another stands before it.
    const std::vector<TraceEntry>& Entries() const { return entries_; }

    /// Forgets the entries kept.
    void Clear();

  private:
    bool keep_ = false;
    Listener listener_;
    std::vector<TraceEntry> entries_;
};

}  // namespace workbench
