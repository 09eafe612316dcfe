// One host at a time, its settings, and its report when it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/workbench/host_services.h"
#include "workbench/host/host.h"

namespace workbench {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(HostLifetime, IsTheCurrentHostWhileItLives) {
    EXPECT_EQ(Host::Current(), nullptr);
    {
        Host host;
        EXPECT_EQ(Host::Current(), &host);
    }
    EXPECT_EQ(Host::Current(), nullptr);
}

TEST(HostLifetime, RefusesASecondHostAndKeepsTheFirst) {
    Host host;
    EXPECT_THROW(Host second, std::logic_error);
    EXPECT_EQ(Host::Current(), &host);
}

TEST(HostLifetime, RefusesSettingsThatMakeNoSense) {
    EXPECT_THROW(Host({.layout = 0}), std::invalid_argument);
    EXPECT_THROW(Host({.layout = 7}), std::invalid_argument);
    EXPECT_THROW(Host({.rowPadding = 2}), std::invalid_argument);
    EXPECT_THROW(Host({.missingServices = {"noSuchService"}}), std::invalid_argument);
    EXPECT_EQ(Host::Current(), nullptr);
}

TEST(HostLifetime, ReportsWhatIsLeftOverWithItsHistory) {
    std::string report;
    {
        Host host({.onUnclean = [&report](const std::string& text) { report = text; }});
        const REALpicture picture = services::REALNewPicture()(4, 3, 32);
        services::REALLockObject()(picture);
    }
    EXPECT_THAT(report, AllOf(HasSubstr("picture 1 is left with 2 references and 0 locks"),
                              HasSubstr("made by newPicture"),
                              HasSubstr("reference added by REALLockObject")));
}

TEST(HostLifetime, ReportsNothingWhenEverythingWasGivenBack) {
    bool reported = false;
    {
        Host host({.onUnclean = [&reported](const std::string&) { reported = true; }});
        const Held<Picture> picture = host.CreatePicture({.width = 2, .height = 2});
        services::REALUnlockObject()(services::REALNewPicture()(4, 3, 32));
    }
    EXPECT_FALSE(reported);
}

TEST(HostLifetimeDeathTest, EndsTheProcessWhenNobodyTakesTheReport) {
    const auto leak = [] {
        Host host;
        services::REALNewPicture()(4, 3, 32);
    };
    EXPECT_DEATH(leak(), "left unclean:\npicture 1 is left with 1 reference");
}

TEST(HostLifetime, ServicesKeptFromAnEarlierHostServeTheNext) {
    auto* newPicture = [] {
        const Host host;
        return services::REALNewPicture();
    }();
    EXPECT_THROW(newPicture(1, 1, 32), std::logic_error);
    Host host;
    const Held<Picture> picture = host.Adopt(newPicture(5, 6, 32));
    EXPECT_EQ(picture->Width(), 5);
}

TEST(HostLifetime, LeftoversCanBeWrittenOff) {
    Host host;
    const Held<Picture> held = host.CreatePicture({});
    services::REALLockPictureDescription();
    REALpictureDescription description{};
    ASSERT_TRUE(services::REALLockPictureDescription()(held.Handle(), &description, 8));
    EXPECT_THAT(host.WriteOffLeftovers(),
                ElementsAre(HasSubstr("picture 1 is left with 1 reference and 1 lock")));
    EXPECT_EQ(held.Get(), nullptr);
    EXPECT_TRUE(host.Books().IsClean());
}

TEST(HostLifetime, SaysWhenItIsServingAndWhenThePluginOrTheProgramRuns) {
    Host host;
    EXPECT_FALSE(Host::IsServing());
    bool inHook = false;
    bool inYield = true;
    host.Failing().SetHook([&inHook](Service) { inHook = Host::IsServing(); });
    host.OnYield([&inYield] { inYield = Host::IsServing(); });
    services::REALYieldToRB()();
    EXPECT_TRUE(inHook);
    EXPECT_FALSE(inYield);
    EXPECT_FALSE(Host::IsServing());
}

TEST(HostLifetime, AYieldMayThrowThroughTheService) {
    Host host;
    host.OnYield([] { throw std::runtime_error("stop"); });
    EXPECT_THROW(services::REALYieldToRB()(), std::runtime_error);
    EXPECT_FALSE(Host::IsServing());
    EXPECT_EQ(host.Calls(Service::REALYieldToRB), 1);
}

}  // namespace
}  // namespace workbench
