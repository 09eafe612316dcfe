// What a held reference does with the current host.
// Called by Held alone.
#include "workbench/host/held.h"

#include <stdexcept>

#include "workbench/host/host.h"
#include "workbench/objects/object_store.h"

namespace workbench::held_detail {

Object& Use(const void* address) {
    if (address == nullptr) throw std::logic_error("an empty reference was used");
    Object* object = Look(address);
    if (object == nullptr) throw std::logic_error("a held object was released by somebody else");
    return *object;
}

Object* Look(const void* address) {
    Host* host = Host::Current();
    return host == nullptr ? nullptr : host->Objects().Look(address);
}

void GiveBack(const void* address, Origin holder) {
    Host* host = Host::Current();
    if (host == nullptr || host->Books().IsWrittenOff(address)) return;
    host->Objects().Release(address, holder);
}

}  // namespace workbench::held_detail
