// The directory of services: what the resolver finds, and services made to fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/workbench/host_services.h"
#include "workbench/host/host.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(HostDirectory, FindsEveryServiceByItsName) {
    const Host host;
    for (const ServiceInfo& info : allServices) {
        EXPECT_NE(Host::Resolver()(info.name.data()), nullptr) << info.name;
    }
}

TEST(HostDirectory, EveryServiceIsAFunctionOfItsOwn) {
    const Host host;
    std::set<REALfunction> functions;
    for (const ServiceInfo& info : allServices)
        functions.insert(Host::Resolver()(info.name.data()));
    EXPECT_EQ(functions.size(), serviceCount);
}

TEST(HostDirectory, KnowsNoOtherNames) {
    const Host host;
    EXPECT_EQ(Host::Resolver()("REALNewPicture"), nullptr);  // the wrapper, not the service
    EXPECT_EQ(Host::Resolver()(""), nullptr);
    EXPECT_EQ(Host::Resolver()(nullptr), nullptr);
}

TEST(HostDirectory, FindsNothingWithoutAHost) {
    EXPECT_EQ(Host::Resolver()("newPicture"), nullptr);
}

TEST(HostDirectory, LacksTheServicesThatTheSettingsTakeAway) {
    const Host host({.missingServices = {"newPicture", "REALYieldToRB"}});
    EXPECT_EQ(services::REALNewPicture(), nullptr);
    EXPECT_EQ(services::REALYieldToRB(), nullptr);
    EXPECT_NE(services::REALUnlockObject(), nullptr);
}

TEST(HostDirectory, LacksTheVersionServiceWithoutAVersion) {
    const Host host({.version = std::nullopt});
    EXPECT_EQ(services::REALGetRBVersion(), nullptr);
    EXPECT_EQ(host.Version(), 0.0);
}

TEST(HostDirectory, ReportsTheVersionSet) {
    const Host host({.version = 2013.04});
    EXPECT_EQ(services::REALGetRBVersion()(), 2013.04);
}

TEST(HostFaults, RemoveAndRestoreAService) {
    Host host;
    host.Failing().Remove(Service::REALNewPicture);
    EXPECT_EQ(services::REALNewPicture(), nullptr);
    host.Failing().Restore(Service::REALNewPicture);
    EXPECT_NE(services::REALNewPicture(), nullptr);
}

std::vector<bool> SuccessOfFourCalls() {
    std::vector<bool> successes;
    for (int call = 0; call < 4; ++call) {
        const REALpicture picture = services::REALNewPicture()(1, 1, 32);
        successes.push_back(picture != nullptr);
        services::REALUnlockObject()(picture);
    }
    return successes;
}

TEST(HostFaults, FailFromTheGivenCallOn) {
    Host host;
    host.Failing().FailFrom(Service::REALNewPicture, 3);
    EXPECT_THAT(SuccessOfFourCalls(), ElementsAre(true, true, false, false));
}

TEST(HostFaults, FailAtTheGivenCallOnly) {
    Host host;
    host.Failing().FailOnly(Service::REALNewPicture, 2);
    EXPECT_THAT(SuccessOfFourCalls(), ElementsAre(true, false, true, true));
}

TEST(HostFaults, CountCallsAfreshWhenTold) {
    Host host;
    SuccessOfFourCalls();
    EXPECT_EQ(host.Calls(Service::REALNewPicture), 4);
    host.Failing().ForgetCalls();
    EXPECT_EQ(host.Calls(Service::REALNewPicture), 0);
    host.Failing().FailOnly(Service::REALNewPicture, 1);
    EXPECT_THAT(SuccessOfFourCalls(), ElementsAre(false, true, true, true));
}

TEST(HostFaults, AFailedCallDoesNothing) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.width = 7});
    host.Failing().FailFrom(Service::REALGetPropValueInteger, 1);
    REALinteger width = -1;
    EXPECT_FALSE(services::REALGetPropValueInteger()(picture.Handle(), "Width", &width));
    EXPECT_EQ(width, -1);
    host.Failing().FailFrom(Service::REALLockPictureDescription, 1);
    REALpictureDescription description{};
    EXPECT_FALSE(services::REALLockPictureDescription()(picture.Handle(), &description, 8));
    EXPECT_EQ(picture->Locks(), 0);
}

TEST(HostFaults, AServiceWithoutAnAnswerCannotFail) {
    Host host;
    EXPECT_THROW(host.Failing().FailFrom(Service::REALUnlockObject, 1), std::invalid_argument);
    EXPECT_THROW(host.Failing().FailOnly(Service::REALNewPicture, 0), std::invalid_argument);
}

