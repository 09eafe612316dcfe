// What the books say about references, locks and handles that are misused.
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
using testing::IsEmpty;

TEST(HostLedger, CountsReferences) {
    Host host;
    const REALpicture picture = services::REALNewPicture()(2, 2, 32);
    EXPECT_EQ(host.Books().References(picture), 1);
    services::REALLockObject()(picture);
    EXPECT_EQ(host.Books().References(picture), 2);
    services::REALUnlockObject()(picture);
    EXPECT_TRUE(host.Books().IsLive(picture));
    services::REALUnlockObject()(picture);
    EXPECT_FALSE(host.Books().IsLive(picture));
    EXPECT_TRUE(host.Books().IsClean());
}

TEST(HostLedger, ReportsAReleaseTooManyWithTheHistory) {
    Host host;
    const REALpicture picture = services::REALNewPicture()(2, 2, 32);
    services::REALUnlockObject()(picture);
    services::REALUnlockObject()(picture);
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre(AllOf(HasSubstr("REALUnlockObject was given picture 1, which is gone"),
                                  HasSubstr("made by newPicture (1 reference, 0 locks)"),
                                  HasSubstr("released by REALUnlockObject (0 references"))));
}

TEST(HostLedger, EveryServiceThatTakesAPictureSurvivesOneThatIsGone) {
    Host host;
    const REALpicture gone = services::REALNewPicture()(2, 2, 32);
    services::REALUnlockObject()(gone);
    REALinteger integer = 0;
    REALboolean boolean = 0;
    REALpictureDescription description{};
    EXPECT_FALSE(services::REALGetPropValueInteger()(gone, "Width", &integer));
    EXPECT_FALSE(services::REALGetPropValueBoolean()(gone, "HasAlphaChannel", &boolean));
    EXPECT_EQ(services::REALLoadObjectMethod()(gone, "CopyMask as Picture"), nullptr);
    EXPECT_EQ(services::REALGetPictureType()(gone), 0);
    EXPECT_EQ(services::REALGetPictureMask()(gone, 1), nullptr);
    EXPECT_EQ(services::REALGetPictureGraphics()(gone), nullptr);
    EXPECT_FALSE(services::REALLockPictureDescription()(gone, &description, 8));
    services::REALUnlockPictureDescription()(gone);
    services::REALPictureClearCache()(gone);
    services::REALLockObject()(gone);
    EXPECT_EQ(host.Books().TakeErrors().size(), 10);
}

TEST(HostLedger, NullHandlesAreIgnoredWithoutAnError) {
    Host host;
    services::REALLockObject()(nullptr);
    services::REALUnlockObject()(nullptr);
    services::REALUnlockString()(nullptr);
    services::REALUnlockPictureDescription()(nullptr);
    services::REALPictureClearCache()(nullptr);
    EXPECT_EQ(services::REALGetPictureGraphics()(nullptr), nullptr);
    EXPECT_EQ(services::REALGetPictureMask()(nullptr, 1), nullptr);
    EXPECT_TRUE(host.Books().IsClean());
}

TEST(HostLedger, AHandleThatWasNeverGivenOutIsAnError) {
    Host host;
    REALobjectStruct foreign;
    services::REALUnlockObject()(&foreign);
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre("REALUnlockObject was given a handle that the host never gave out"));
}

TEST(HostLedger, AHandleOfTheWrongKindIsAnError) {
    Host host;
    const Held<Text> text = host.CreateText("no picture");
    services::REALGetPictureType()(static_cast<REALpicture>(static_cast<void*>(text.Handle())));
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre(HasSubstr("was given string 1, an object of the wrong kind")));
}

TEST(HostLedger, AHandleIsNotUsedAgainForAnotherObject) {
    Host host;
    const REALpicture first = services::REALNewPicture()(2, 2, 32);
    services::REALUnlockObject()(first);
    const Held<Picture> second = host.CreatePicture({});
    EXPECT_NE(first, second.Handle());
    EXPECT_FALSE(host.Books().IsLive(first));
}

