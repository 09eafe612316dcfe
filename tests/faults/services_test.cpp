// Every host service that answers something answers null, false or 0 in turn, at its first call,
// its second and so on, once or for good, during every method on every kind of picture; then pairs
// of such faults, of missing services and of refused memory. No crash, nothing touched outside the
// pictures, nothing lost, and a result as without the fault, or none.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/faults/fault_calls.h"
#include "tests/support/pixels.h"

namespace contract {
namespace {

bool Answers(Service service) {
    workbench::Faults faults;
    try {
        faults.FailFrom(service, 1);
    } catch (const std::invalid_argument&) {
        return false;
    }
    return true;
}

std::vector<Service> AnsweringServices() {
    std::vector<Service> services;
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        if (Answers(info.service)) services.push_back(info.service);
    }
    return services;
}

// What the host was left with where an instance could be made but not constructed, which the plugin
// leaves to the host on purpose, or where what was to be given back could not be.
void WriteOff(Session& session) {
    session.host().WriteOffLeftovers();
    session.host().Books().TakeErrors();
}

bool MayLeaveInstance(const FaultCase& faultCase, Service service) {
    return service == Service::REALLoadObjectMethod &&
           faultCase.scene == Scene::DesktopAlphaChannel;
}

// Pictures that a call may give when a service fails.
std::vector<reference::Image> AllowedPictures(const FaultCase& faultCase) {
    std::vector<reference::Image> allowed;
    const auto allow = [&](Scene scene, MethodCall call) {
        const Outcome outcome = WithoutFaults({scene, call});
        if (outcome.picture) allowed.push_back(*outcome.picture);
    };
    allow(faultCase.scene, faultCase.call);
    switch (faultCase.call) {
        case MethodCall::Smooth:
            allow(faultCase.scene, MethodCall::Fast);
            break;
        case MethodCall::ImageAndMaskSmooth:
            allow(faultCase.scene, MethodCall::ImageAndMaskFast);
            // An alpha channel that is not reported is scaled like any picture.
            allow(faultCase.scene, MethodCall::Smooth);
            break;
        case MethodCall::ImageAndMaskFast:
            allow(faultCase.scene, MethodCall::Fast);
            break;
        case MethodCall::Draw:
            // A mask that cannot be had masks nothing.
            allow(faultCase.scene == Scene::ConsoleMask ? Scene::Console : Scene::Desktop,
                  MethodCall::Draw);
            break;
        default:
            break;
    }
    return allowed;
}

// A picture with an alpha channel is drawn by the host before its mask is scaled; without that it
// stays as the host made it.
bool MayStayBlank(const FaultCase& faultCase) {
    return faultCase.scene == Scene::DesktopAlphaChannel &&
           (faultCase.call == MethodCall::ImageAndMaskFast ||
            faultCase.call == MethodCall::ImageAndMaskSmooth);
}

class ServiceFaults : public ::testing::TestWithParam<FaultCase> {
  protected:
    static void TearDownTestSuite() { std::cout << injectedInAll << " answers refused\n"; }

    static inline int injectedInAll = 0;

    // Lets the service fail at one call, or from one on, and checks what comes of it. False if the
    // service was not called as often.
    bool Inject(Service service, std::uint64_t call, bool onlyOnce) const {
        const FaultCase& faultCase = GetParam();
        Session session(SettingsOf(faultCase.scene));
        std::uint64_t calls = 0;
        const auto arm = [&](Session& armed, const CasePictures&) {
            armed.host().Failing().ForgetCalls();
            onlyOnce ? armed.host().Failing().FailOnly(service, call)
                     : armed.host().Failing().FailFrom(service, call);
        };
        const auto disarm = [&](Session& armed, const CasePictures&) {
            calls = armed.host().Calls(service);
            armed.host().Failing().RestoreAll();
        };
        const Outcome found = RunCase(session, faultCase, arm, disarm);
        if (MayLeaveInstance(faultCase, service)) WriteOff(session);
        EXPECT_TRUE(found.sourceIsUnchanged);
        if (found.picture) {
            EXPECT_TRUE(std::ranges::find(allowed_, *found.picture) != allowed_.end() ||
                        (MayStayBlank(faultCase) && IsBlank(*found.picture)))
                << workbench::Info(service).wrapper << (onlyOnce ? " at call " : " from call ")
                << call;
        }
        return calls >= call;
    }

