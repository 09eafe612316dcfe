// What all counted objects of the host have in common.
// The host's store owns every object; everybody else holds handles or Held references.
#pragma once

#include <string_view>

#include "hostapi/host_types.h"

namespace workbench {

/// A counted object behind a handle. References and history stand in the ledger.
class Object {
  public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    /// The host language's name of the object's class.
    virtual std::string_view ClassName() const = 0;

    /// What the ledger calls it: "picture".
    virtual std::string_view Kind() const = 0;

    /// The address that stands for the object outside the host.
    const void* Address() const { return address_; }

  private:
    friend class ObjectStore;
    const void* address_ = nullptr;
};

/// Turns an object's address into a handle of the wanted type; null stays null. The address is
/// only a name, so nothing is read through the handle.
template <typename Handle>
Handle ToHandle(const void* address) {
    return static_cast<Handle>(const_cast<void*>(address));
}

}  // namespace workbench
