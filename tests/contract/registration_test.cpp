// What the plugin registers on hosts of every age, in which order it asks for things, and what it
// does where it cannot register.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;
using workbench::RegisteredMethod;

const std::vector<std::string> extensionDeclarations = {
    "DrawPictureFZVK(pic as picture, x as double, y as double, alpha as double = 1.0, yield as "
    "integer = 0) as boolean",
    "ScaleZVK(width as integer, height as integer, AntiAlias as boolean=false, YieldTicks as "
    "integer=0) as picture",
    "ScaleImageAndMaskZVK(width as integer, height as integer, AntiAlias as boolean=false, "
    "YieldTicks as integer=0) as picture",
    "ScalingZVK(mode as integer, width as integer, height as integer, yield as integer = 0) as "
    "picture",
    "BlurZVK(Radius as double, yield as integer = 0) as picture",
};

const std::vector<std::string> moduleDeclarations = {
    "DrawPictureFZVK(extends ref as Picture, pic as picture, x as double, y as double, alpha as "
    "double = 1.0, yield as integer = 0) as boolean",
    "ScaleZVK(extends ref as Picture, width as integer, height as integer, AntiAlias as "
    "boolean=false, YieldTicks as integer=0) as picture",
    "ScaleImageAndMaskZVK(extends ref as Picture, width as integer, height as integer, AntiAlias "
    "as boolean=false, YieldTicks as integer=0) as picture",
    "ScalingZVK(extends ref as Picture, mode as integer, width as integer, height as integer, "
    "yield as integer = 0) as picture",
    "BlurZVK(extends ref as Picture, Radius as double, yield as integer = 0) as picture",
};

struct HostAge {
    std::optional<double> version;
    std::int32_t interfaceVersion;
    bool byModule;
    std::uint32_t methodFlags;
};

std::ostream& operator<<(std::ostream& stream, const HostAge& age) {
    if (age.version) return stream << *age.version;
    return stream << "no version";
}

HostSettings OfVersion(std::optional<double> version) {
    HostSettings settings;
    settings.version = version;
    return settings;
}

std::vector<std::string> DeclarationsOf(Host& host) {
    std::vector<std::string> declarations;
    for (const RegisteredMethod& method : host.Methods()) {
        declarations.push_back(method.declaration);
    }
    return declarations;
}

class RegistrationOnHost : public ::testing::TestWithParam<HostAge> {};

TEST_P(RegistrationOnHost, TakesTheHostsPathWithItsFlagsAndDeclarations) {
    const HostAge& age = GetParam();
    Session session(OfVersion(age.version));
    Host& host = session.host();

    EXPECT_THAT(host.RegistrationProblems(), IsEmpty());
    EXPECT_EQ(host.Registered().InterfaceVersion(), age.interfaceVersion);
    EXPECT_THAT(DeclarationsOf(host),
                ElementsAreArray(age.byModule ? moduleDeclarations : extensionDeclarations));
    for (const RegisteredMethod& method : host.Methods()) {
        EXPECT_EQ(method.flags, age.methodFlags) << method.declaration;
        EXPECT_EQ(method.fromModule, age.byModule) << method.declaration;
        EXPECT_EQ(method.owner, age.byModule ? "PictureVandrelExtensionZVK" : "Picture");
        EXPECT_NE(method.function, nullptr) << method.declaration;
        EXPECT_EQ(method.setter, nullptr) << method.declaration;
    }
    if (age.byModule) {
        EXPECT_EQ(host.Registered().ClassFlags(), std::nullopt);
    } else {
        EXPECT_EQ(host.Registered().ClassFlags(), age.methodFlags);
    }
}

TEST_P(RegistrationOnHost, AsksForTheVersionThenAnnouncesItselfThenRegisters) {
    const HostAge& age = GetParam();
    Session session(OfVersion(age.version), [](Session& starting) { starting.KeepTrace(); });

    std::vector<std::string> expected = {
        "RegisterPluginVersion",
        age.byModule ? "PluginRegisterModule" : "PluginRegisterClassExtension"};
    if (age.version) expected.insert(expected.begin(), "REALGetRBVersion");
    EXPECT_THAT(session.ServicesCalled(), ElementsAreArray(expected));
}

INSTANTIATE_TEST_SUITE_P(
    Ages, RegistrationOnHost,
    ::testing::Values(HostAge{std::nullopt, 9, false, 0}, HostAge{2010.028, 9, false, 0},
                      HostAge{2010.029, 9, false, 4}, HostAge{2011.0, 9, false, 4},
                      HostAge{2012.0, 10, false, 4}, HostAge{2012.99, 10, false, 4},
                      HostAge{2013.0, 11, true, 0x14}, HostAge{2013.03, 12, true, 0x14},
                      HostAge{2013.04, 13, true, 0x14}, HostAge{2999.0, 13, true, 0x14},
                      HostAge{3000.0, 13, false, 4}));

// The path's own service is missing: nothing is registered and nothing is said.
TEST(Registration, IsSilentWhereTheHostCannotRegister) {
    for (const double version : {2012.0, 2013.0}) {
        HostSettings settings = OfVersion(version);
        settings.missingServices = {"PluginRegisterClassExtension", "PluginRegisterModule"};
        Session session(settings);
        EXPECT_THAT(session.host().Methods(), IsEmpty());
        EXPECT_EQ(session.host().TakeException(), std::nullopt);
    }
}

TEST(Registration, NeverTriesTheOtherPath) {
    for (const double version : {2012.0, 2013.0}) {
        HostSettings settings = OfVersion(version);
        settings.missingServices = {version < 2013.0 ? "PluginRegisterClassExtension"
                                                     : "PluginRegisterModule"};
        Session session(settings);
        EXPECT_THAT(session.host().Methods(), IsEmpty()) << version;
    }
}

TEST(Registration, DoesWithoutAnnouncingTheInterfaceVersion) {
    HostSettings settings = OfVersion(2013.0);
    settings.missingServices = {"RegisterPluginVersion"};
    Session session(settings);
    EXPECT_EQ(DeclarationsOf(session.host()), moduleDeclarations);
}

TEST(Registration, RegistersNoModuleWhenMemoryRunsOutAnywhere) {
    std::uint64_t request = 1;
    for (bool refused = true; refused; ++request) {
        Session session(OfVersion(2013.0),
                        [&](Session& starting) { starting.allocations().FailOnly(request); });
        refused = session.RefusedWhileLoading() != 0;
        if (refused) {
            EXPECT_THAT(session.host().Methods(), IsEmpty()) << "request " << request;
        } else {
            EXPECT_THAT(session.host().Methods(), Not(IsEmpty()));
        }
    }
    EXPECT_GT(request, 7U) << "a record, its entries, its name and five declarations are made";
}

TEST(Registration, NeedsNoMemoryForAClassExtension) {
    Session session(OfVersion(2012.0),
                    [](Session& starting) { starting.allocations().FailFrom(1); });
    EXPECT_EQ(DeclarationsOf(session.host()), extensionDeclarations);
    EXPECT_EQ(session.RefusedWhileLoading(), 0U);
}

}  // namespace
}  // namespace contract