TEST(HostFaults, TheHookSeesEveryCallAndMayThrow) {
    Host host;
    std::vector<Service> seen;
    host.Failing().SetHook([&seen](Service service) {
        seen.push_back(service);
        if (service == Service::REALNewPicture) throw std::runtime_error("no");
    });
    services::REALUnlockObject()(nullptr);
    EXPECT_THROW(services::REALNewPicture()(1, 1, 32), std::runtime_error);
    EXPECT_THAT(seen, ElementsAre(Service::REALUnlockObject, Service::REALNewPicture));
    EXPECT_TRUE(host.Books().IsClean());
}

TEST(HostFaults, RemoveAMethodOfHostObjects) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    constexpr const char* copyMask = "CopyMask as Picture";
    EXPECT_NE(services::REALLoadObjectMethod()(picture.Handle(), copyMask), nullptr);
    host.Failing().RemoveMethod(copyMask);
    EXPECT_EQ(services::REALLoadObjectMethod()(picture.Handle(), copyMask), nullptr);
    host.Failing().RestoreAll();
    EXPECT_NE(services::REALLoadObjectMethod()(picture.Handle(), copyMask), nullptr);
}

std::vector<std::string> Lines(const Trace& trace) {
    std::vector<std::string> lines;
    for (const TraceEntry& entry : trace.Entries())
        lines.push_back(entry.Line());
    return lines;
}

TEST(HostTrace, RecordsCallsWithArgumentsAndResults) {
    Host host;
    host.Tracing().Keep(true);
    const REALpicture picture = services::REALNewPicture()(64, 48, 32);
    REALinteger width = 0;
    services::REALGetPropValueInteger()(picture, "Width", &width);
    REALpictureDescription description{};
    services::REALLockPictureDescription()(picture, &description, 8);
    services::REALUnlockPictureDescription()(picture);
    services::REALUnlockObject()(picture);
    EXPECT_THAT(
        Lines(host.Tracing()),
        ElementsAre("newPicture(64, 48, 32) = picture 1",
                    "REALGetPropValueInteger(picture 1, \"Width\", &) = true -> 64",
                    "REALLockPictureDescription(picture 1, &, 8) = true -> kind 8, 64 by 48",
                    "unlockPictureDescription(picture 1)", "REALUnlockObject(picture 1)"));
}

TEST(HostTrace, ShowsTextByItsLengthAndUnprintableBytesInHex) {
    Host host;
    host.Tracing().Keep(true);
    services::REALUnlockString()(
        services::REALBuildStringWithEncoding()("ab\n\xFFzz", 4, REALencoding::Ascii));
    EXPECT_EQ(host.Tracing().Entries()[0].Line(),
              "REALBuildStringWithEncoding(\"ab\\x0A\\xFF\", 4, 0x600) = string 1");
}

TEST(HostTrace, MarksMissingFailedAndThrowingServices) {
    Host host;
    host.Tracing().Keep(true);
    host.Failing().Remove(Service::REALGetClassRef);
    services::REALGetClassRef();
    host.Failing().FailFrom(Service::REALNewPicture, 1);
    services::REALNewPicture()(1, 1, 32);
    host.OnYield([] { throw std::runtime_error("stop"); });
    EXPECT_THROW(services::REALYieldToRB()(), std::runtime_error);
    EXPECT_THAT(Lines(host.Tracing()),
                ElementsAre("pluginObjectType: the host has no such service",
                            "newPicture(1, 1, 32) = null (failed on purpose)",
                            "REALYieldToRB(), left by an exception"));
}

TEST(HostTrace, RecordsMethodsOfHostObjectsAndNestedCallsFirst) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    auto* copyMask = reinterpret_cast<REALpicture (*)(REALpicture)>(
        services::REALLoadObjectMethod()(picture.Handle(), "CopyMask as Picture"));
    host.Tracing().Keep(true);
    copyMask(picture.Handle());
    host.OnYield([] { services::REALGetRBVersion()(); });
    services::REALYieldToRB()();
    EXPECT_THAT(Lines(host.Tracing()), ElementsAre("Picture.CopyMask(picture 1) = null",
                                                   "REALGetRBVersion() = 2012", "REALYieldToRB()"));
}

TEST(HostTrace, HandsEntriesToTheListenerAndKeepsNoneUnlessTold) {
    Host host;
    std::vector<std::string> heard;
    host.Tracing().SetListener([&heard](const TraceEntry& entry) { heard.push_back(entry.name); });
    services::REALUnlockObject()(nullptr);
    EXPECT_THAT(heard, ElementsAre("REALUnlockObject"));
    EXPECT_THAT(host.Tracing().Entries(), IsEmpty());
}

}  // namespace
}  // namespace workbench
