// Which pictures the plugin opens, which it refuses, and what it leaves behind, seen through
// ScalingZVK: a refused source gives nil, and one that is opened gives its pixels.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/reference/image.h"
#include "tests/reference/resampler.h"
#include "tests/support/layouts.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int box = 2;

// Scales the picture to its own size with the filter that copies colours exactly.
Held<Picture> CopyByScaling(Session& session, const Picture& picture) {
    return session.Scaling(picture.Handle(), box, picture.Width(), picture.Height());
}

void ExpectRefused(Session& session, const Picture& picture) {
    EXPECT_FALSE(CopyByScaling(session, picture));
    EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U) << "no copy, no result picture";
    EXPECT_EQ(picture.Locks(), 0);
}

std::vector<std::string> KindsLocked(Session& session) {
    std::vector<std::string> kinds;
    for (const std::string& line : session.CallsOf(Service::REALLockPictureDescription)) {
        kinds.emplace_back(line.find(", 10") != std::string::npos ? "console" : "bitmap");
    }
    return kinds;
}

TEST(PictureEditor, RefusesNil) {
    Session session(Desktop());
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(nullptr, box, 2, 2));
    EXPECT_THAT(session.ServicesCalled(), IsEmpty());
}

TEST(PictureEditor, HoldsOneReferenceAndOneLockWhileItReads) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        Session session(settings);
        session.YieldAlways();
        const auto source = session.Create(3, 2);
        bool looked = false;
        session.host().OnYield([&] {
            if (looked) return;
            looked = true;
            EXPECT_EQ(session.host().Books().References(source.Handle()), 2);
            EXPECT_EQ(source->Locks(), 1);
        });
        const auto result = session.Scaling(source.Handle(), box, 3, 2, 1);
        ASSERT_TRUE(result);
        EXPECT_TRUE(looked);
        EXPECT_EQ(session.host().Books().References(source.Handle()), 1);
        EXPECT_EQ(source->Locks(), 0);
        EXPECT_EQ(source->CacheClears(), 0) << "a picture that is only read has not changed";
    }
}

TEST(PictureEditor, KeepsASourceAliveThatTheHostLetsGoInAYield) {
    Session session(Desktop());
    session.YieldAlways();
    auto source = session.Create(3, 2);
    const REALpicture handle = source.Handle();
    session.host().OnYield([&] { source.Reset(); });
    EXPECT_TRUE(session.Scaling(handle, box, 3, 2, 1));
    EXPECT_FALSE(session.host().Books().IsLive(handle));
}

TEST(PictureEditor, HandsOutTheResultUnlockedWithOneReferenceAndAClearedCache) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        Session session(settings);
        const auto source = session.Create(3, 2);
        const auto result = session.Scaling(source.Handle(), box, 3, 2);
        ASSERT_TRUE(result);
        EXPECT_EQ(session.host().Books().References(result.Handle()), 1);
        EXPECT_EQ(result->Locks(), 0);
        EXPECT_EQ(result->CacheClears(), 2) << "when it is handed out and when it is let go";
    }
}

TEST(PictureEditor, ReadsEveryStorageTypeAndWritesNotThoseTheHostKeepsToItself) {
    for (const REALinteger typeCode : {0, 1, 2, 3, 4}) {
        Session session(Desktop());
        auto source = session.Create(3, 2);
        source->typeCode = typeCode;
        EXPECT_TRUE(CopyByScaling(session, *source)) << "type " << typeCode;
    }
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    constexpr std::uint64_t newPicturesTurn = 2;
    session.host().Failing().FailOnly(Service::REALGetPictureType, newPicturesTurn);
    session.KeepTrace();
    EXPECT_FALSE(CopyByScaling(session, *source)) << "the new picture reads as type 0";
    EXPECT_EQ(session.CallsOf(Service::REALLockPictureDescription).size(), 1U) << "the source's";
}

TEST(PictureEditor, RefusesABitmapThatIsNot32BitsDeepAndDoesNotCopyIt) {
    for (const bool alphaChannel : {false, true}) {
        for (const std::size_t bits : {8U, 16U, 24U, 64U}) {
            Session session(Desktop());
            PictureOptions options = Sized(3, 2);
            options.alphaChannel = alphaChannel;
            options.bitsPerPixel = bits;
            const auto source = session.Create(options);
            session.host().Failing().ForgetCalls();
            ExpectRefused(session, *source);
            EXPECT_EQ(session.host().Calls(Service::REALUnlockPictureDescription), 1U);
        }
    }
}

