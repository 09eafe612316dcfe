// The books: every object, reference and lock of a host with its history, and every misuse.
// The object store and the pictures write it; tests and the program read it. It owns no object.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace workbench {

/// Whose doing an entry is: a service's name, or "the program" for the workbench itself. The
/// text must live as long as the process.
using Origin = std::string_view;
inline constexpr Origin theProgram = "the program";

class Ledger {
  public:
    /// Enters a new object with one reference and returns its handle: an address that was never
    /// used before, that no memory stands behind, and that may be compared but not read.
    /// `kind` ("picture") and the object's number make its name.
    const void* Enter(std::string_view kind, Origin origin);

    /// Whether the handle belongs to an object with references left.
    bool IsLive(const void* handle) const;

    /// Whether the handle is live; if it is neither that nor null, notes an error that says what
    /// `origin` was given and the history of the object it once was.
    bool Check(const void* handle, Origin origin);

    /// Adds a reference to a live object.
    void AddReference(const void* handle, Origin origin);

    /// Takes a reference from a live object. True when it was the last one: the object is then
    /// entered as gone, and locks it still has are an error.
    bool Release(const void* handle, Origin origin);

    /// Adds a lock on the description of a live picture.
    void Lock(const void* handle, Origin origin);

    /// Takes a lock away; one that is not there is an error and false.
    bool Unlock(const void* handle, Origin origin);

    /// Locks on the object now; 0 for an unknown one.
    int Locks(const void* handle) const;

    /// References to the object now; 0 for an unknown one.
    int References(const void* handle) const;

    /// "picture 3", also for an object that is gone; "null"; or "an unknown handle".
    std::string Name(const void* handle) const;

    /// Notes something else that should not have happened.
    void AddError(std::string text);

    /// Live objects with their references, locks and history, one text each, oldest first.
    std::vector<std::string> Leftovers() const;

    /// Misuses so far: over-release, use after release, foreign handles, unlock without a lock.
    const std::vector<std::string>& Errors() const { return errors_; }

    /// True when nothing is left over and nothing was misused.
    bool IsClean() const { return live_.empty() && errors_.empty(); }

    /// Leftovers and errors as one text, empty when clean.
    std::string Report() const;

    /// Enters every live object as gone, without an error, and returns the leftovers.
    std::vector<std::string> WriteOff();

    /// Whether the object was live when WriteOff was called.
    bool IsWrittenOff(const void* handle) const { return writtenOff_.contains(handle); }

    /// Forgets the errors and returns them: for tests that provoke them.
    std::vector<std::string> TakeErrors();

  private:
    struct Event {
        std::string_view action;
        Origin origin;
        int references = 0;
        int locks = 0;
    };
    struct Record {
        std::string name;
        int references = 0;
        int locks = 0;
        std::vector<Event> firstEvents;
        std::deque<Event> lastEvents;
        std::uint64_t eventsLeftOut = 0;
        std::uint64_t number = 0;
    };

    const Record* Find(const void* handle) const;
    Record& Live(const void* handle);
    static void Note(Record& record, std::string_view action, Origin origin);
    static std::string History(const Record& record);
    void Retire(const void* handle);

    std::unordered_map<const void*, Record> live_;
    std::unordered_map<const void*, Record> gone_;  // the latest ones, for the histories in errors
    std::deque<const void*> goneOrder_;
    std::unordered_set<const void*> writtenOff_;
    std::vector<std::string> errors_;
    std::uint64_t lastNumber_ = 0;
};

}  // namespace workbench
