// BlurZVK byte for byte against the reference, its radius, its order of checks, and what it does
// when memory is short or the host changes the source in a yield.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/reference/blur.h"
#include "tests/reference/image.h"
#include "tests/support/layouts.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Le;

constexpr double infinity = std::numeric_limits<double>::infinity();

// The greatest radius for which 256 times the box length and one more fit into 31 bits.
constexpr double greatestRadius = 4194302.0;

void ExpectBlurred(const Layouts& layouts, Size size, double radius, std::uint64_t seed) {
    Session session(GuardedHost(layouts));
    const auto source = session.Create(SourceOptions(layouts, size));
    Random random(seed);
    FillRandomly(*source, random);
    const reference::Image before = ImageOf(*source);
    const std::string parameters = Describe(
        layouts, size, size, "radius " + std::to_string(radius) + ", seed " + std::to_string(seed));
    const auto result = session.Blur(source.Handle(), radius);
    ASSERT_TRUE(result) << parameters;
    ExpectPixels(reference::Blur(before, reference::BlurRadius(radius), layouts.destination),
                 *result, parameters);
    ExpectPixels(before, *source, parameters + ", the source afterwards");
}

Held<Picture> CreateRow(Session& session, const std::vector<std::uint8_t>& levels) {
    auto row = session.Create(static_cast<int>(levels.size()), 1);
    int column = 0;
    for (const std::uint8_t level : levels)
        row->Put(column++, 0, workbench::Grey(level));
    return row;
}

std::vector<int> LevelsOf(const Picture& picture, int row) {
    std::vector<int> levels;
    for (int x = 0; x < picture.Width(); ++x)
        levels.push_back(picture.At(x, row).red);
    return levels;
}

class BlurBetweenLayouts : public ::testing::TestWithParam<Layouts> {};

