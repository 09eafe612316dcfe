// Drawing through the host, and the row copy that stands in where the host cannot draw, seen where
// a source that does not lock is copied before it is scaled.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
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

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr int box = 2;
constexpr const char* graphicsService = "pluginPictureGraphicsGetter";

// A host of the console's pictures whose runtime cannot be told in advance: its pictures do not
// lock as bitmap contexts, so they are copied before they are found to be console images.
HostSettings UndecidedConsole() {
    HostSettings settings = Console();
    settings.applicationClasses = std::set<std::string>{};
    return settings;
}

// The services called from the first look for a graphics object to the clearing of a cache.
std::vector<std::string> DrawingCalls(Session& session, const std::string& first) {
    const std::vector<std::string> all = session.ServicesCalled();
    const auto start = std::find(all.begin(), all.end(), first);
    const auto end = std::find(start, all.end(), "REALPictureClearCache");
    return {start, end == all.end() ? end : end + 1};
}

TEST(HostDrawing, DrawsTheWholeSourceIntoTheWholeDestination) {
    Session session(Desktop());
    const auto source = session.Create(5, 3);
    source->refusesLocks = true;
    session.KeepTrace();
    EXPECT_TRUE(session.Scaling(source.Handle(), box, 5, 3));
    std::vector<std::string> drawings;
    for (const workbench::TraceEntry& entry : session.host().Tracing().Entries()) {
        if (entry.name == "Graphics.DrawPicture") drawings.push_back(entry.arguments);
    }
    EXPECT_THAT(drawings, ElementsAre(HasSubstr("0, 0, 5, 3, 0, 0, 5, 3")));
}

TEST(HostDrawing, GivesTheGraphicsObjectBack) {
    Session session(Desktop());
    const auto source = session.Create(5, 3);
    source->refusesLocks = true;
    session.KeepTrace();
    EXPECT_TRUE(session.Scaling(source.Handle(), box, 5, 3));
    std::vector<std::string> calls = DrawingCalls(session, graphicsService);
    calls.resize(4);
    EXPECT_THAT(calls, ElementsAre(graphicsService, "REALLoadObjectMethod", "Graphics.DrawPicture",
                                   "REALUnlockObject"));
}

TEST(HostDrawing, CopiesRowsWhereTheHostHasNoGraphics) {
    HostSettings settings = UndecidedConsole();
    settings.missingServices = {graphicsService};
    Session session(settings);
    const auto source = session.Create(5, 3);
    Random random(5);
    FillRandomly(*source, random);
    session.KeepTrace();
    const auto result = session.Scaling(source.Handle(), box, 4, 6);
    ASSERT_TRUE(result);
    ExpectPixels(reference::Resample(ImageOf(*source), box, 4, 6, 8), *result, "copied by rows");
}

TEST(HostDrawing, LocksTheSourceFirstAndUnlocksItLastWhenItCopiesRows) {
    HostSettings settings = UndecidedConsole();
    settings.missingServices = {graphicsService};
    Session session(settings);
    const auto source = session.Create(5, 3);
    session.KeepTrace();
    EXPECT_TRUE(session.Scaling(source.Handle(), box, 4, 6));
    EXPECT_THAT(DrawingCalls(session, "newPicture"),
                ElementsAre("newPicture", "REALLockPictureDescription",
                            "REALLockPictureDescription", "unlockPictureDescription",
                            "unlockPictureDescription", "REALPictureClearCache"));
    std::vector<std::string> locks = session.CallsOf(Service::REALLockPictureDescription);
    const std::vector<std::string> unlocks = session.CallsOf(Service::REALUnlockPictureDescription);
    const std::string sourceName = session.host().Books().Name(source.Handle());
    EXPECT_THAT(locks.at(1), HasSubstr(sourceName + ","));
    EXPECT_THAT(unlocks.at(1), HasSubstr("(" + sourceName + ")"));
}

TEST(HostDrawing, CopiesRowsWhereTheGraphicsObjectCannotDraw) {
    Session session(UndecidedConsole());
    const auto source = session.Create(5, 3);
    Random random(6);
    FillRandomly(*source, random);
    session.host().Failing().FailFrom(Service::REALLoadObjectMethod, 1);
    const auto result = session.Scaling(source.Handle(), box, 5, 3);
    ASSERT_TRUE(result);
    ExpectPixels(reference::Resample(ImageOf(*source), box, 5, 3, 8), *result, "copied by rows");
}