    std::vector<reference::Image> allowed_ = AllowedPictures(GetParam());
};

TEST_P(ServiceFaults, GiveAResultThatTheMethodHasOrNoneAndLoseNothing) {
    ASSERT_FALSE(allowed_.empty());
    int injected = 0;
    for (const Service service : AnsweringServices()) {
        for (const bool onlyOnce : {true, false}) {
            for (std::uint64_t call = 1; Inject(service, call, onlyOnce); ++call)
                ++injected;
        }
    }
    EXPECT_GT(injected, 0);
    injectedInAll += injected;
}

INSTANTIATE_TEST_SUITE_P(Methods, ServiceFaults, ::testing::ValuesIn(AllFaultCases()),
                         ::testing::PrintToStringParamName());

// One of a pair: a service that is missing or fails once, or memory that is refused once.
struct Fault {
    enum class Kind { Missing, Failing, Memory } kind;
    Service service;
    std::uint64_t number;
};

Fault RandomFault(Random& random) {
    static const std::vector<Service> answering = AnsweringServices();
    const auto any = [&random](const auto& all) {
        return all[static_cast<std::size_t>(
            random.Between(0, static_cast<std::int64_t>(all.size()) - 1))];
    };
    const auto number = static_cast<std::uint64_t>(random.Between(1, 12));
    switch (random.Between(0, 2)) {
        case 0:
            return {Fault::Kind::Missing, any(workbench::allServices).service, 0};
        case 1:
            return {Fault::Kind::Failing, any(answering), 1 + number % 4};
        default:
            return {Fault::Kind::Memory, Service::REALYieldToRB, number};
    }
}

void Arm(Session& session, const Fault& fault) {
    switch (fault.kind) {
        case Fault::Kind::Missing:
            return session.host().Failing().Remove(fault.service);
        case Fault::Kind::Failing:
            return session.host().Failing().FailOnly(fault.service, fault.number);
        case Fault::Kind::Memory:
            return session.allocations().FailOnly(fault.number);
    }
}

TEST(PairsOfFaults, LeaveTheSourceAndTheHostAsTheyWere) {
    constexpr std::uint64_t seed = 20;
    constexpr int pairs = 3000;
    std::cout << "seed " << seed << ", " << pairs << " pairs\n";
    Random random(seed);
    const std::vector<FaultCase> cases = AllFaultCases();
    for (int pair = 0; pair < pairs; ++pair) {
        const FaultCase& faultCase = cases[static_cast<std::size_t>(
            random.Between(0, static_cast<std::int64_t>(cases.size()) - 1))];
        const Fault first = RandomFault(random);
        const Fault second = RandomFault(random);
        Session session(SettingsOf(faultCase.scene));
        const Outcome found = RunCase(
            session, faultCase,
            [&](Session& armed, const CasePictures&) {
                armed.host().Failing().ForgetCalls();
                Arm(armed, first);
                Arm(armed, second);
            },
            [](Session& armed, const CasePictures&) {
                armed.host().Failing().RestoreAll();
                armed.allocations().GrantAll();
            });
        EXPECT_TRUE(found.sourceIsUnchanged) << "pair " << pair;
        const auto leaves = [&](const Fault& fault) {
            return fault.kind != Fault::Kind::Memory &&
                   (fault.service == Service::REALUnlockObject ||
                    fault.service == Service::REALUnlockPictureDescription ||
                    fault.service == Service::REALUnlockString ||
                    MayLeaveInstance(faultCase, fault.service));
        };
        if (leaves(first) || leaves(second)) WriteOff(session);
    }
}

}  // namespace
}  // namespace contract
