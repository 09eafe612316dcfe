// ScalingZVK byte for byte: every mode, every pair of layouts, every kind of size, against the
// reference. Rows have padding and stand against guard pages, so that a step outside is a crash.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/image.h"
#include "tests/reference/resampler.h"
#include "tests/support/layouts.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

constexpr int modeCount = 7;
constexpr int box = 2;
constexpr int lanczos8 = 4;

void ExpectScaled(Session& session, const Picture& source, int mode, Size size, int format,
                  const std::string& parameters) {
    const reference::Image before = ImageOf(source);
    const auto result = session.Scaling(source.Handle(), mode, size.width, size.height);
    ASSERT_TRUE(result) << parameters;
    ExpectPixels(reference::Resample(before, mode, size.width, size.height, format), *result,
                 parameters);
    ExpectPixels(before, source, parameters + ", the source afterwards");
}

std::string ModeAndSeed(int mode, std::uint64_t seed) {
    return "mode " + std::to_string(mode) + ", seed " + std::to_string(seed);
}

void ExpectScaledFromRandom(const Layouts& layouts, int mode, Size from, Size to,
                            std::uint64_t seed) {
    Session session(GuardedHost(layouts));
    const auto source = session.Create(SourceOptions(layouts, from));
    Random random(seed);
    FillRandomly(*source, random);
    ExpectScaled(session, *source, mode, to, layouts.destination,
                 Describe(layouts, from, to, ModeAndSeed(mode, seed)));
}

class ScalingBetweenLayouts : public ::testing::TestWithParam<Layouts> {};