struct RefusedAlphaInfo {
    bool alphaChannel;
    std::uint32_t alphaInfo;
};

class BitmapsWithAnotherAlphaInfo : public ::testing::TestWithParam<RefusedAlphaInfo> {};

// The description stays locked on this road: deliberate, and the host's affair.
TEST_P(BitmapsWithAnotherAlphaInfo, AreRefusedAndStayLocked) {
    Session session(Desktop());
    PictureOptions options = Sized(3, 2);
    options.alphaChannel = GetParam().alphaChannel;
    options.alphaInfo = GetParam().alphaInfo;
    const auto source = session.Create(options);
    EXPECT_FALSE(CopyByScaling(session, *source));
    EXPECT_EQ(session.host().Books().References(source.Handle()), 1);
    ASSERT_EQ(source->Locks(), 1);
    session.UnlockDescription(source.Handle());
}

INSTANTIATE_TEST_SUITE_P(PictureEditor, BitmapsWithAnotherAlphaInfo,
                         ::testing::Values(RefusedAlphaInfo{false, 0}, RefusedAlphaInfo{false, 7},
                                           RefusedAlphaInfo{false, 8}, RefusedAlphaInfo{true, 0},
                                           RefusedAlphaInfo{true, 3}, RefusedAlphaInfo{true, 4},
                                           RefusedAlphaInfo{true, 5}, RefusedAlphaInfo{true, 6},
                                           RefusedAlphaInfo{true, 7}));

TEST(PictureEditor, LooksAtTheLowThreeBitsOfTheAlphaInfo) {
    Session session(Desktop());
    PictureOptions options = Sized(3, 2);
    options.layout = 2;
    options.alphaInfo = 8 + 2;
    const auto source = session.Create(options);
    Random random(1);
    FillRandomly(*source, random);
    const auto result = CopyByScaling(session, *source);
    ASSERT_TRUE(result);
    ExpectPixels(InLayout(ImageOf(*source), 1), *result, "alpha info 10");
}

struct Lie {
    const char* what;
    std::function<void(REALpictureDescription&)> alter;
};

TEST(PictureEditor, RefusesADescriptionThatIsNotWhatItAskedFor) {
    const std::vector<Lie> lies = {
        {"no bitmap context", [](auto& description) { description.handle = nullptr; }},
        {"a console image instead",
         [](auto& description) { description.kind = REALdescriptionKind::ConsoleImage; }},
        {"an unknown kind",
         [](auto& description) { description.kind = static_cast<REALdescriptionKind>(9); }},
    };
    for (const bool alphaChannel : {false, true}) {
        for (const Lie& lie : lies) {
            SCOPED_TRACE(lie.what);
            Session session(Desktop());
            PictureOptions options = Sized(3, 2);
            options.alphaChannel = alphaChannel;
            const auto source = session.Create(options);
            source->alterDescription = lie.alter;
            session.host().Failing().ForgetCalls();
            ExpectRefused(session, *source);
        }
    }
}

TEST(PictureEditor, RefusesABitmapContextWhoseRowsAreNotWhereItSays) {
    const std::vector<std::function<void(workbench::BitmapContext&)>> lies = {
        [](auto& context) { context.data = nullptr; },
        [](auto& context) { context.bytesPerRow = context.width * 4 - 1; },
        [](auto& context) { context.bytesPerRow = 0; },
        [](auto& context) { context.width = std::size_t{1} << 40U; },
        [](auto& context) { context.height = std::size_t{1} << 40U; },
    };
    for (const auto& lie : lies) {
        Session session(Desktop());
        const auto source = session.Create(3, 2);
        lie(*source->Context());
        session.host().Failing().ForgetCalls();
        EXPECT_FALSE(session.Scaling(source.Handle(), box, 3, 2));
        EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
        EXPECT_EQ(source->Locks(), 0);
    }
}

TEST(PictureEditor, AnEmptyBitmapContextGivesNilOrBlackButTouchesNothing) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    source->Context()->height = 0;
    EXPECT_FALSE(session.Scaling(source.Handle(), box, 3, 2)) << "no rows, no image between passes";

    source->Context()->height = 2;
    source->Context()->width = 0;
    const auto result = session.Scaling(source.Handle(), box, 2, 1);
    ASSERT_TRUE(result) << "rows of no columns weigh nothing";
    EXPECT_EQ(ImageOf(*result).words, (std::vector<std::uint32_t>{0xFF000000, 0xFF000000}));
}

