// Smooth enlargement, reached through ScaleZVK with anti-aliasing, byte for byte against the
// reference, and what the host can see of its four byte passes.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/fast_scaling.h"
#include "tests/reference/image.h"
#include "tests/reference/smooth_enlargement.h"
#include "tests/support/layouts.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

constexpr bool antiAlias = true;

void ExpectEnlarged(Session& session, const Picture& source, Size to, int format,
                    const std::string& parameters) {
    const reference::Image before = ImageOf(source);
    const auto result = session.Scale(source.Handle(), to.width, to.height, antiAlias);
    ASSERT_TRUE(result) << parameters;
    ExpectPixels(reference::EnlargeSmoothly(before, to.width, to.height, format), *result,
                 parameters);
    ExpectPixels(before, source, parameters + ", the source afterwards");
}

void ExpectEnlargedFromRandom(const Layouts& layouts, Size from, Size to, std::uint64_t seed) {
    Session session(GuardedHost(layouts));
    const auto source = session.Create(SourceOptions(layouts, from));
    Random random(seed);
    FillRandomly(*source, random);
    ExpectEnlarged(session, *source, to, layouts.destination,
                   Describe(layouts, from, to, "seed " + std::to_string(seed)));
}

class EnlargementBetweenLayouts : public ::testing::TestWithParam<Layouts> {};

// Bytes keep their places whatever the layouts are.
TEST_P(EnlargementBetweenLayouts, GivesTheReferencesBytes) {
    std::uint64_t seed = 40;
    for (const auto& [from, to] : std::vector<std::pair<Size, Size>>{
             {{7, 5}, {11, 9}}, {{13, 10}, {14, 11}}, {{2, 3}, {17, 4}}, {{1, 1}, {3, 2}}}) {
        ExpectEnlargedFromRandom(GetParam(), from, to, ++seed);
    }
}

INSTANTIATE_TEST_SUITE_P(SmoothEnlargement, EnlargementBetweenLayouts,
                         ::testing::ValuesIn(AllLayouts()), ::testing::PrintToStringParamName());

TEST(SmoothEnlargement, GivesTheReferencesBytesForEverySmallSize) {
    const Layouts layouts = {4, 1, false};
    Session session(GuardedHost(layouts));
    Random random(41);
    for (int width = 1; width <= 6; ++width) {
        for (int height = 1; height <= 6; ++height) {
            const auto source = session.Create(SourceOptions(layouts, {width, height}));
            FillRandomly(*source, random);
            for (int newWidth = width + 1; newWidth <= 12; ++newWidth) {
                for (int newHeight = height + 1; newHeight <= 12; ++newHeight) {
                    ExpectEnlarged(session, *source, {newWidth, newHeight}, layouts.destination,
                                   Describe(layouts, {width, height}, {newWidth, newHeight}));
                }
            }
        }
    }
}

// Alike along both axes, where no rounding decides a byte, and not, where some do.
TEST(SmoothEnlargement, GivesTheReferencesBytesForWholeFactors) {
    constexpr Size from = {70, 40};
    std::uint64_t seed = 90;
    for (int across = 2; across <= 5; ++across) {
        for (int down = 2; down <= 9; ++down) {
            ExpectEnlargedFromRandom({1, 1, false}, from, {from.width * across, from.height * down},
                                     ++seed);
        }
        ExpectEnlargedFromRandom({1, 1, false}, from, {from.width * across, 101}, ++seed);
    }
}

TEST(SmoothEnlargement, GivesTheReferencesBytesForLargeAndExtremeSizes) {
    std::uint64_t seed = 50;
    for (const auto& [from, to] : std::vector<std::pair<Size, Size>>{{{640, 480}, {901, 701}},
                                                                     {{511, 3}, {512, 1000}},
                                                                     {{1, 1}, {32767, 2}},
                                                                     {{3, 1}, {4, 32767}},
                                                                     {{1000, 2}, {1999, 3}}}) {
        ExpectEnlargedFromRandom({2, 2, false}, from, to, ++seed);
        ExpectEnlargedFromRandom({8, 8, false}, from, to, ++seed);
    }
}

