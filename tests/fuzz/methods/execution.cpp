// The call and what is checked after every call, whatever failed in it: locks, references, working
// memory, the bytes behind the rows and the pictures that were only to be read.
#include "tests/fuzz/methods/execution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/fuzz/methods/expectation.h"
#include "tests/fuzz/methods/scene.h"
#include "tests/support/pixels.h"

namespace fuzz {
namespace {

using contract::HostSettings;
using contract::ImageOf;
using workbench::Service;
using Result = Expectation::Result;

// Requests for more working memory than this are refused, as if the machine had no more.
constexpr std::size_t mostWorkingMemory = std::size_t{64} << 20U;

// What the host throws out of a yield; nothing in the plugin can know it.
struct HostIsUnwinding {};

HostSettings SettingsOf(const Case& value) {
    HostSettings settings;
    settings.runtime = value.host.runtime;
    settings.version = value.host.version;
    settings.layout = value.host.layout;
    settings.rowPadding = value.host.rowPadding;
    settings.guardPages = true;
    settings.maximumPictureBytes = maximumPictureBytes;
    for (const Fault& fault : value.faults) {
        if (fault.kind != Fault::Kind::ServiceMissing) continue;
        settings.missingServices.insert(std::string(Info(fault.service).name));
    }
    return settings;
}

void BreakBeforeLoading(const Case& value, Session& session) {
    session.allocations().RefuseAbove(mostWorkingMemory);
    for (const Fault& fault : value.faults) {
        if (fault.kind == Fault::Kind::MemoryRefusedWhileLoading) {
            session.allocations().FailOnly(fault.number % 32 + 1);
        }
    }
}

void Break(const Case& value, Session& session, const Scene& scene) {
    using Kind = Fault::Kind;
    for (const Fault& fault : value.faults) {
        switch (fault.kind) {
            case Kind::ServiceFailsOnce:
                session.host().Failing().FailOnly(fault.service, fault.number % 12 + 1);
                break;
            case Kind::ServiceFailsFrom:
                session.host().Failing().FailFrom(fault.service, fault.number % 12 + 1);
                break;
            case Kind::RefusesLocks:
                scene.receiver->refusesLocks = fault.number % 2 == 0;
                scene.Drawn().refusesLocks = fault.number % 3 != 0;
                if (scene.mask) scene.mask->refusesLocks = fault.number % 5 == 0;
                break;
            case Kind::MemoryRefusedOnce:
                session.allocations().FailOnly(fault.number);
                break;
            case Kind::MemoryRefusedFrom:
                session.allocations().FailFrom(fault.number);
                break;
            case Kind::ServiceMissing:
            case Kind::MemoryRefusedWhileLoading:
                break;
        }
    }
}

// Hosts without these cannot be given things back; and an instance whose constructor is not found
// is left to the host on purpose.
bool MayLeaveThingsBehind(const Case& value) {
    return std::any_of(value.faults.begin(), value.faults.end(), [](const Fault& fault) {
        if (fault.kind > Fault::Kind::ServiceFailsFrom) return false;
        return fault.service == Service::REALUnlockObject ||
               fault.service == Service::REALUnlockPictureDescription ||
               fault.service == Service::REALUnlockString ||
               fault.service == Service::REALLoadObjectMethod;
    });
}

void PlanYields(const Case& value, Session& session, Scene& scene) {
    using Action = YieldPlan::Action;
    constexpr std::uint64_t day = 86'400'000'000'000;
    if (value.yielding.isAtEveryPoint) {
        session.YieldAlways();
    } else {
        session.host().Time().Set(day);
    }
    session.host().OnYield([&, yields = std::uint64_t{0}]() mutable {
        const bool isTurn = ++yields == value.yielding.number;
        switch (value.yielding.action) {
            case Action::Nothing:
                return;
            case Action::CallsMethod:
                session.Scale(scene.bystander.Handle(), 5, 4, true);
                return;
            case Action::ChangesPixels:
                ChangePixels(scene, value.yielding.seed + yields);
                return;
            case Action::LetsGo:
                if (isTurn) scene.LetGo();
                return;
            case Action::Throws:
                if (isTurn) throw HostIsUnwinding{};
                return;
        }
    });
}

struct Outcome {
    bool hasThrown = false;
    bool isDrawn = false;
    Held<Picture> picture;
};

Outcome Call(const Case& value, Session& session, const Scene& scene) {
    const Arguments& arguments = value.arguments;
    const REALpicture self = arguments.nilReceiver ? nullptr : scene.receiver.Handle();
    Outcome outcome;
    switch (value.method) {
        case Method::Scaling:
            outcome.picture = session.Scaling(self, arguments.mode, arguments.width,
                                              arguments.height, arguments.yield);
            break;
        case Method::Scale:
            outcome.picture = session.Scale(self, arguments.width, arguments.height,
                                            arguments.antiAlias, arguments.yield);
            break;
        case Method::ScaleImageAndMask:
            outcome.picture = session.ScaleImageAndMask(self, arguments.width, arguments.height,
                                                        arguments.antiAlias, arguments.yield);
            break;
        case Method::Blur:
            outcome.picture = session.Blur(self, arguments.radius, arguments.yield);
            break;
        case Method::DrawPicture:
            outcome.isDrawn =
                session.DrawPicture(self, arguments.nilPicture ? nullptr : scene.Drawn().Handle(),
                                    arguments.x, arguments.y, arguments.alpha, arguments.yield);
            break;
    }
    return outcome;
}

Outcome CallCatching(const Case& value, Session& session, const Scene& scene) {
    try {
        return Call(value, session, scene);
    } catch (const HostIsUnwinding&) {
        return {.hasThrown = true, .isDrawn = false, .picture = {}};
    }
}

// The pictures as they were before the call.
struct Memory {
    Picture* picture;
    reference::Image image;
    int references;
};

std::vector<Memory> Remember(Session& session, const Scene& scene) {
    std::vector<Memory> memories;
    for (Picture* picture : scene.All()) {
        memories.push_back(
            {picture, ImageOf(*picture), session.host().Books().References(picture->Handle())});
    }
    return memories;
}

void ExpectReadOnly(const Case& value, const Scene& scene, const std::vector<Memory>& memories) {
    const bool mayChange =
        value.yielding.action == YieldPlan::Action::ChangesPixels && value.arguments.yield != 0;
    if (mayChange) return;
    const bool isDrawing = value.method == Method::DrawPicture;
    for (const Memory& memory : memories) {
        if (isDrawing && memory.picture->SharesMemoryWith(*scene.receiver)) continue;
        contract::ExpectPixels(memory.image, *memory.picture, "a picture that is only read");
    }
}

void ExpectGivenBack(Session& session, const std::vector<Memory>& memories,
                     const Outcome& outcome) {
    for (const Memory& memory : memories) {
        const bool isResult = outcome.picture.Handle() == memory.picture->Handle();
        EXPECT_EQ(memory.picture->Locks(), 0);
        EXPECT_EQ(session.host().Books().References(memory.picture->Handle()),
                  memory.references + (isResult ? 1 : 0));
        EXPECT_TRUE(memory.picture->PaddingIsIntact());
    }
}

void ExpectNewPicture(const Expectation& expected, const Outcome& outcome, const Scene& scene) {
    ASSERT_TRUE(outcome.picture);
    ASSERT_NE(outcome.picture.Handle(), scene.receiver.Handle());
    EXPECT_EQ(outcome.picture->HasAlphaChannel(), expected.alphaChannel);
    contract::ExpectPixels(*expected.pixels, *outcome.picture, "the result");
    const Picture* mask = outcome.picture->Mask();
    ASSERT_EQ(mask != nullptr, expected.mask.has_value());
    if (mask != nullptr) contract::ExpectPixels(*expected.mask, *mask, "the result's mask");
}

void ExpectNilException(Session& session, const Case& value, const Outcome& outcome) {
    EXPECT_FALSE(outcome.isDrawn);
    const auto exception = session.host().TakeException();
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception->className, "NilObjectException");
    EXPECT_EQ(exception->MessageUtf8(),
              value.arguments.nilReceiver ? "source is nil" : "picture is nil");
}

void ExpectResult(Session& session, const Case& value, const Scene& scene,
                  const Expectation& expected, const Outcome& outcome) {
    switch (expected.result) {
        case Result::Unknown:
            return;
        case Result::Nil:
            EXPECT_FALSE(outcome.picture);
            return;
        case Result::Receiver:
            EXPECT_EQ(outcome.picture.Handle(), scene.receiver.Handle());
            return;
        case Result::NewPicture:
            ExpectNewPicture(expected, outcome, scene);
            return;
        case Result::Drawn:
            EXPECT_TRUE(outcome.isDrawn);
            contract::ExpectPixels(*expected.pixels, scene.memory ? *scene.memory : *scene.receiver,
                                   "the picture drawn onto");
            return;
        case Result::Exception:
            ExpectNilException(session, value, outcome);
            return;
    }
}

void ExpectYields(Session& session, const Case& value, const Expectation& expected) {
    const std::uint64_t yields = session.Yields();
    if (value.arguments.yield == 0) {
        EXPECT_EQ(yields, 0U);
        return;
    }
    const bool yieldsAlways = value.arguments.yield == std::numeric_limits<std::int64_t>::min() &&
                              value.yielding.action != YieldPlan::Action::CallsMethod;
    if (yieldsAlways && expected.yieldPoints) {
        EXPECT_EQ(yields, *expected.yieldPoints);
    }
}

// A host that cannot count a reference more is given the receiver without one.
void TakeReferenceFor(Session& session, const Case& value, const std::vector<Memory>& memories,
                      Outcome& outcome) {
    for (const Memory& memory : memories) {
        if (outcome.picture.Handle() != memory.picture->Handle() || value.faults.empty()) continue;
        const int references = session.host().Books().References(memory.picture->Handle());
        if (references == memory.references) outcome.picture.Release();
    }
}

void ForgetLeftovers(Session& session, Scene& scene, Outcome& outcome) {
    outcome.picture.Reset();
    scene.LetGo();
    scene.memory.Reset();
    scene.bystander.Reset();
    session.host().WriteOffLeftovers();
    session.host().Books().TakeErrors();
}

void TakeExceptions(Session& session) {
    while (session.host().TakeException()) {
    }
}

bool HasAllMethods(Session& session, const Case& value) {
    constexpr std::size_t methodCount = 5;
    if (session.host().Methods().size() == methodCount) return true;
    EXPECT_FALSE(value.faults.empty()) << "methods are missing";
    return false;
}

}  // namespace