TEST(PictureEditor, RefusesConsoleImagesThatAreNotTruecolor) {
    Session session(Console());
    PictureOptions options = Sized(3, 2);
    options.palette = true;
    const auto source = session.Create(options);
    session.host().Failing().ForgetCalls();
    ExpectRefused(session, *source);
    EXPECT_EQ(session.host().Calls(Service::REALUnlockPictureDescription), 1U);
}

TEST(PictureEditor, RefusesConsoleImagesWithoutRows) {
    static REALconsoleImage image;
    static int* noRows[2] = {nullptr, nullptr};
    static unsigned char* indices[2] = {nullptr, nullptr};
    const std::vector<Lie> lies = {
        {"no image", [](auto& description) { description.handle = nullptr; }},
        {"a bitmap context instead",
         [](auto& description) { description.kind = REALdescriptionKind::BitmapContext; }},
        {"no row table",
         [](auto& description) {
             image = {};
             image.trueColor = 1;
             description.handle = &image;
         }},
        {"a row table that is empty",
         [](auto& description) {
             image = {};
             image.trueColor = 1;
             image.tpixels = static_cast<int**>(noRows);
             description.handle = &image;
         }},
        {"no truecolor flag",
         [](auto& description) {
             image = *static_cast<REALconsoleImage*>(description.handle);
             image.trueColor = 0;
             description.handle = &image;
         }},
        {"palette rows beside the truecolor ones",
         [](auto& description) {
             image = *static_cast<REALconsoleImage*>(description.handle);
             image.pixels = static_cast<unsigned char**>(indices);
             description.handle = &image;
         }},
        {"a height of 0", [](auto& description) { description.height = 0; }},
        {"a negative height", [](auto& description) { description.height = -2; }},
        {"a negative width", [](auto& description) { description.width = -3; }},
        {"more rows than the image has", [](auto& description) { description.height = 3; }},
        {"more columns than the image has", [](auto& description) { description.width = 4; }},
    };
    for (const Lie& lie : lies) {
        SCOPED_TRACE(lie.what);
        HostSettings settings = Console();
        settings.guardPages = true;
        Session session(settings);
        const auto source = session.Create(3, 2);
        source->alterDescription = lie.alter;
        session.host().Failing().ForgetCalls();
        EXPECT_FALSE(session.Scaling(source.Handle(), box, 3, 2));
        EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
        EXPECT_EQ(source->Locks(), 0);
    }
}

// A picture that the host does not lock as a bitmap context is drawn into one that it does.

struct CopiedPicture {
    int sourceLayout;
    int hostLayout;
};

class CopiesOfUnlockablePictures : public ::testing::TestWithParam<CopiedPicture> {};

TEST_P(CopiesOfUnlockablePictures, HaveThePixelsOfTheSourceDrawnWithoutItsMask) {
    Session session(Desktop(GetParam().hostLayout));
    PictureOptions options = Sized(7, 5);
    options.layout = GetParam().sourceLayout;
    const auto source = session.Create(options);
    Random random(7);
    FillRandomlyOpaque(*source, random);
    const auto mask = session.Create(7, 5);
    mask->Fill(workbench::white);
    session.host().SetMask(*source, &*mask);
    source->refusesLocks = true;

    const auto result = session.Scaling(source.Handle(), 3, 9, 4);
    ASSERT_TRUE(result);
    ExpectPixels(reference::Resample(ImageOf(*source), 3, 9, 4, GetParam().hostLayout), *result,
                 "a copied source");
    ASSERT_NE(source->Mask(), nullptr) << "the mask is back in place";
    EXPECT_EQ(source->Mask()->Handle(), mask.Handle());
    EXPECT_EQ(session.host().Books().References(mask.Handle()), 2) << "the test's and the source's";
}

INSTANTIATE_TEST_SUITE_P(PictureEditor, CopiesOfUnlockablePictures,
                         ::testing::Values(CopiedPicture{1, 1}, CopiedPicture{2, 1},
                                           CopiedPicture{3, 2}, CopiedPicture{4, 5},
                                           CopiedPicture{5, 6}, CopiedPicture{6, 3},
                                           CopiedPicture{1, 4}));

TEST(PictureEditor, GivesNoMaskToASourceThatItCopiesAndThatHasNone) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    source->refusesLocks = true;
    session.KeepTrace();
    EXPECT_TRUE(CopyByScaling(session, *source));
    EXPECT_EQ(source->Mask(), nullptr);
    EXPECT_THAT(session.CallsOf(Service::REALGetPictureMask), ElementsAre(HasSubstr("false")));
}