TEST(SmoothEnlargement, GivesTheReferencesBytesForRandomCases) {
    const std::vector<Layouts> layouts = AllLayouts();
    for (std::uint64_t seed = 800; seed < 950; ++seed) {
        Random random(seed);
        const auto side = [&] { return static_cast<int>(random.Between(1, 60)); };
        const auto layout = random.Between(0, static_cast<std::int64_t>(layouts.size()) - 1);
        const Size from = {side(), side()};
        ExpectEnlargedFromRandom(layouts[static_cast<std::size_t>(layout)], from,
                                 {from.width + side(), from.height + side()}, seed);
    }
}

TEST(SmoothEnlargement, RepeatsASinglePixel) {
    for (const Layouts layouts : {Layouts{3, 3, false}, {2, 2, true}, {8, 8, false}}) {
        Session session(GuardedHost(layouts));
        const auto source = session.Create(SourceOptions(layouts, {1, 1}));
        source->SetWord(0, 0, 0x40FE0380);
        const auto result = session.Scale(source.Handle(), 2, 2, antiAlias);
        ASSERT_TRUE(result);
        EXPECT_EQ(ImageOf(*result).words, std::vector<std::uint32_t>(4, 0x40FE0380));
    }
}

TEST(SmoothEnlargement, BlendsHalfWayBetweenTwoPixels) {
    Session session(Desktop());
    const auto source = session.Create(2, 1);
    source->SetWord(0, 0, 0x00000000);
    source->SetWord(1, 0, 0xFFFFFFFF);
    const auto result = session.Scale(source.Handle(), 4, 2, antiAlias);
    ASSERT_TRUE(result);
    for (int y = 0; y < 2; ++y) {
        EXPECT_EQ(result->Word(0, y), 0x00000000U);
        EXPECT_EQ(result->Word(1, y), 0x80808080U);
        EXPECT_EQ(result->Word(2, y), 0xFFFFFFFFU);
        EXPECT_EQ(result->Word(3, y), 0xFFFFFFFFU);
    }
}

TEST(SmoothEnlargement, InterpolatesAlphaLikeColourSoThatItStaysPremultiplied) {
    Session session(Desktop());
    PictureOptions options = Sized(3, 2);
    options.alphaChannel = true;
    const auto source = session.Create(options);
    source->Fill(workbench::transparent);
    source->Put(1, 0, {255, 255, 255, 255});
    source->Put(2, 1, {255, 255, 255, 128});
    const auto result = session.Scale(source.Handle(), 7, 5, antiAlias);
    ASSERT_TRUE(result);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 7; ++x) {
            const std::uint32_t word = result->Word(x, y);
            EXPECT_EQ(word & 0xFFU, word >> 24U) << "white: every byte is the alpha";
        }
    }
}

TEST(SmoothEnlargement, KeepsTheConsolesTransparencyWithinSevenBits) {
    Session session(Console());
    const auto source = session.Create(4, 4);
    Random random(61);
    FillRandomly(*source, random);
    source->SetWord(1, 1, 0x7FFFFFFF);
    const auto result = session.Scale(source.Handle(), 9, 9, antiAlias);
    ASSERT_TRUE(result);
    for (const std::uint32_t word : ImageOf(*result).words)
        EXPECT_LE(word >> 24U, 127U);
}

TEST(SmoothEnlargement, YieldsThriceAndOncePerRowOfEachBytePass) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        Session session(settings);
        session.YieldAlways();
        const auto source = session.Create(3, 3);
        EXPECT_TRUE(session.Scale(source.Handle(), 4, 5, antiAlias, 1));
        EXPECT_EQ(session.Yields(), 3U + 4U * 5U);
    }
}

