// Ownership of one reference to a host object. Used wherever the plugin holds a reference that it
// must give back on every way out, an exception leaving a yield included.
#pragma once

#include <utility>

#include "bridge/host_services.h"

namespace zvk {

// Holds one reference to a host object of type Object, or none; gives it back with
// REALUnlockObject.
template <typename Object>
class HostReference {
  public:
    HostReference() = default;

    // Takes over a reference that the caller owns; `object` may be null.
    explicit HostReference(Object* object) : object_(object) {}

    HostReference(HostReference&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}
    HostReference& operator=(HostReference&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    HostReference(const HostReference&) = delete;
    HostReference& operator=(const HostReference&) = delete;

    ~HostReference() {
        if (object_ != nullptr) REALUnlockObject(object_);
    }

    Object* get() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    // Hands the reference over to the caller.
    Object* Release() { return std::exchange(object_, nullptr); }

  private:
    Object* object_ = nullptr;
};

using PictureReference = HostReference<REALpictureStruct>;

// Adds a reference to `object`, for a caller who is to own it, and returns it.
template <typename Object>
Object* AddReference(Object* object) {
    REALLockObject(object);
    return object;
}

}  // namespace zvk