void Execute(const Case& value, LoadedBuild& build) {
    Session session(build.Fresh(), SettingsOf(value),
                    [&](Session& each) { BreakBeforeLoading(value, each); });
    if (!HasAllMethods(session, value)) return;
    Scene scene = MakeScene(session, value);
    const bool isPredictable = IsPredictable(value);
    const Expectation expected = isPredictable ? Expect(session, value, scene) : Expectation{};
    const std::vector<Memory> memories = Remember(session, scene);
    const std::size_t blocks = session.allocations().LiveBlocks();
    Break(value, session, scene);
    PlanYields(value, session, scene);

    Outcome outcome = CallCatching(value, session, scene);

    session.host().OnYield(nullptr);
    session.host().Failing().RestoreAll();
    EXPECT_EQ(session.allocations().LiveBlocks(), blocks);
    if (outcome.picture) {
        EXPECT_TRUE(outcome.picture->PaddingIsIntact());
    }
    const bool hasLetGo = !scene.receiver;
    if (!hasLetGo) {
        TakeReferenceFor(session, value, memories, outcome);
        ExpectReadOnly(value, scene, memories);
        if (!MayLeaveThingsBehind(value)) ExpectGivenBack(session, memories, outcome);
    }
    if (session.allocations().Refused() == 0 && isPredictable) {
        ExpectResult(session, value, scene, expected, outcome);
        ExpectYields(session, value, expected);
    }
    TakeExceptions(session);
    if (MayLeaveThingsBehind(value)) ForgetLeftovers(session, scene, outcome);
}

}  // namespace fuzz
