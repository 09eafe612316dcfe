// Hosts that lack one service each, in both runtimes: what the methods then give, and that nothing
// is lost. The list of services is the host interface's own, so a new one cannot be forgotten.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/blur.h"
#include "tests/reference/fast_scaling.h"
#include "tests/reference/fractional_drawing.h"
#include "tests/reference/image.h"
#include "tests/reference/resampler.h"
#include "tests/reference/smooth_enlargement.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

constexpr int triangle = 1;

enum class Source { Opaque, WithAlphaChannel, Unlockable };

struct Lack {
    Service service;
    Runtime runtime;
    Source source;
};

std::ostream& operator<<(std::ostream& stream, const Lack& lack) {
    stream << workbench::Info(lack.service).wrapper;
    stream << (lack.runtime == Runtime::Desktop ? "OnDesktop" : "OnConsole");
    switch (lack.source) {
        case Source::Opaque:
            return stream << "Opaque";
        case Source::WithAlphaChannel:
            return stream << "WithAlphaChannel";
        case Source::Unlockable:
            return stream << "Unlockable";
    }
    return stream;
}

enum class Outcome { NoMethods, Nil, Done };

// A host of version 2012.0, which registers by class extension.
Outcome ExpectedOutcome(const Lack& lack) {
    const bool copies = lack.source == Source::Unlockable;
    const bool constructs = lack.source == Source::WithAlphaChannel;
    switch (lack.service) {
        case Service::REALRegisterClassExtension:
            return Outcome::NoMethods;
        case Service::REALLockPictureDescription:
        case Service::REALLockObject:
            return Outcome::Nil;
        case Service::REALNewPicture:
            return constructs ? Outcome::Done : Outcome::Nil;
        case Service::REALGetRBVersion:  // It counts as older than pictures with an alpha channel.
        case Service::REALnewInstance:
        case Service::REALLoadObjectMethod:
            return constructs ? Outcome::Nil : Outcome::Done;
        case Service::REALGetPropValueInteger:
            return copies ? Outcome::Nil : Outcome::Done;
        default:
            return Outcome::Done;
    }
}

class WithoutOneService : public ::testing::TestWithParam<Lack> {
  protected:
    HostSettings Settings() const {
        HostSettings settings = GetParam().runtime == Runtime::Desktop ? Desktop() : Console();
        settings.missingServices = {std::string(workbench::Info(GetParam().service).name)};
        return settings;
    }

    Held<Picture> CreateSource(Session& session) const {
        PictureOptions options = Sized(5, 4);
        options.alphaChannel = GetParam().source == Source::WithAlphaChannel;
        auto source = session.Create(options);
        Random random(5);
        FillRandomlyOpaque(*source, random);
        source->refusesLocks = GetParam().source == Source::Unlockable;
        return source;
    }
};

// Services without which references or locks cannot be given back; and an instance that cannot be
// constructed is left to the host on purpose.
bool LeavesThingsBehind(const Lack& lack) {
    return lack.service == Service::REALUnlockObject ||
           lack.service == Service::REALUnlockPictureDescription ||
           (lack.service == Service::REALLoadObjectMethod &&
            lack.source == Source::WithAlphaChannel);
}

TEST_P(WithoutOneService, ScalingGivesWhatItCanAndLosesNothing) {
    const Lack& lack = GetParam();
    Session session(Settings());
    const Outcome outcome = ExpectedOutcome(lack);
    ASSERT_EQ(session.host().Methods().empty(), outcome == Outcome::NoMethods);
    if (outcome == Outcome::NoMethods) return;

    auto source = CreateSource(session);
    auto result = session.Scaling(source.Handle(), triangle, 3, 6, 1);
    EXPECT_EQ(static_cast<bool>(result), outcome == Outcome::Done);
    const bool drawn = lack.service != Service::REALGetPictureGraphics &&
                       lack.service != Service::REALLoadObjectMethod;
    if (result && (drawn || lack.source != Source::Unlockable)) {
        ExpectPixels(reference::Resample(ImageOf(*source), triangle, 3, 6, result->Layout()),
                     *result, ::testing::PrintToString(lack));
    }
    if (LeavesThingsBehind(lack)) {
        EXPECT_FALSE(session.host().Books().Leftovers().empty());
        result.Reset();
        source.Reset();
        session.host().WriteOffLeftovers();
        session.host().Books().TakeErrors();
    }
}

std::vector<Lack> AllLacks() {
    std::vector<Lack> all;
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        all.push_back({info.service, Runtime::Desktop, Source::Opaque});
        all.push_back({info.service, Runtime::Desktop, Source::WithAlphaChannel});
        all.push_back({info.service, Runtime::Desktop, Source::Unlockable});
        all.push_back({info.service, Runtime::Console, Source::Opaque});
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Hosts, WithoutOneService, ::testing::ValuesIn(AllLacks()),
                         ::testing::PrintToStringParamName());

// The other methods, with a source that has a mask.

enum class MethodKind { Fast, Smooth, WithMask, Blur, Draw };

struct MethodLack {
    Service service;
    Runtime runtime;
    MethodKind method;
};

std::ostream& operator<<(std::ostream& stream, const MethodLack& lack) {
    static constexpr std::array names = {"Fast", "Smooth", "WithMask", "Blur", "Draw"};
    stream << workbench::Info(lack.service).wrapper;
    stream << (lack.runtime == Runtime::Desktop ? "OnDesktop" : "OnConsole");
    return stream << names.at(static_cast<std::size_t>(lack.method));
}