TEST(PictureEditor, CopiesAPictureWithItsMaskWhereTheHostCannotTakeItOff) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    const auto mask = session.Create(3, 2);
    session.host().SetMask(*source, &*mask);
    source->refusesLocks = true;
    session.host().Failing().FailFrom(Service::REALLoadObjectMethod, 1);
    EXPECT_TRUE(CopyByScaling(session, *source));
    EXPECT_EQ(source->Mask()->Handle(), mask.Handle());
}

TEST(PictureEditor, CopiesInTheOrderThatKeepsTheMaskSafe) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    const auto mask = session.Create(3, 2);
    session.host().SetMask(*source, &*mask);
    source->refusesLocks = true;
    session.KeepTrace();
    EXPECT_TRUE(CopyByScaling(session, *source));
    std::vector<std::string> called = session.ServicesCalled();
    // Up to the attach of the copy.
    called.resize(20);
    EXPECT_THAT(
        called,
        ElementsAre("pluginObjectType", "pluginObjectType", "pluginObjectType",
                    "PluginPictureGetType", "REALGetPropValueBool", "REALLockPictureDescription",
                    "REALGetPropValueInteger", "REALGetPropValueInteger", "REALGetPropValueBool",
                    "REALGetPictureMask", "REALLoadObjectMethod", "Picture.Mask", "newPicture",
                    "pluginPictureGraphicsGetter", "REALLoadObjectMethod", "Graphics.DrawPicture",
                    "REALUnlockObject", "REALLoadObjectMethod", "Picture.Mask",
                    "REALUnlockObject"));
}

TEST(PictureEditor, PutsTheMaskBackWhenNoCopyCanBeMade) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    const auto mask = session.Create(3, 2);
    session.host().SetMask(*source, &*mask);
    source->refusesLocks = true;
    session.host().Failing().FailFrom(Service::REALNewPicture, 1);
    EXPECT_FALSE(CopyByScaling(session, *source));
    ASSERT_NE(source->Mask(), nullptr);
    EXPECT_EQ(source->Mask()->Handle(), mask.Handle());
}

TEST(PictureEditor, CopiesNoPictureWithAnAlphaChannel) {
    Session session(Desktop());
    PictureOptions options = Sized(3, 2);
    options.alphaChannel = true;
    const auto source = session.Create(options);
    source->refusesLocks = true;
    session.host().Failing().ForgetCalls();
    ExpectRefused(session, *source);
}

// Whether there is an alpha channel is asked once more before the copy is made, and that answer
// counts for the copy.
TEST(PictureEditor, CopiesWithAnAlphaChannelWhereTheHostTellsOfItOnlyNow) {
    Session session(Desktop());
    PictureOptions options = Sized(5, 4);
    options.alphaChannel = true;
    const auto source = session.Create(options);
    source->Fill(workbench::Grey(90));
    source->refusesLocks = true;
    session.host().Failing().FailOnly(Service::REALGetPropValueBoolean, 1);
    const auto result = CopyByScaling(session, *source);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->HasAlphaChannel());
    EXPECT_EQ(result->At(2, 2), source->At(2, 2));
}

TEST(PictureEditor, CopiesNothingWithAnAlphaChannelThatTheHostCannotMake) {
    for (const Service missing : {Service::REALnewInstance, Service::REALLoadObjectMethod}) {
        Session session(Desktop());
        PictureOptions options = Sized(5, 4);
        options.alphaChannel = true;
        const auto source = session.Create(options);
        source->refusesLocks = true;
        session.host().Failing().FailOnly(Service::REALGetPropValueBoolean, 1);
        session.host().Failing().FailFrom(missing, 1);
        EXPECT_FALSE(CopyByScaling(session, *source));
    }
}

TEST(PictureEditor, CopiesNothingWithAnAlphaChannelOnHostsBeforeThereWereAny) {
    HostSettings settings = Desktop();
    settings.version = 2011.03;
    Session session(settings);
    PictureOptions options = Sized(5, 4);
    options.alphaChannel = true;
    const auto source = session.Create(options);
    source->refusesLocks = true;
    session.host().Failing().FailOnly(Service::REALGetPropValueBoolean, 1);
    EXPECT_FALSE(CopyByScaling(session, *source));
    EXPECT_EQ(session.host().Calls(Service::REALnewInstance), 0U);
}

