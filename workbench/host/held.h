// A reference to a host object that C++ code holds: released when it goes out of scope.
// Used by the program and by tests; it must not be used after its host is gone.
#pragma once

#include <string>
#include <utility>

#include "hostapi/host_types.h"
#include "workbench/host/ledger.h"

namespace workbench {

class Object;
class Picture;
class Text;

namespace held_detail {
/// The live object behind an address in the current host; throws std::logic_error with the
/// object's history if somebody released it although this reference was never given back.
Object& Use(const void* address);
/// The same, but null for an object that is gone.
Object* Look(const void* address);
/// Gives one reference of a live object back to the current host, in the name of `holder`; does
/// nothing without a host.
void GiveBack(const void* address, Origin holder);
}  // namespace held_detail

/// One reference to an object of type T, or none. Moves, does not copy.
template <typename T>
class Held {
  public:
    Held() = default;
    /// Takes over a reference that the caller has; `holder` appears in the object's history.
    explicit Held(const void* address, Origin holder = theProgram)
        : address_(address), holder_(holder) {}
    Held(Held&& other) noexcept
        : address_(std::exchange(other.address_, nullptr)), holder_(other.holder_) {}
    Held& operator=(Held&& other) noexcept {
        if (this != &other) {
            Reset();
            address_ = std::exchange(other.address_, nullptr);
            holder_ = other.holder_;
        }
        return *this;
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() { Reset(); }

    explicit operator bool() const { return address_ != nullptr; }
    T& operator*() const { return static_cast<T&>(held_detail::Use(address_)); }
    T* operator->() const { return &**this; }

    /// The object, or null when empty or when somebody released it although this reference was
    /// never given back.
    T* Get() const { return static_cast<T*>(held_detail::Look(address_)); }

    /// The handle to give to the plugin; null when empty. Valid to pass even after an
    /// over-release, which the ledger then reports.
    auto Handle() const {
        return static_cast<decltype(std::declval<T>().Handle())>(const_cast<void*>(address_));
    }

    /// Gives the reference back now.
    void Reset() {
        if (address_ != nullptr) held_detail::GiveBack(std::exchange(address_, nullptr), holder_);
    }

    /// Hands the reference to the caller, who must see to its release.
    auto Release() {
        auto handle = Handle();
        address_ = nullptr;
        return handle;
    }

  private:
    const void* address_ = nullptr;
    Origin holder_ = theProgram;
};

}  // namespace workbench
