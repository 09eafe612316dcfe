// Services that fail on purpose: missing, or answering null, false or 0.
// Tests set them; the resolver and the services ask. Call numbers count from 1, from the host's
// start or the last call of ForgetCalls.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "workbench/host/services.h"

namespace workbench {

class Faults {
  public:
    /// The resolver no longer knows the service. A pointer that was resolved before stays usable.
    void Remove(Service service);

    /// The service neither is missing nor fails any more.
    void Restore(Service service);

    /// Host objects no longer have the method of exactly this declaration.
    void RemoveMethod(std::string declaration);

    /// All services and methods work again; call counts and the hook stay.
    void RestoreAll();

    /// The service answers null, false or 0, without doing anything, from its n-th call on.
    /// Throws std::invalid_argument for a service without an answer or a call below 1.
    void FailFrom(Service service, std::uint64_t call);

    /// As FailFrom, but for the n-th call alone.
    void FailOnly(Service service, std::uint64_t call);

    /// Called before each service does anything; what it throws leaves the service, and so
    /// passes through the plugin. An empty function ends that.
    void SetHook(std::function<void(Service)> hook);

    /// How often the service was called, calls that failed on purpose included.
    std::uint64_t Calls(Service service) const;

    /// Sets every count of calls to 0.
    void ForgetCalls();

    /// Whether the resolver is to give null.
    bool IsMissing(Service service) const;

    /// Whether host objects are to lack the method.
    bool IsMethodMissing(std::string_view declaration) const;

    /// Counts a call, runs the hook and says whether the call must fail. Called by the services.
    bool EnterCall(Service service);

  private:
    struct State {
        bool missing = false;
        std::uint64_t firstFailure = 0;  // 0: none
        std::uint64_t lastFailure = 0;
        std::uint64_t calls = 0;
    };

    State& At(Service service);
    const State& At(Service service) const;
    void Fail(Service service, std::uint64_t first, std::uint64_t last);

    std::array<State, serviceCount> states_{};
    std::set<std::string, std::less<>> missingMethods_;
    std::function<void(Service)> hook_;
};

}  // namespace workbench
