// The lazy look-up of host services.
#include <gtest/gtest.h>

#include "fake_host.h"

namespace zvk {
namespace {

using testing::FakeHost;

double Answer() {
    return 2013.5;
}

// As it is before any test makes itself the host.
const REALresolver resolverAtStart = gResolver;

TEST(HostService, IsNotFoundBeforeAHostHasLoadedThePlugin) {
    EXPECT_EQ(resolverAtStart("REALGetRBVersion"), nullptr);
}

TEST(HostService, IsLookedUpOnFirstUseAndThenRemembered) {
    FakeHost host;
    host.Offer("REALGetRBVersion", Answer);
    EXPECT_EQ(host.LookUps("REALGetRBVersion"), 0);
    EXPECT_EQ(REALGetRBVersion(), 2013.5);
    EXPECT_EQ(REALGetRBVersion(), 2013.5);
    EXPECT_EQ(host.LookUps("REALGetRBVersion"), 1);
}

TEST(HostService, ThatIsMissingIsAskedForAgainAndFoundWhenTheHostHasIt) {
    FakeHost host;
    EXPECT_EQ(REALGetRBVersion(), 0.0);
    EXPECT_EQ(REALGetRBVersion(), 0.0);
    EXPECT_EQ(host.LookUps("REALGetRBVersion"), 2);
    host.Offer("REALGetRBVersion", Answer);
    EXPECT_EQ(REALGetRBVersion(), 2013.5);
}

TEST(HostService, ThatIsMissingGivesNullOrFalseAndLeavesOutputsUntouched) {
    const FakeHost host;
    REALpictureStruct picture;
    REALinteger value = 42;
    EXPECT_EQ(REALNewPicture(1, 1, 32), nullptr);
    EXPECT_EQ(REALGetPropValueInteger(&picture, "Width", &value), 0);
    EXPECT_EQ(value, 42);
    REALUnlockObject(&picture);
    REALYieldToRB();
}

}  // namespace
}  // namespace zvk