TEST(PictureEditor, MakesNoCopyOfAPictureOfNoSize) {
    for (const auto side : {&Picture::reportedWidth, &Picture::reportedHeight}) {
        for (const REALinteger size : {0, -1}) {
            Session session(Desktop());
            const auto source = session.Create(3, 2);
            source->refusesLocks = true;
            (*source).*side = size;
            session.host().Failing().ForgetCalls();
            ExpectRefused(session, *source);
        }
    }
}

TEST(PictureEditor, GivesUpWhereTheCopyCannotBeLockedEither) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALLockPictureDescription"};
    Session session(settings);
    const auto source = session.Create(3, 2);
    EXPECT_FALSE(CopyByScaling(session, *source));
    EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 1U) << "one copy, and no copy of it";
}

// Which kind of description is asked for.

TEST(PictureEditor, AsksForTheApplicationClassesOnce) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    session.KeepTrace();
    EXPECT_TRUE(CopyByScaling(session, *source));
    EXPECT_TRUE(CopyByScaling(session, *source));
    EXPECT_THAT(session.CallsOf(Service::REALGetClassRef),
                ElementsAre(HasSubstr("\"Application\""), HasSubstr("\"WebApplication\""),
                            HasSubstr("\"ConsoleApplication\"")));
}

TEST(PictureEditor, TriesOnlyBitmapContextsOnTheDesktop) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    source->refusesLocks = true;
    session.host().Failing().FailFrom(Service::REALNewPicture, 1);
    session.KeepTrace();
    EXPECT_FALSE(CopyByScaling(session, *source));
    EXPECT_THAT(KindsLocked(session), ElementsAre("bitmap"));
}

TEST(PictureEditor, TriesOnlyConsoleImagesOnTheConsoleAndCopiesNothing) {
    Session session(Console());
    const auto source = session.Create(3, 2);
    source->refusesLocks = true;
    session.KeepTrace();
    ExpectRefused(session, *source);
    EXPECT_THAT(KindsLocked(session), ElementsAre("console"));
}

struct ApplicationClasses {
    std::set<std::string> classes;
    std::vector<std::string> kinds;  // of the source's and the result's descriptions
    Runtime runtime;
};

class RuntimeKinds : public ::testing::TestWithParam<ApplicationClasses> {};

TEST_P(RuntimeKinds, FollowTheApplicationClasses) {
    HostSettings settings;
    settings.runtime = GetParam().runtime;
    settings.applicationClasses = GetParam().classes;
    Session session(settings);
    const auto source = session.Create(3, 2);
    session.KeepTrace();
    EXPECT_TRUE(CopyByScaling(session, *source));
    EXPECT_EQ(KindsLocked(session), GetParam().kinds);
}

using Kinds = std::vector<std::string>;

INSTANTIATE_TEST_SUITE_P(
    PictureEditor, RuntimeKinds,
    ::testing::Values(
        ApplicationClasses{{"Application"}, Kinds{"bitmap", "bitmap"}, Runtime::Desktop},
        ApplicationClasses{
            {"Application", "ConsoleApplication"}, Kinds{"bitmap", "bitmap"}, Runtime::Desktop},
        ApplicationClasses{{"ConsoleApplication"}, Kinds{"console", "console"}, Runtime::Console},
        ApplicationClasses{{"WebApplication"}, Kinds{"console", "console"}, Runtime::Console},
        ApplicationClasses{{"ConsoleApplication", "WebApplication"},
                           Kinds{"console", "console"},
                           Runtime::Console},
        // Without any class the first lock that succeeds decides: at once on the desktop; on the
        // console after a copy was made, whose pixels can only be had as a console image.
        ApplicationClasses{{}, Kinds{"bitmap", "bitmap"}, Runtime::Desktop},
        ApplicationClasses{{}, Kinds{"bitmap", "bitmap", "console", "console"}, Runtime::Console}));

TEST(PictureEditor, StaysWithTheKindThatWorkedFirst) {
    HostSettings settings = Console();
    settings.applicationClasses = std::set<std::string>{};
    Session session(settings);
    const auto source = session.Create(3, 2);
    EXPECT_TRUE(CopyByScaling(session, *source));
    session.KeepTrace();
    EXPECT_TRUE(CopyByScaling(session, *source));
    EXPECT_THAT(KindsLocked(session), ElementsAre("console", "console"));
    EXPECT_THAT(session.CallsOf(Service::REALGetClassRef), IsEmpty());
}

}  // namespace
}  // namespace contract
