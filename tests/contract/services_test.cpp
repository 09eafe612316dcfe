// How services are looked up: on first use, again as long as they are missing, and never again once
// they were found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/reference/resampler.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::IsEmpty;

constexpr int triangle = 1;
constexpr std::uint64_t yieldPointsOfOneRow = 8;

TEST(Services, AServiceThatWasMissingIsFoundAsSoonAsItIsThere) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALYieldToRB"};
    Session session(settings);
    session.YieldAlways();
    const auto source = session.Create(2, 1);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 1, 1, 1));
    EXPECT_EQ(session.Yields(), 0U);

    session.host().Failing().Restore(Service::REALYieldToRB);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 1, 1, 1));
    EXPECT_EQ(session.Yields(), yieldPointsOfOneRow);
}

TEST(Services, AServiceThatWasFoundIsNotAskedForAgain) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(2, 1);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 1, 1, 1));
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        session.host().Failing().Remove(info.service);
    }
    session.host().Failing().ForgetCalls();
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 1, 1, 1));
    EXPECT_EQ(session.Yields(), yieldPointsOfOneRow);
}

TEST(Services, NothingIsLookedUpBeforeItIsNeeded) {
    HostSettings settings = Desktop();
    for (const workbench::ServiceInfo& info : workbench::allServices) {
        settings.missingServices.insert(std::string(info.name));
    }
    for (const char* needed :
         {"REALGetRBVersion", "RegisterPluginVersion", "PluginRegisterClassExtension"}) {
        settings.missingServices.erase(needed);
    }
    Session session(settings, [](Session& starting) { starting.KeepTrace(); });
    for (const workbench::TraceEntry& entry : session.host().Tracing().Entries()) {
        EXPECT_FALSE(entry.missing) << entry.name;
    }
}

TEST(Services, WithoutIntegerPropertiesEveryPictureReadsAsEmpty) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALGetPropValueInteger"};
    Session session(settings);
    const auto source = session.Create(3, 2);
    source->refusesLocks = true;
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, 2));
    EXPECT_THAT(session.CallsOf(Service::REALNewPicture), IsEmpty())
        << "an empty picture is not copied";
}

TEST(Services, WithoutReleasingNothingIsReleasedAndNothingFails) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALUnlockObject"};
    Session session(settings);
    auto source = session.Create(3, 2);
    auto result = session.Scaling(source.Handle(), triangle, 2, 2);
    ASSERT_TRUE(result);
    ExpectPixels(reference::Resample(ImageOf(*source), triangle, 2, 2, 1), *result,
                 "a host that releases nothing");
    EXPECT_EQ(session.host().Books().References(source.Handle()), 2);
    EXPECT_EQ(session.host().Books().References(result.Handle()), 3);
    source.Reset();
    result.Reset();
    EXPECT_EQ(session.host().WriteOffLeftovers().size(), 2U);
}

}  // namespace
}  // namespace contract