Outcome ExpectedOutcome(const MethodLack& lack) {
    switch (lack.service) {
        case Service::REALRegisterClassExtension:
            return Outcome::NoMethods;
        case Service::REALLockPictureDescription:
        case Service::REALLockObject:
            return Outcome::Nil;
        case Service::REALNewPicture:
            return lack.method == MethodKind::Draw ? Outcome::Done : Outcome::Nil;
        default:
            return Outcome::Done;
    }
}

// The result's pixels and, for drawing, those of the picture drawn onto.
reference::Image ExpectedPixels(const MethodLack& lack, const reference::Image& source,
                                const reference::Image& mask, reference::Image self) {
    switch (lack.method) {
        case MethodKind::Smooth:
            return reference::EnlargeSmoothly(source, 9, 8, source.format);
        case MethodKind::Blur:
            return reference::Blur(source, 2, source.format);
        case MethodKind::Draw: {
            reference::Image drawn = source;
            reference::Image through = mask;
            const bool masked = lack.service != Service::REALGetPictureMask;
            const reference::View maskView = reference::ViewOf(through);
            reference::DrawFractionally(reference::ViewOf(self), reference::ViewOf(drawn),
                                        masked ? &maskView : nullptr, 1.5, 0.25, 0.75);
            return self;
        }
        default:
            return reference::ScaleFast(source, 9, 8, source.format);
    }
}

// Draws in place and hands `self` back, so that it can be looked at like a result.
Held<Picture> DrawOnto(Session& session, Held<Picture> self, const Picture& picture) {
    const bool drawn = session.DrawPicture(self.Handle(), picture.Handle(), 1.5, 0.25, 0.75, 1);
    return drawn ? std::move(self) : Held<Picture>();
}

Held<Picture> CallMethod(Session& session, MethodKind method, const Picture& source,
                         Held<Picture> self) {
    switch (method) {
        case MethodKind::Fast:
            return session.Scale(source.Handle(), 9, 8, false, 1);
        case MethodKind::Smooth:
            return session.Scale(source.Handle(), 9, 8, true, 1);
        case MethodKind::WithMask:
            return session.ScaleImageAndMask(source.Handle(), 9, 8, false, 1);
        case MethodKind::Blur:
            return session.Blur(source.Handle(), 2.0, 1);
        case MethodKind::Draw:
            return DrawOnto(session, std::move(self), source);
    }
    return {};
}

class MethodsWithoutOneService : public ::testing::TestWithParam<MethodLack> {};

TEST_P(MethodsWithoutOneService, GiveWhatTheyCanAndLoseNothing) {
    const MethodLack& lack = GetParam();
    HostSettings settings = lack.runtime == Runtime::Desktop ? Desktop() : Console();
    settings.missingServices = {std::string(workbench::Info(lack.service).name)};
    Session session(settings);
    const Outcome outcome = ExpectedOutcome(lack);
    ASSERT_EQ(session.host().Methods().empty(), outcome == Outcome::NoMethods);
    if (outcome == Outcome::NoMethods) return;

    Random random(7);
    auto source = session.Create(6, 5);
    auto mask = session.Create(6, 5);
    auto self = session.Create(11, 9);
    for (Picture* picture : {&*source, &*mask, &*self})
        FillRandomlyOpaque(*picture, random);
    session.host().SetMask(*source, &*mask);
    const reference::Image expected =
        ExpectedPixels(lack, ImageOf(*source), ImageOf(*mask), ImageOf(*self));

    auto result = CallMethod(session, lack.method, *source, std::move(self));
    ASSERT_EQ(static_cast<bool>(result), outcome == Outcome::Done);
    if (result) ExpectPixels(expected, *result, ::testing::PrintToString(lack));
    if (lack.service == Service::REALUnlockObject ||
        lack.service == Service::REALUnlockPictureDescription) {
        result.Reset();
        source.Reset();
        mask.Reset();
        EXPECT_FALSE(session.host().Books().IsClean());
        session.host().WriteOffLeftovers();
        session.host().Books().TakeErrors();
    }
}

std::vector<MethodLack> AllMethodLacks() {
    std::vector<MethodLack> all;
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
            for (const MethodKind method :
                 {MethodKind::Fast, MethodKind::Smooth, MethodKind::WithMask, MethodKind::Blur,
                  MethodKind::Draw}) {
                all.push_back({info.service, runtime, method});
            }
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Hosts, MethodsWithoutOneService, ::testing::ValuesIn(AllMethodLacks()),
                         ::testing::PrintToStringParamName());

TEST(WithoutAnyService, NothingIsRegisteredAndNothingCrashes) {
    HostSettings settings = Desktop();
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        settings.missingServices.insert(std::string(info.name));
    }
    Session session(settings);
    EXPECT_TRUE(session.host().Methods().empty());
}

TEST(WithoutAnyOtherService, EveryCallGivesNil) {
    HostSettings settings = Desktop();
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        if (info.service != Service::REALRegisterClassExtension) {
            settings.missingServices.insert(std::string(info.name));
        }
    }
    Session session(settings);
    const auto source = session.Create(3, 2);
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, 2, 1));
}

}  // namespace
}  // namespace contract
