// The pictures that the plugin creates for its results, seen through ScalingZVK.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "tests/reference/resampler.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int triangle = 1;

Held<Picture> CreateWithAlphaChannel(Session& session, int width, int height) {
    PictureOptions options = Sized(width, height);
    options.alphaChannel = true;
    return session.Create(options);
}

HostSettings DesktopOfVersion(double version) {
    HostSettings settings = Desktop();
    settings.version = version;
    return settings;
}

TEST(PictureWriter, MakesNoOpaquePictureLongerThan32767) {
    Session session(Desktop());
    const auto source = session.Create(2, 1);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 32767, 1));
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 1, 32767));
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 32768, 1));
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 1, 32768));
    EXPECT_THAT(session.CallsOf(Service::REALNewPicture), IsEmpty());
}

TEST(PictureWriter, TriesAnAlphaChannelPictureOfAnyLength) {
    Session session(Desktop());
    const auto source = CreateWithAlphaChannel(session, 2, 1);
    const auto wide = session.Scaling(source.Handle(), triangle, 32768, 1);
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->Width(), 32768);
    EXPECT_TRUE(wide->HasAlphaChannel());
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 1, 40000));
}

TEST(PictureWriter, RefusesSizesBelowOne) {
    for (const bool alphaChannel : {false, true}) {
        Session session(Desktop());
        PictureOptions options = Sized(2, 2);
        options.alphaChannel = alphaChannel;
        const auto source = session.Create(options);
        for (const std::int64_t size :
             {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
            session.KeepTrace();
            EXPECT_FALSE(session.Scaling(source.Handle(), triangle, size, 1));
            EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 1, size));
            EXPECT_THAT(session.ServicesCalled(), IsEmpty());
        }
    }
}

TEST(PictureWriter, AsksForPicturesOf32Bits) {
    Session session(Desktop());
    const auto source = session.Create(2, 1);
    session.KeepTrace();
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 6, 4));
    EXPECT_THAT(session.CallsOf(Service::REALNewPicture),
                ::testing::ElementsAre(::testing::HasSubstr("newPicture(6, 4, 32)")));
}

TEST(PictureWriter, MakesAlphaChannelPicturesFromTheirFirstHostOn) {
    {
        Session session(DesktopOfVersion(2011.03));
        const auto source = CreateWithAlphaChannel(session, 2, 1);
        session.host().Failing().ForgetCalls();
        EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 3, 2));
        EXPECT_EQ(session.host().Calls(Service::REALnewInstance), 0U);
        EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
    }
    Session session(DesktopOfVersion(2011.04));
    const auto source = CreateWithAlphaChannel(session, 2, 1);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 3, 2));
}

TEST(PictureWriter, GivesNilWithoutAnInstance) {
    Session session(Desktop());
    const auto source = CreateWithAlphaChannel(session, 2, 1);
    session.host().Failing().FailFrom(Service::REALnewInstance, 1);
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 3, 2));
}

// The instance is not given back on this road: deliberate.
TEST(PictureWriter, GivesNilWithoutAConstructorAndLeavesTheInstance) {
    Session session(Desktop());
    auto source = CreateWithAlphaChannel(session, 2, 1);
    session.host().Failing().FailFrom(Service::REALLoadObjectMethod, 1);
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 3, 2));
    source.Reset();
    EXPECT_THAT(session.host().WriteOffLeftovers(), SizeIs(1));
}

TEST(PictureWriter, GivesNilWithoutAPicture) {
    Session session(Desktop());
    const auto source = session.Create(2, 1);
    session.host().Failing().FailFrom(Service::REALNewPicture, 1);
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 3, 2));
}

TEST(PictureWriter, ReleasesANewPictureThatCannotBeLocked) {
    for (const bool alphaChannel : {false, true}) {
        Session session(Desktop());
        PictureOptions options = Sized(2, 1);
        options.alphaChannel = alphaChannel;
        const auto source = session.Create(options);
        constexpr std::uint64_t newPicturesTurn = 2;
        session.host().Failing().FailOnly(Service::REALLockPictureDescription, newPicturesTurn);
        EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 3, 2));
    }
}

}  // namespace
}  // namespace contract