// Every byte pass reads the source anew: what the host draws in a yield shows in the bytes and rows
// that are still to come, and in no others.
TEST(SmoothEnlargement, DoesOneRowOfOneByteBetweenTwoYields) {
    constexpr int rows = 4;
    constexpr std::uint64_t yieldsBeforeThePasses = 3;
    for (std::uint64_t change = 1; change <= yieldsBeforeThePasses + 4 * rows; ++change) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(2, 3);
        for (int y = 0; y < 3; ++y)
            source->Row(y)[0] = source->Row(y)[1] = 0x10101010;
        std::uint64_t yields = 0;
        session.host().OnYield([&] {
            if (++yields != change) return;
            for (int y = 0; y < 3; ++y)
                source->Row(y)[0] = source->Row(y)[1] = 0x20202020;
        });
        const auto result = session.Scale(source.Handle(), 3, rows, antiAlias, 1);
        ASSERT_TRUE(result);
        for (int y = 0; y < rows; ++y) {
            std::uint32_t expected = 0;
            for (std::uint64_t byte = 0; byte < 4; ++byte) {
                const std::uint64_t rowsDone = byte * rows + static_cast<std::uint64_t>(y);
                const bool before = yieldsBeforeThePasses + rowsDone < change;
                expected |= (before ? 0x10U : 0x20U) << (8 * byte);
            }
            EXPECT_EQ(result->Word(1, y), expected)
                << "change in yield " << change << ", row " << y;
        }
    }
}

TEST(SmoothEnlargement, LeavesThePictureToFastScalingWhereMemoryIsShort) {
    std::uint64_t request = 1;
    for (bool refused = true; refused; ++request) {
        Session session(GuardedHost({3, 5, false}));
        const auto source = session.Create(SourceOptions({3, 5, false}, {4, 3}));
        Random random(request);
        FillRandomly(*source, random);
        session.allocations().FailOnly(request);
        const auto result = session.Scale(source.Handle(), 9, 8, antiAlias);
        refused = session.allocations().Refused() != 0;
        ASSERT_TRUE(result);
        const reference::Image before = ImageOf(*source);
        ExpectPixels(refused ? reference::ScaleFast(before, 9, 8, 5)
                             : reference::EnlargeSmoothly(before, 9, 8, 5),
                     *result, "request " + std::to_string(request));
    }
    EXPECT_GT(request, 2U) << "smooth enlargement needs memory";
}

TEST(SmoothEnlargement, YieldsNotAtAllBeforeItFindsThatMemoryIsShort) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 3);
    session.allocations().FailFrom(1);
    EXPECT_TRUE(session.Scale(source.Handle(), 4, 5, antiAlias, 1));
    EXPECT_EQ(session.Yields(), 5U + 1U) << "those of fast scaling";
}

// The size that the host reports and the size of the pixels may differ: lines are as long as the
// longer of the two.
TEST(SmoothEnlargement, TakesASourceThatIsLargerThanItsResult) {
    for (const Layouts layouts : {Layouts{1, 1, false}, {8, 8, false}}) {
        Session session(GuardedHost(layouts));
        const auto source = session.Create(SourceOptions(layouts, {90, 70}));
        Random random(71);
        FillRandomly(*source, random);
        source->reportedWidth = 1;
        source->reportedHeight = 1;
        ExpectEnlarged(session, *source, {7, 5}, layouts.destination, "a source that is larger");
    }
}

TEST(SmoothEnlargement, DeclinesASourceWithoutColumnsOrRows) {
    for (const bool withoutColumns : {true, false}) {
        Session session(GuardedHost({1, 1, false}));
        const auto source = session.Create(3, 4);
        (withoutColumns ? source->Context()->width : source->Context()->height) = 0;
        session.KeepTrace();
        EXPECT_TRUE(session.Scale(source.Handle(), 5, 6, antiAlias)) << "made by fast scaling";
        EXPECT_EQ(session.CallsOf(Service::REALNewPicture).size(), 2U) << "one by each";
    }
}

}  // namespace
}  // namespace contract