// Where the two layouts place their channels differently, so does the result: deliberate.
TEST_P(BlurBetweenLayouts, GivesTheReferencesBytes) {
    std::uint64_t seed = 1100;
    for (const double radius : {1.0, 2.0, 4.0, 25.0}) {
        for (const Size size : {Size{13, 9}, Size{1, 1}, Size{1, 7}, Size{8, 1}}) {
            ExpectBlurred(GetParam(), size, radius, ++seed);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Blur, BlurBetweenLayouts, ::testing::ValuesIn(AllLayouts()),
                         ::testing::PrintToStringParamName());

TEST(Blur, GivesTheReferencesBytesForLargePicturesAndRadii) {
    ExpectBlurred({1, 1, false}, {640, 480}, 3.0, 1201);
    ExpectBlurred({8, 8, false}, {401, 303}, 40.0, 1202);
    ExpectBlurred({6, 2, false}, {32767, 2}, 10.0, 1203);
    ExpectBlurred({5, 3, false}, {2, 32767}, 10.0, 1204);
    ExpectBlurred({2, 2, true}, {200, 150}, 500.0, 1205);
}

// Sums of the smaller radii fit 16 bits; for some of the greater ones no multiplier of 16 bits
// gives all quotients.
TEST(Blur, GivesTheReferencesBytesForEveryRadiusUpToWhereSumsNeedMoreThan16Bits) {
    for (int radius = 1; radius <= 130; ++radius) {
        const std::uint64_t seed = 1700U + static_cast<std::uint64_t>(radius);
        ExpectBlurred({1, 1, false}, {21, 17}, radius, seed);
    }
}

// The greatest sums there are.
TEST(Blur, KeepsWhiteWhiteAtEveryRadius) {
    Session session(Desktop());
    const auto source = session.Create(21, 17);
    source->Fill(workbench::white);
    for (int radius = 1; radius <= 130; ++radius) {
        const auto result = session.Blur(source.Handle(), radius);
        ASSERT_TRUE(result);
        ASSERT_THAT(ImageOf(*result).words, Each(0xFFFFFFFFU)) << "radius " << radius;
    }
}

TEST(Blur, GivesTheReferencesBytesForRandomCases) {
    const std::vector<Layouts> layouts = AllLayouts();
    for (std::uint64_t seed = 1300; seed < 1450; ++seed) {
        Random random(seed);
        const auto layout = random.Between(0, static_cast<std::int64_t>(layouts.size()) - 1);
        ExpectBlurred(
            layouts[static_cast<std::size_t>(layout)],
            {static_cast<int>(random.Between(1, 60)), static_cast<int>(random.Between(1, 60))},
            1.0 + 30.0 * random.Fraction(), seed);
    }
}

// One pixel that is not white keeps the mean of every box around it just below white.
TEST(Blur, TruncatesMeansThatAreNearlyWhiteAtEveryRadius) {
    for (int radius = 1; radius <= 140; ++radius) {
        Session session(Desktop());
        const auto source = session.Create(5, 5);
        source->Fill(workbench::white);
        source->Put(2, 2, workbench::Grey(254));
        const auto result = session.Blur(source.Handle(), radius);
        ASSERT_TRUE(result) << radius;
        EXPECT_EQ(result->At(2, 2).red, 254) << radius;
    }
}

TEST(Blur, GivesThePictureItselfForRadiiBelowOne) {
    for (const double radius :
         {0.99, 0.0, -0.5, -3.0, std::nan(""), -infinity, infinity, 2147483648.0, 1e300, -1e300}) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(3, 3);
        session.KeepTrace();
        const auto result = session.Blur(source.Handle(), radius, 1);
        EXPECT_EQ(result.Handle(), source.Handle()) << radius;
        EXPECT_EQ(session.host().Books().References(source.Handle()), 2) << radius;
        EXPECT_THAT(session.ServicesCalled(), ElementsAre("REALLockObject")) << radius;
    }
}

TEST(Blur, GivesNilForNil) {
    for (const double radius : {0.0, 1.0, std::nan("")}) {
        Session session(Desktop());
        session.YieldAlways();
        session.KeepTrace();
        EXPECT_FALSE(session.Blur(nullptr, radius, 1));
        EXPECT_THAT(session.ServicesCalled(), IsEmpty());
    }
}

TEST(Blur, IgnoresTheFractionOfTheRadius) {
    for (const auto& [radius, whole] :
         std::vector<std::pair<double, double>>{{1.7, 1.0}, {2.9, 2.0}, {1.0 + 1e-9, 1.0}}) {
        Session session(Desktop());
        const auto source = session.Create(9, 7);
        Random random(3);
        FillRandomly(*source, random);
        const auto result = session.Blur(source.Handle(), radius);
        const auto expected = session.Blur(source.Handle(), whole);
        ASSERT_TRUE(result);
        ASSERT_TRUE(expected);
        ExpectPixels(ImageOf(*expected), *result, "radius " + std::to_string(radius));
    }
}

TEST(Blur, DividesByTheWholeBoxAndTruncates) {
    Session session(Desktop());
    const auto row = CreateRow(session, {0, 0, 100});
    const auto blurred = session.Blur(row.Handle(), 1.0);
    ASSERT_TRUE(blurred);
    EXPECT_THAT(LevelsOf(*blurred, 0), ElementsAre(0, 33, 66));

    const auto pair = CreateRow(session, {0, 210});
    const auto wide = session.Blur(pair.Handle(), 10.0);
    ASSERT_TRUE(wide);
    EXPECT_THAT(LevelsOf(*wide, 0), ElementsAre(100, 110)) << "10 and 11 of 21 are 210";
}

TEST(Blur, KeepsAUniformPictureAsItIs) {
    for (const double radius : {1.0, 3.0, 100.0}) {
        Session session(Desktop());
        const auto source = session.Create(9, 7);
        source->Fill(workbench::Color{201, 100, 3, 255});
        const auto result = session.Blur(source.Handle(), radius);
        ASSERT_TRUE(result);
        ExpectPixels(ImageOf(*source), *result, "radius " + std::to_string(radius));
    }
}

TEST(Blur, KeepsTheColourOfASinglePixelAndMakesItOpaque) {
    for (const Layouts layouts : {Layouts{3, 3, false}, {4, 4, false}, {8, 8, false}}) {
        Session session(GuardedHost(layouts));
        const auto source = session.Create(SourceOptions(layouts, {1, 1}));
        source->SetWord(0, 0, 0x40506070);
        const auto result = session.Blur(source.Handle(), 5.0);
        ASSERT_TRUE(result);
        ExpectPixels(InLayout(ImageOf(*source), layouts.destination), *result, "a single pixel");
    }
}

TEST(Blur, AveragesStoredBytesAndMakesAnOpaquePictureWithoutAnAlphaChannel) {
    Session session(Desktop());
    PictureOptions options = Sized(5, 5);
    options.alphaChannel = true;
    options.fill = workbench::Color{200, 100, 50, 128};
    const auto source = session.Create(options);
    const auto result = session.Blur(source.Handle(), 2.0);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->HasAlphaChannel());
    EXPECT_EQ(result->Word(2, 2), 0xFF000000U | (source->Word(2, 2) & 0xFFFFFFU));
}

