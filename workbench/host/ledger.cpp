// The books of a host.
// Written by the object store and the picture services; it owns and frees nothing.
#include "workbench/host/ledger.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "workbench/host/handle_range.h"

namespace workbench {

namespace {

// Long histories keep their beginning and their end.
constexpr std::size_t firstEventsKept = 8;
constexpr std::size_t lastEventsKept = 24;
constexpr std::size_t goneObjectsKept = 1024;

std::string Counted(int number, std::string_view what) {
    return std::to_string(number) + " " + std::string(what) + (number == 1 ? "" : "s");
}

}  // namespace

const void* Ledger::Enter(std::string_view kind, Origin origin) {
    const void* handle = NewHandleAddress();
    while (live_.contains(handle))
        handle = NewHandleAddress();
    gone_.erase(handle);
    writtenOff_.erase(handle);

    Record& record = live_[handle];
    record.number = ++lastNumber_;
    record.name = std::string(kind) + " " + std::to_string(record.number);
    record.references = 1;
    Note(record, "made", origin);
    return handle;
}

bool Ledger::IsLive(const void* handle) const {
    return live_.contains(handle);
}

bool Ledger::Check(const void* handle, Origin origin) {
    if (handle == nullptr) return false;
    if (IsLive(handle)) return true;
    const Record* record = Find(handle);
    if (record == nullptr) {
        AddError(std::string(origin) + " was given a handle that the host never gave out");
    } else {
        AddError(std::string(origin) + " was given " + record->name +
                 ", which is gone: " + History(*record));
    }
    return false;
}

void Ledger::AddReference(const void* handle, Origin origin) {
    Record& record = Live(handle);
    ++record.references;
    Note(record, "reference added", origin);
}

bool Ledger::Release(const void* handle, Origin origin) {
    Record& record = Live(handle);
    --record.references;
    Note(record, "reference released", origin);
    if (record.references > 0) return false;
    if (record.locks > 0) {
        AddError(record.name + " went away with " + Counted(record.locks, "lock") +
                 " on its description: " + History(record));
    }
    Retire(handle);
    return true;
}

void Ledger::Lock(const void* handle, Origin origin) {
    Record& record = Live(handle);
    ++record.locks;
    Note(record, "description locked", origin);
}

bool Ledger::Unlock(const void* handle, Origin origin) {
    Record& record = Live(handle);
    if (record.locks == 0) {
        AddError(std::string(origin) + " unlocked the description of " + record.name +
                 ", which is not locked: " + History(record));
        return false;
    }
    --record.locks;
    Note(record, "description unlocked", origin);
    return true;
}

int Ledger::Locks(const void* handle) const {
    const Record* record = Find(handle);
    return record == nullptr ? 0 : record->locks;
}

int Ledger::References(const void* handle) const {
    const Record* record = Find(handle);
    return record == nullptr ? 0 : record->references;
}

std::string Ledger::Name(const void* handle) const {
    if (handle == nullptr) return "null";
    const Record* record = Find(handle);
    return record == nullptr ? "an unknown handle" : record->name;
}

void Ledger::AddError(std::string text) {
    errors_.push_back(std::move(text));
}

std::vector<std::string> Ledger::Leftovers() const {
    std::vector<const Record*> records;
    for (const auto& [handle, record] : live_)
        records.push_back(&record);
    std::sort(records.begin(), records.end(),
              [](const Record* left, const Record* right) { return left->number < right->number; });
    std::vector<std::string> texts;
    texts.reserve(records.size());
    for (const Record* record : records) {
        texts.push_back(record->name + " is left with " + Counted(record->references, "reference") +
                        " and " + Counted(record->locks, "lock") + ": " + History(*record));
    }
    return texts;
}

std::string Ledger::Report() const {
    std::string report;
    for (const std::string& text : errors_)
        report += text + "\n";
    for (const std::string& text : Leftovers())
        report += text + "\n";
    return report;
}

std::vector<std::string> Ledger::WriteOff() {
    std::vector<std::string> texts = Leftovers();
    for (const auto& [handle, record] : live_)
        writtenOff_.insert(handle);
    live_.clear();
    return texts;
}

std::vector<std::string> Ledger::TakeErrors() {
    return std::exchange(errors_, {});
}

const Ledger::Record* Ledger::Find(const void* handle) const {
    if (const auto found = live_.find(handle); found != live_.end()) return &found->second;
    if (const auto found = gone_.find(handle); found != gone_.end()) return &found->second;
    return nullptr;
}

Ledger::Record& Ledger::Live(const void* handle) {
    return live_.at(handle);
}

void Ledger::Note(Record& record, std::string_view action, Origin origin) {
    const Event event{action, origin, record.references, record.locks};
    if (record.firstEvents.size() < firstEventsKept) {
        record.firstEvents.push_back(event);
        return;
    }
    record.lastEvents.push_back(event);
    if (record.lastEvents.size() > lastEventsKept) {
        record.lastEvents.pop_front();
        ++record.eventsLeftOut;
    }
}

std::string Ledger::History(const Record& record) {
    std::string history;
    const auto append = [&history](const Event& event) {
        if (!history.empty()) history += "; ";
        history += std::string(event.action) + " by " + std::string(event.origin) + " (" +
                   Counted(event.references, "reference") + ", " + Counted(event.locks, "lock") +
                   ")";
    };
    std::for_each(record.firstEvents.begin(), record.firstEvents.end(), append);
    if (record.eventsLeftOut > 0) {
        history += "; " + std::to_string(record.eventsLeftOut) + " more events";
    }
    std::for_each(record.lastEvents.begin(), record.lastEvents.end(), append);
    return history;
}

void Ledger::Retire(const void* handle) {
    gone_.insert(live_.extract(handle));
    goneOrder_.push_back(handle);
    if (goneOrder_.size() <= goneObjectsKept) return;
    gone_.erase(goneOrder_.front());
    goneOrder_.pop_front();
}

}  // namespace workbench