TEST(HostLedgerDeathTest, AHandleIsAnAddressThatNobodyCanRead) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    const auto* bytes = static_cast<const volatile char*>(static_cast<void*>(picture.Handle()));
    EXPECT_DEATH(static_cast<void>(*bytes), "");
}

TEST(HostLedger, CountsLocksTwiceTaken) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    REALpictureDescription description{};
    EXPECT_TRUE(services::REALLockPictureDescription()(picture.Handle(), &description, 8));
    EXPECT_TRUE(services::REALLockPictureDescription()(picture.Handle(), &description, 8));
    EXPECT_EQ(picture->Locks(), 2);
    services::REALUnlockPictureDescription()(picture.Handle());
    services::REALUnlockPictureDescription()(picture.Handle());
    EXPECT_EQ(picture->Locks(), 0);
    EXPECT_THAT(host.Books().Errors(), IsEmpty());
}

TEST(HostLedger, AnUnlockWithoutALockIsAnError) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    services::REALUnlockPictureDescription()(picture.Handle());
    EXPECT_EQ(picture->Locks(), 0);
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre(HasSubstr("unlocked the description of picture 1, which is not")));
}

TEST(HostLedger, APictureThatGoesAwayLockedIsAnError) {
    Host host;
    const REALpicture picture = services::REALNewPicture()(2, 2, 32);
    REALpictureDescription description{};
    services::REALLockPictureDescription()(picture, &description, 8);
    services::REALUnlockObject()(picture);
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre(HasSubstr("picture 1 went away with 1 lock on its description")));
}

TEST(HostLedger, AHeldReferenceThatSomebodyElseReleasedIsNoticed) {
    Host host;
    {
        const Held<Picture> picture = host.CreatePicture({});
        services::REALUnlockObject()(picture.Handle());
        EXPECT_EQ(picture.Get(), nullptr);
        EXPECT_THROW(picture->Width(), std::logic_error);
    }
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre(HasSubstr("the program was given picture 1, which is gone")));
}

TEST(HostLedger, LongHistoriesKeepTheirBeginningAndTheirEnd) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    for (int round = 0; round < 100; ++round) {
        services::REALLockObject()(picture.Handle());
        services::REALUnlockObject()(picture.Handle());
    }
    REALpictureDescription description{};
    services::REALLockPictureDescription()(picture.Handle(), &description, 8);
    const auto leftovers = host.Books().Leftovers();
    ASSERT_EQ(leftovers.size(), 1);
    EXPECT_THAT(leftovers[0], AllOf(HasSubstr("made by the program"), HasSubstr("more events"),
                                    HasSubstr("description locked by REALLockPictureDescription")));
    services::REALUnlockPictureDescription()(picture.Handle());
}

TEST(HostLedger, ReferencesMoveWithHeldValues) {
    Host host;
    Held<Picture> first = host.CreatePicture({});
    const REALpicture handle = first.Handle();
    Held<Picture> second = std::move(first);
    EXPECT_EQ(host.Books().References(handle), 1);
    EXPECT_EQ(second.Handle(), handle);
    EXPECT_EQ(second.Release(), handle);
    EXPECT_FALSE(second);
    EXPECT_EQ(host.Books().References(handle), 1);
    const Held<Picture> third = host.Adopt(handle);
    EXPECT_EQ(third->Width(), 1);
}

TEST(HostLedger, AdoptingSomethingElseGivesAnEmptyReferenceAndAnError) {
    Host host;
    EXPECT_FALSE(host.Adopt(REALpicture{nullptr}));
    EXPECT_TRUE(host.Books().IsClean());
    REALpictureStruct foreign;
    EXPECT_FALSE(host.Adopt(&foreign));
    EXPECT_EQ(host.Books().TakeErrors().size(), 1);
}

}  // namespace
}  // namespace workbench