TEST(Blur, YieldsOnceThenOncePerRowOfBothPassesThenOnce) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        for (const std::int64_t yield : {1, -1}) {
            Session session(settings);
            session.YieldAlways();
            const auto source = session.Create(3, 7);
            EXPECT_TRUE(session.Blur(source.Handle(), 2.0, yield));
            EXPECT_EQ(session.Yields(), 1U + 7U + 7U + 1U);
            EXPECT_TRUE(session.Blur(source.Handle(), 2.0));
            EXPECT_EQ(session.Yields(), 1U + 7U + 7U + 1U) << "none for an argument of 0";
        }
    }
}

// Checks and failures, in order.

TEST(Blur, OpensTheSourceThenCreatesThenLetsTheResultGoFirst) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 1);
    session.KeepTrace();
    const auto result = session.Blur(source.Handle(), 1.0, 1);
    ASSERT_TRUE(result);
    EXPECT_THAT(
        session.ServicesCalled(),
        ElementsAre("pluginObjectType", "pluginObjectType", "pluginObjectType",
                    "PluginPictureGetType", "REALGetPropValueBool", "REALLockPictureDescription",
                    "REALLockObject", "newPicture", "PluginPictureGetType", "REALGetPropValueBool",
                    "REALLockPictureDescription", "REALLockObject", "REALUnlockObject",
                    "REALYieldToRB", "REALYieldToRB", "REALYieldToRB", "REALYieldToRB",
                    "REALLockObject", "REALPictureClearCache", "unlockPictureDescription",
                    "REALPictureClearCache", "REALUnlockObject", "unlockPictureDescription",
                    "REALUnlockObject"));
}

TEST(Blur, RefusesPicturesThatAreEmptyOrLongerThan32767BeforeItCreatesOne) {
    Session session(Console());
    session.YieldAlways();
    const auto wide = session.Create(32768, 1);
    const auto tall = session.Create(1, 32768);
    session.host().Failing().ForgetCalls();
    EXPECT_FALSE(session.Blur(wide.Handle(), 1.0, 1));
    EXPECT_FALSE(session.Blur(tall.Handle(), 1.0, 1));
    EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
    EXPECT_EQ(session.Yields(), 0U);
}

TEST(Blur, RefusesBitmapContextsWithoutColumnsOrRows) {
    for (const bool withoutColumns : {true, false}) {
        Session session(Desktop());
        const auto source = session.Create(3, 3);
        (withoutColumns ? source->Context()->width : source->Context()->height) = 0;
        session.host().Failing().ForgetCalls();
        EXPECT_FALSE(session.Blur(source.Handle(), 1.0));
        EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
    }
}

TEST(Blur, GivesNilWithoutAYieldWhereNothingCanBeOpenedOrCreated) {
    const std::vector<std::function<void(Session&)>> failures = {
        [](Session& session) {
            session.host().Failing().FailFrom(Service::REALLockPictureDescription, 1);
        },
        [](Session& session) { session.host().Failing().FailFrom(Service::REALNewPicture, 1); },
        [](Session& session) {
            session.host().Failing().FailOnly(Service::REALLockPictureDescription, 2);
        },
        [](Session& session) { session.host().Failing().FailOnly(Service::REALGetPictureType, 2); },
    };
    for (const auto& fail : failures) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(3, 3);
        fail(session);
        EXPECT_FALSE(session.Blur(source.Handle(), 1.0, 1));
        EXPECT_EQ(session.Yields(), 0U);
    }
}

