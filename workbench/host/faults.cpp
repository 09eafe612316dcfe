// Which services fail, and at which call.
// Set by tests, asked by the resolver and by every service; does nothing by itself.
#include "workbench/host/faults.h"

#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace workbench {

Faults::State& Faults::At(Service service) {
    return states_[static_cast<std::size_t>(service)];
}

const Faults::State& Faults::At(Service service) const {
    return states_[static_cast<std::size_t>(service)];
}

void Faults::Remove(Service service) {
    At(service).missing = true;
}

void Faults::RemoveMethod(std::string declaration) {
    missingMethods_.insert(std::move(declaration));
}

void Faults::Restore(Service service) {
    State& state = At(service);
    state.missing = false;
    state.firstFailure = state.lastFailure = 0;
}

void Faults::RestoreAll() {
    for (const ServiceInfo& info : allServices)
        Restore(info.service);
    missingMethods_.clear();
}

void Faults::FailFrom(Service service, std::uint64_t call) {
    Fail(service, call, std::numeric_limits<std::uint64_t>::max());
}

void Faults::FailOnly(Service service, std::uint64_t call) {
    Fail(service, call, call);
}

void Faults::Fail(Service service, std::uint64_t first, std::uint64_t last) {
    if (!Info(service).answers) {
        throw std::invalid_argument(std::string(Info(service).name) +
                                    " has no answer that could be null, false or 0");
    }
    if (first < 1) throw std::invalid_argument("calls count from 1");
    At(service).firstFailure = first;
    At(service).lastFailure = last;
}

void Faults::SetHook(std::function<void(Service)> hook) {
    hook_ = std::move(hook);
}

std::uint64_t Faults::Calls(Service service) const {
    return At(service).calls;
}

void Faults::ForgetCalls() {
    for (State& state : states_)
        state.calls = 0;
}

bool Faults::IsMissing(Service service) const {
    return At(service).missing;
}

bool Faults::IsMethodMissing(std::string_view declaration) const {
    return missingMethods_.contains(declaration);
}

bool Faults::EnterCall(Service service) {
    const std::uint64_t call = ++At(service).calls;
    if (hook_) hook_(service);
    const State& state = At(service);
    return state.firstFailure != 0 && call >= state.firstFailure && call <= state.lastFailure;
}

}  // namespace workbench
