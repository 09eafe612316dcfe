// The owner of all counted objects of a host.
// Services and the host make, find and release objects here; the ledger is told of everything.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "workbench/host/held.h"
#include "workbench/host/ledger.h"
#include "workbench/objects/object.h"

namespace workbench {

class ObjectStore {
  public:
    explicit ObjectStore(Ledger& ledger) : ledger_(ledger) {}

    /// A new object with one reference, which the result holds in the name of `origin`.
    template <typename T, typename... Arguments>
    Held<T> Make(Origin origin, Arguments&&... arguments) {
        return Keep<T>(std::make_unique<T>(std::forward<Arguments>(arguments)...), origin);
    }

    /// Takes an object over. As Make.
    template <typename T>
    Held<T> Keep(std::unique_ptr<T> object, Origin origin) {
        return Held<T>(Enter(std::move(object), origin), origin);
    }

    /// The live object of that address and kind, or null. An address that is neither null nor a
    /// live object of the kind is an error of `origin` in the ledger.
    template <typename T>
    T* Find(const void* address, Origin origin) {
        Object* object = FindAny(address, origin);
        T* wanted = dynamic_cast<T*>(object);
        if (object != nullptr && wanted == nullptr) NoteWrongKind(*object, origin);
        return wanted;
    }

    /// As Find for an object of any kind.
    Object* FindAny(const void* address, Origin origin);

    /// The live object of that address, or null, without a word to the ledger.
    Object* Look(const void* address) const;

    /// Adds a reference to an object; a bad address is an error in the ledger. Null is ignored.
    void AddReference(const void* address, Origin origin);

    /// Takes a reference away and destroys the object with its last one. As AddReference.
    void Release(const void* address, Origin origin);

    /// Destroys everything that is left, as written off in the ledger, and returns what it was.
    std::vector<std::string> WriteOff();

  private:
    const void* Enter(std::unique_ptr<Object> object, Origin origin);
    void NoteWrongKind(const Object& object, Origin origin);

    Ledger& ledger_;
    std::unordered_map<const void*, std::unique_ptr<Object>> objects_;
};

}  // namespace workbench