TEST(Blur, GivesThePictureAsItWasCreatedWhereMemoryIsShort) {
    std::uint64_t request = 1;
    for (bool refused = true; refused; ++request) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(5, 4);
        source->Fill(workbench::black);
        session.allocations().FailOnly(request);
        const auto result = session.Blur(source.Handle(), 1.0, 1);
        refused = session.allocations().Refused() != 0;
        ASSERT_TRUE(result);
        EXPECT_THAT(ImageOf(*result).words, Each(refused ? 0xFFFFFFFFU : 0xFF000000U));
        EXPECT_EQ(session.Yields(), refused ? 1U : 1U + 4U + 4U + 1U);
    }
    EXPECT_GT(request, 2U) << "a blur needs memory";
}

TEST(Blur, TakesTheGreatestRadiusThereIs) {
    ExpectBlurred({1, 1, false}, {7, 5}, greatestRadius, 1501);
}

TEST(Blur, CountsAGreaterRadiusAsShortMemoryWithoutAskingForMuch) {
    for (const double radius : {greatestRadius + 1.0, 16777216.0, 1073741823.0, 2147483647.0}) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(5, 4);
        source->Fill(workbench::black);
        session.allocations().GrantAll();
        const auto result = session.Blur(source.Handle(), radius, 1);
        ASSERT_TRUE(result);
        EXPECT_NE(result.Handle(), source.Handle());
        EXPECT_THAT(ImageOf(*result).words, Each(0xFFFFFFFFU)) << "as it was created";
        EXPECT_THAT(session.allocations().Sizes(), Each(Le(std::size_t{1} << 20U)));
        EXPECT_EQ(session.Yields(), 1U);
    }
}

// A source that the host changes in a yield.

TEST(Blur, ReadsTheSourceAfterTheFirstYield) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(5, 4);
    source->Fill(workbench::Grey(10));
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        if (++yields == 1) source->Fill(workbench::Grey(60));
    });
    const auto result = session.Blur(source.Handle(), 1.0, 1);
    ASSERT_TRUE(result);
    EXPECT_EQ(LevelsOf(*result, 3), std::vector<int>(5, 60));
}

TEST(Blur, TakesRowsOutOfTheBoxAndInBeforeItYields) {
    // Row by row: what leaves the box and what enters it are as bright as each other, before and
    // after the change, so the sums stay what they were.
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(5, 8);
    source->Fill(workbench::Grey(10));
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        if (++yields == 3) source->Fill(workbench::Grey(200));
    });
    const auto result = session.Blur(source.Handle(), 1.0, 1);
    ASSERT_TRUE(result);
    for (int y = 0; y < 8; ++y)
        EXPECT_EQ(LevelsOf(*result, y), std::vector<int>(5, 10));
}

TEST(Blur, LooksNoMoreAtTheSourceInItsSecondPass) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(5, 4);
    Random random(9);
    FillRandomly(*source, random);
    const reference::Image before = ImageOf(*source);
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        if (++yields == 1 + 4) source->Fill(workbench::white);
    });
    const auto result = session.Blur(source.Handle(), 2.0, 1);
    ASSERT_TRUE(result);
    ExpectPixels(reference::Blur(before, 2, 1), *result, "changed after the first pass");
}

TEST(Blur, StaysWithinItsMemoryWhateverTheHostDrawsInAYield) {
    for (std::uint64_t seed = 1600; seed < 1640; ++seed) {
        const Layouts layouts = {3, 6, false};
        Session session(GuardedHost(layouts));
        session.YieldAlways();
        const auto source = session.Create(SourceOptions(layouts, {6, 9}));
        Random random(seed);
        session.host().OnYield(
            [&] { source->Fill(random.Word() % 2 == 0 ? workbench::white : workbench::black); });
        const auto radius = static_cast<double>(random.Between(1, 12));
        const auto result = session.Blur(source.Handle(), radius, 1);
        ASSERT_TRUE(result);
        EXPECT_TRUE(result->PaddingIsIntact());
        for (int y = 0; y < 9; ++y)
            EXPECT_EQ(result->At(0, y).alpha, 255);
    }
}

}  // namespace
}  // namespace contract
