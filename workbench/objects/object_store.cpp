// The owner of all counted objects of a host.
// An object that goes away takes its own references with it, by its destructor.
#include "workbench/objects/object_store.h"

namespace workbench {

Object* ObjectStore::FindAny(const void* address, Origin origin) {
    return ledger_.Check(address, origin) ? Look(address) : nullptr;
}

Object* ObjectStore::Look(const void* address) const {
    const auto found = objects_.find(address);
    return found == objects_.end() ? nullptr : found->second.get();
}

void ObjectStore::AddReference(const void* address, Origin origin) {
    if (ledger_.Check(address, origin)) ledger_.AddReference(address, origin);
}

void ObjectStore::Release(const void* address, Origin origin) {
    if (!ledger_.Check(address, origin) || !ledger_.Release(address, origin)) return;
    // Out of the table first: its destructor may release others and so come back here.
    const auto node = objects_.extract(address);
}

std::vector<std::string> ObjectStore::WriteOff() {
    std::vector<std::string> leftovers = ledger_.WriteOff();
    const auto doomed = std::exchange(objects_, {});
    return leftovers;
}

const void* ObjectStore::Enter(std::unique_ptr<Object> object, Origin origin) {
    const void* address = ledger_.Enter(object->Kind(), origin);
    object->address_ = address;
    objects_.emplace(address, std::move(object));
    return address;
}

void ObjectStore::NoteWrongKind(const Object& object, Origin origin) {
    ledger_.AddError(std::string(origin) + " was given " + ledger_.Name(object.Address()) +
                     ", an object of the wrong kind");
}

}  // namespace workbench