// The copy is as large as the source says it is, and the source's rows are as they are.
TEST(HostDrawing, CopiesNothingBetweenPicturesOfDifferentSizesAndUnlocksBoth) {
    HostSettings settings = UndecidedConsole();
    settings.missingServices = {graphicsService};
    for (const Size reported : {Size{6, 3}, Size{5, 2}}) {
        Session session(settings);
        const auto source = session.Create(5, 3);
        source->Fill(workbench::black);
        source->reportedWidth = reported.width;
        source->reportedHeight = reported.height;
        const auto result = session.Scaling(source.Handle(), box, reported.width, reported.height);
        ASSERT_TRUE(result);
        EXPECT_THAT(ImageOf(*result).words, Each(0x00FFFFFFU)) << "as the host made the copy";
        EXPECT_EQ(source->Locks(), 0);
    }
}

TEST(HostDrawing, CopiesNothingToAPictureThatIsNoConsoleImage) {
    HostSettings settings = UndecidedConsole();
    settings.missingServices = {graphicsService};
    settings.onNewPicture = [](Picture& picture) {
        picture.alterDescription = [](REALpictureDescription& description) {
            description.handle = nullptr;
        };
    };
    Session session(settings);
    const auto source = session.Create(5, 3);
    source->Fill(workbench::black);
    source->alterDescription = nullptr;  // only the copy is none
    EXPECT_FALSE(session.Scaling(source.Handle(), box, 5, 3));
    EXPECT_EQ(source->Locks(), 0);
}

TEST(HostDrawing, CopiesNothingFromRowsThatAreShorterThanTheirDescription) {
    HostSettings settings = UndecidedConsole();
    settings.missingServices = {graphicsService};
    settings.guardPages = true;
    Session session(settings);
    const auto source = session.Create(5, 3);
    source->Fill(workbench::black);
    source->reportedWidth = 6;
    source->alterDescription = [](REALpictureDescription& description) { description.width = 6; };
    const auto result = session.Scaling(source.Handle(), box, 6, 3);
    ASSERT_TRUE(result);
    EXPECT_THAT(ImageOf(*result).words, Each(0x00FFFFFFU)) << "as the host made the copy";
    EXPECT_EQ(source->Locks(), 0);
}

// On the desktop the row copy finds nothing that it could lock, and leaves the copy as it is made.
TEST(HostDrawing, TriesConsoleDescriptionsWhateverTheRuntime) {
    HostSettings settings = Desktop();
    settings.missingServices = {graphicsService};
    Session session(settings);
    const auto source = session.Create(5, 3);
    source->Fill(workbench::black);
    source->refusesLocks = true;
    session.KeepTrace();
    const auto result = session.Scaling(source.Handle(), box, 5, 3);
    ASSERT_TRUE(result);
    EXPECT_THAT(ImageOf(*result).words, Each(0xFFFFFFFFU));
    std::vector<std::string> locks = session.CallsOf(Service::REALLockPictureDescription);
    locks.resize(3);
    EXPECT_THAT(locks, ElementsAre(HasSubstr(", 8"), HasSubstr(", 10"), HasSubstr(", 10")));
    EXPECT_EQ(session.CallsOf(Service::REALPictureClearCache).size(), 3U)
        << "the copy's once, and the result's twice";
}

TEST(HostDrawing, UnlocksOnlyWhatItLocked) {
    HostSettings settings = UndecidedConsole();
    settings.missingServices = {graphicsService};
    for (const std::uint64_t refusedLock : {2U, 3U}) {
        // The first lock is the attach as a bitmap context; the second the source's and the third
        // the copy's. Either may fail by itself.
        Session session(settings);
        const auto source = session.Create(5, 3);
        source->Fill(workbench::black);
        session.host().Failing().FailOnly(Service::REALLockPictureDescription, refusedLock);
        const auto result = session.Scaling(source.Handle(), box, 5, 3);
        ASSERT_TRUE(result);
        EXPECT_THAT(ImageOf(*result).words, Each(0x00FFFFFFU)) << "lock " << refusedLock;
    }
}

}  // namespace
}  // namespace contract
