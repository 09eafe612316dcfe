// A host of a few functions for unit tests: it resolves what a test offers and forgets everything
// with the test. What needs real pictures is tested against the workbench instead.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "bridge/host_services.h"
#include "bridge/host_version.h"

namespace zvk::testing {

class FakeHost {
  public:
    // Becomes the host that all service wrappers ask, with a given version.
    explicit FakeHost(double version = 2012.0) {
        current_ = this;
        ForgetServices();
        gResolver = Resolve;
        rbversion_rbversion = version;
    }
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;
    ~FakeHost() {
        current_ = nullptr;
        gResolver = [](const char*) -> REALfunction { return nullptr; };
        rbversion_rbversion = 0.0;
        ForgetServices();
    }

    // Offers a service by its name; what is not offered is missing.
    template <typename Function>
    void Offer(const char* name, Function* function) {
        services_[name] = reinterpret_cast<REALfunction>(function);
    }

    // How often a service has been looked up.
    int LookUps(const std::string& name) const {
        const auto found = lookUps_.find(name);
        return found == lookUps_.end() ? 0 : found->second;
    }

  private:
    static REALfunction Resolve(const char* name) {
        ++current_->lookUps_[name];
        const auto found = current_->services_.find(name);
        return found == current_->services_.end() ? nullptr : found->second;
    }

    static void ForgetServices() {
#define HOST_SERVICE(name, wrapper, result, parameters) wrapper = decltype(wrapper){name};
#include "hostapi/host_services.inc"
#undef HOST_SERVICE
    }

    inline static FakeHost* current_ = nullptr;
    std::map<std::string, REALfunction> services_;
    std::map<std::string, int> lookUps_;
};

}  // namespace zvk::testing