TEST_P(ScalingBetweenLayouts, GivesTheReferencesBytesInEveryMode) {
    std::uint64_t seed = 100;
    for (int mode = 1; mode <= modeCount; ++mode) {
        for (const auto& [from, to] : std::vector<std::pair<Size, Size>>{{{7, 5}, {11, 9}},
                                                                         {{13, 10}, {4, 3}},
                                                                         {{6, 9}, {17, 2}},
                                                                         {{5, 5}, {5, 5}},
                                                                         {{1, 1}, {3, 2}}}) {
            ExpectScaledFromRandom(GetParam(), mode, from, to, ++seed);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scaling, ScalingBetweenLayouts, ::testing::ValuesIn(AllLayouts()),
                         ::testing::PrintToStringParamName());

class ScalingInMode : public ::testing::TestWithParam<int> {};

TEST_P(ScalingInMode, GivesTheReferencesBytesForEverySmallSize) {
    const Layouts layouts = {3, 6, false};
    Session session(GuardedHost(layouts));
    Random random(static_cast<std::uint64_t>(GetParam()));
    for (int width = 1; width <= 5; ++width) {
        for (int height = 1; height <= 5; ++height) {
            const auto source = session.Create(SourceOptions(layouts, {width, height}));
            FillRandomly(*source, random);
            for (int newWidth = 1; newWidth <= 6; ++newWidth) {
                for (int newHeight = 1; newHeight <= 6; ++newHeight) {
                    ExpectScaled(session, *source, GetParam(), {newWidth, newHeight},
                                 layouts.destination,
                                 Describe(layouts, {width, height}, {newWidth, newHeight},
                                          ModeAndSeed(GetParam(), 0)));
                }
            }
        }
    }
}

TEST_P(ScalingInMode, GivesTheReferencesBytesForExtremeRatios) {
    const std::vector<std::pair<Size, Size>> ratios = {
        {{1200, 1}, {1, 1200}}, {{1, 1200}, {1200, 1}},  {{2000, 3}, {1, 1}},
        {{3, 2000}, {1, 1}},    {{1, 1}, {1500, 2}},     {{1, 1}, {2, 1500}},
        {{999, 2}, {1000, 2}},  {{2, 1000}, {2, 999}},   {{2, 2}, {32767, 1}},
        {{640, 480}, {641, 3}}, {{257, 255}, {256, 256}}};
    std::uint64_t seed = 200;
    for (const auto& [from, to] : ratios) {
        ExpectScaledFromRandom({1, 1, false}, GetParam(), from, to, ++seed);
        ExpectScaledFromRandom({8, 8, false}, GetParam(), from, to, ++seed);
    }
}

// Ratios at which lists repeat, are plain means or copies, or meet exact halves.
TEST_P(ScalingInMode, GivesTheReferencesBytesForRatiosOfWholeNumbers) {
    const std::vector<std::pair<Size, Size>> ratios = {
        {{48, 36}, {12, 9}},  {{42, 33}, {14, 11}}, {{26, 22}, {13, 11}}, {{64, 40}, {8, 5}},
        {{11, 9}, {44, 36}},  {{13, 7}, {39, 21}},  {{17, 12}, {34, 24}}, {{45, 30}, {30, 20}},
        {{40, 12}, {40, 36}}, {{12, 40}, {36, 40}}, {{70, 31}, {70, 31}}, {{72, 24}, {12, 4}},
        {{44, 19}, {11, 19}}, {{52, 9}, {26, 27}},  {{19, 44}, {19, 11}}, {{9, 52}, {27, 26}}};
    std::uint64_t seed = 250;
    for (const auto& [from, to] : ratios) {
        ExpectScaledFromRandom({8, 8, false}, GetParam(), from, to, ++seed);
        ExpectScaledFromRandom({2, 5, false}, GetParam(), from, to, ++seed);
    }
}

TEST_P(ScalingInMode, GivesTheReferencesBytesWhereTheWidthIsKept) {
    std::uint64_t seed = 280;
    for (int width = 6; width <= 44; ++width) {
        ExpectScaledFromRandom({8, 8, false}, GetParam(), {width, 6}, {width, 6}, ++seed);
        ExpectScaledFromRandom({2, 5, false}, GetParam(), {width, 6}, {width, 4}, ++seed);
    }
}

TEST_P(ScalingInMode, GivesTheReferencesBytesForRandomCases) {
    constexpr std::uint64_t cases = 40;
    const std::vector<Layouts> layouts = AllLayouts();
    for (std::uint64_t number = 0; number < cases; ++number) {
        const std::uint64_t seed = 1000 * static_cast<std::uint64_t>(GetParam()) + number;
        Random random(seed);
        const auto side = [&](std::int64_t longest) {
            return static_cast<int>(random.Between(1, longest));
        };
        const auto layout = random.Between(0, static_cast<std::int64_t>(layouts.size()) - 1);
        ExpectScaledFromRandom(layouts[static_cast<std::size_t>(layout)], GetParam(),
                               {side(90), side(90)}, {side(120), side(120)}, seed);
    }
}

INSTANTIATE_TEST_SUITE_P(Scaling, ScalingInMode, ::testing::Range(1, modeCount + 1));

TEST(Scaling, GivesTheReferencesBytesForPicturesOfThousandsOfPixels) {
    ExpectScaledFromRandom({2, 5, false}, lanczos8, {1200, 900}, {401, 1103}, 301);
    ExpectScaledFromRandom({8, 8, false}, box, {2500, 1700}, {1999, 333}, 302);
    ExpectScaledFromRandom({1, 1, true}, 5, {700, 500}, {1500, 1200}, 303);
    ExpectScaledFromRandom({4, 3, false}, 3, {3000, 40}, {90, 1800}, 304);
    // More than any cache holds: some of it blended, some copied.
    ExpectScaledFromRandom({8, 8, false}, 1, {4100, 3}, {4103, 2100}, 305);
    ExpectScaledFromRandom({3, 4, false}, box, {3, 2050}, {4101, 2050}, 306);
    // The same in rows that lie, with their padding, whole cache lines apart.
    ExpectScaledFromRandom({3, 4, false}, box, {587, 512}, {4109, 1536}, 307);
    ExpectScaledFromRandom({3, 4, false}, box, {8218, 1540}, {4109, 1540}, 308);
    ExpectScaledFromRandom({3, 4, false}, box, {4109, 512}, {4109, 1536}, 309);
}

TEST(Scaling, ReproducesColoursAtTheSourcesOwnSizeAndMakesThemOpaque) {
    for (const int mode : {1, 2, 3, 4, 6, 7}) {
        for (const Layouts layouts : {Layouts{3, 3, false}, {4, 2, false}, {8, 8, false}}) {
            Session session(GuardedHost(layouts));
            const auto source = session.Create(SourceOptions(layouts, {19, 11}));
            Random random(17);
            FillRandomly(*source, random);
            const auto result = session.Scaling(source.Handle(), mode, 19, 11);
            ASSERT_TRUE(result);
            EXPECT_NE(result.Handle(), source.Handle()) << "a new picture, not the source";
            ExpectPixels(InLayout(ImageOf(*source), layouts.destination), *result,
                         "mode " + std::to_string(mode));
        }
    }
}

TEST(Scaling, BlursSlightlyAtTheSourcesOwnSizeInModeFive) {
    Session session(Desktop());
    const auto source = session.Create(3, 1);
    source->Fill(workbench::black);
    source->Put(1, 0, workbench::white);
    const auto result = session.Scaling(source.Handle(), 5, 3, 1);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->At(1, 0), workbench::Grey(227));
    EXPECT_EQ(result->At(0, 0), workbench::Grey(15));
}

TEST(Scaling, MakesTheMeanOfTwoColumnsWhereTheBoxTouchesBoth) {
    Session session(Desktop());
    const auto source = session.Create(2, 1);
    source->Put(0, 0, workbench::Grey(10));
    source->Put(1, 0, workbench::Grey(30));
    const auto result = session.Scaling(source.Handle(), box, 3, 1);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->At(0, 0), workbench::Grey(10));
    EXPECT_EQ(result->At(1, 0), workbench::Grey(20));
    EXPECT_EQ(result->At(2, 0), workbench::Grey(30));
}

TEST(Scaling, MakesOnePixelOfAWholePicture) {
    Session session(Desktop());
    const auto source = session.Create(4, 4);
    source->Fill(workbench::black);
    for (int y = 0; y < 4; ++y) {
        source->Put(0, y, workbench::white);
        source->Put(3, y, workbench::white);
    }
    // The tent reaches over the whole picture and beyond it: weights 5, 7, 7 and 5 of 24.
    const auto triangle = session.Scaling(source.Handle(), 1, 1, 1);
    ASSERT_TRUE(triangle);
    EXPECT_EQ(triangle->At(0, 0), workbench::Grey(106));
    const auto mean = session.Scaling(source.Handle(), box, 1, 1);
    ASSERT_TRUE(mean);
    EXPECT_EQ(mean->At(0, 0), workbench::Grey(128));
}

TEST(Scaling, DarkensWhatIsTranslucentAndMarksItOpaque) {
    Session session(Desktop());
    PictureOptions options = Sized(2, 2);
    options.alphaChannel = true;
    options.fill = workbench::Color{200, 100, 50, 128};
    const auto source = session.Create(options);
    const std::uint32_t premultiplied = source->Word(0, 0);
    const auto result = session.Scaling(source.Handle(), box, 1, 1);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->HasAlphaChannel());
    EXPECT_EQ(result->Word(0, 0), 0xFF000000U | (premultiplied & 0xFFFFFFU));
}

}  // namespace
}  // namespace contract
