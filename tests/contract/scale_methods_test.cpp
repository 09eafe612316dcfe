// ScaleZVK and ScaleImageAndMaskZVK: which routine makes the result, what becomes of masks and
// alpha channels, and the yield record that all calls share.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
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

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr bool antiAlias = true;

using Calls = std::vector<std::string>;

// Both methods, for what they have in common.
struct Method {
    const char* name;
    Held<Picture> (Session::*call)(REALpicture, std::int64_t, std::int64_t, bool, std::int64_t);
};

std::ostream& operator<<(std::ostream& stream, const Method& method) {
    return stream << method.name;
}

class ScaleMethods : public ::testing::TestWithParam<Method> {
  protected:
    static Held<Picture> Call(Session& session, REALpicture picture, Size size, bool smooth = false,
                              std::int64_t yieldTicks = 0) {
        return (session.*GetParam().call)(picture, size.width, size.height, smooth, yieldTicks);
    }
};

INSTANTIATE_TEST_SUITE_P(Scale, ScaleMethods,
                         ::testing::Values(Method{"ScaleZVK", &Session::Scale},
                                           Method{"ScaleImageAndMaskZVK",
                                                  &Session::ScaleImageAndMask}),
                         ::testing::PrintToStringParamName());

TEST_P(ScaleMethods, GiveThePictureItselfForItsOwnSizeWithOneMoreReference) {
    for (const bool smooth : {false, true}) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(6, 5);
        session.KeepTrace();
        const auto result = Call(session, source.Handle(), {6, 5}, smooth, 1);
        EXPECT_EQ(result.Handle(), source.Handle());
        EXPECT_EQ(session.host().Books().References(source.Handle()), 2);
        EXPECT_THAT(
            session.ServicesCalled(),
            ElementsAre("REALGetPropValueInteger", "REALGetPropValueInteger", "REALLockObject"));
    }
}

TEST_P(ScaleMethods, EnlargeSmoothlyOnlyWhereBothSidesGrowAndItIsAskedFor) {
    const std::vector<Size> sizes = {{9, 9}, {9, 5}, {6, 9}, {9, 4}, {5, 9}, {5, 4}, {7, 6}};
    for (const Size size : sizes) {
        for (const bool smooth : {false, true}) {
            Session session(GuardedHost({3, 2, false}));
            const auto source = session.Create(SourceOptions({3, 2, false}, {6, 5}));
            Random random(81);
            FillRandomly(*source, random);
            const auto result = Call(session, source.Handle(), size, smooth);
            ASSERT_TRUE(result);
            const reference::Image before = ImageOf(*source);
            const bool enlarged = smooth && size.width > 6 && size.height > 5;
            ExpectPixels(enlarged ? reference::EnlargeSmoothly(before, size.width, size.height, 2)
                                  : reference::ScaleFast(before, size.width, size.height, 2),
                         *result, Describe({3, 2, false}, {6, 5}, size));
        }
    }
}

TEST_P(ScaleMethods, FallBackToFastScalingWhereSmoothEnlargementFails) {
    Session session(Desktop());
    const auto source = session.Create(4, 3);
    Random random(82);
    FillRandomly(*source, random);
    session.host().Failing().FailOnly(Service::REALNewPicture, 1);
    const auto result = Call(session, source.Handle(), {9, 8}, antiAlias);
    ASSERT_TRUE(result);
    ExpectPixels(reference::ScaleFast(ImageOf(*source), 9, 8, 1), *result, "the fallback");
}

TEST_P(ScaleMethods, GiveNilWhereBothRoutinesFailAndYieldOnce) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(4, 3);
    session.host().Failing().FailFrom(Service::REALNewPicture, 1);
    EXPECT_FALSE(Call(session, source.Handle(), {9, 8}, antiAlias, 1));
    EXPECT_EQ(session.Yields(), 1U);
}

TEST_P(ScaleMethods, GiveNoMaskToAPictureThatHadNone) {
    for (const bool smooth : {false, true}) {
        Session session(Desktop());
        const auto source = session.Create(4, 3);
        const auto result = Call(session, source.Handle(), {9, 8}, smooth);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->Mask(), nullptr);
        EXPECT_EQ(source->Mask(), nullptr) << "asking for the mask must not make one";
    }
}

TEST_P(ScaleMethods, NeverYieldForAnArgumentOfZero) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(4, 3);
    EXPECT_TRUE(Call(session, source.Handle(), {9, 8}, antiAlias));
    EXPECT_TRUE(Call(session, source.Handle(), {9, 8}));
    EXPECT_EQ(session.Yields(), 0U);
}

TEST_P(ScaleMethods, ReadEverySizeAsEmptyWhereItCannotBeRead) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALGetPropValueInteger"};
    Session session(settings);
    const auto source = session.Create(4, 3);
    const auto same = Call(session, source.Handle(), {0, 0});
    EXPECT_EQ(same.Handle(), source.Handle());
    const auto scaled = Call(session, source.Handle(), {4, 3}, antiAlias);
    ASSERT_TRUE(scaled);
    EXPECT_NE(scaled.Handle(), source.Handle());
}

// A picture whose size is read as that of the request is handed back without a reference where the
// host has none to give.
TEST_P(ScaleMethods, GiveThePictureItselfEvenWhereNoReferenceCanBeAdded) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALLockObject"};
    Session session(settings);
    auto source = session.Create(6, 5);
    auto result = Call(session, source.Handle(), {6, 5});
    EXPECT_EQ(result.Handle(), source.Handle());
    EXPECT_EQ(session.host().Books().References(source.Handle()), 1);
    result.Release();  // There is only one reference, and the test holds it already.
}

// The null picture.

TEST(ScaleMethodsOfNil, GiveNilForAnEmptyRequestWithoutAYield) {
    Session session(Desktop());
    session.YieldAlways();
    session.KeepTrace();
    EXPECT_FALSE(session.Scale(nullptr, 0, 0, antiAlias, 1));
    EXPECT_THAT(session.ServicesCalled(), IsEmpty());
}

TEST(ScaleMethodsOfNil, YieldOnceWhereFastScalingIsAskedToScaleIt) {
    for (const bool smooth : {false, true}) {
        Session session(Desktop());
        session.YieldAlways();
        EXPECT_FALSE(session.Scale(nullptr, 5, 4, smooth, 1));
        EXPECT_EQ(session.Yields(), 1U);
    }
}

TEST(ScaleMethodsOfNil, DoNothingWhereTheMaskIsToBeScaledToo) {
    Session session(Desktop());
    session.YieldAlways();
    session.KeepTrace();
    EXPECT_FALSE(session.ScaleImageAndMask(nullptr, 5, 4, antiAlias, 1));
    EXPECT_FALSE(session.ScaleImageAndMask(nullptr, 0, 0, antiAlias, 1));
    EXPECT_THAT(session.ServicesCalled(), IsEmpty());
    EXPECT_EQ(session.host().TakeException(), std::nullopt);
}

// The yield record that calls of both methods share.

TEST(SharedYieldRecord, IsOverwrittenByACallFromInsideAYield) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(4, 3);
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        ++yields;
        EXPECT_TRUE(session.Scale(source.Handle(), 2, 2, false, 0));
    });
    EXPECT_TRUE(session.Scale(source.Handle(), 5, 9, false, 1));
    EXPECT_EQ(yields, 1U) << "the inner call's argument of 0 holds for the rest of the outer call";
}

TEST(SharedYieldRecord, IsOverwrittenEvenByACallThatScalesNothing) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(4, 3);
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        if (++yields != 3) return;
        EXPECT_TRUE(session.ScaleImageAndMask(source.Handle(), 4, 3, false, 0));
    });
    EXPECT_TRUE(session.Scale(source.Handle(), 5, 9, false, 1));
    EXPECT_EQ(yields, 3U);
}

TEST(SharedYieldRecord, IsLeftAloneByACallForTheMaskOfNil) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(4, 3);
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        ++yields;
        EXPECT_FALSE(session.ScaleImageAndMask(nullptr, 4, 3, false, 0));
    });
    EXPECT_TRUE(session.Scale(source.Handle(), 5, 9, false, 1));
    EXPECT_EQ(yields, 9U + 1U);
}

TEST(SharedYieldRecord, KeepsTheResultsOfNestedCallsApart) {
    Session session(Desktop());
    session.YieldAlways();
    const auto outer = session.Create(7, 5);
    const auto inner = session.Create(5, 7);
    Random random(83);
    FillRandomly(*outer, random);
    FillRandomly(*inner, random);
    std::uint64_t depth = 0;
    session.host().OnYield([&] {
        if (depth != 0) return;
        ++depth;
        const auto result = session.Scale(inner.Handle(), 9, 8, antiAlias, 1);
        ASSERT_TRUE(result);
        ExpectPixels(reference::EnlargeSmoothly(ImageOf(*inner), 9, 8, 1), *result, "inner");
        --depth;
    });
    const auto result = session.Scale(outer.Handle(), 10, 6, antiAlias, 1);
    ASSERT_TRUE(result);
    ExpectPixels(reference::EnlargeSmoothly(ImageOf(*outer), 10, 6, 1), *result, "outer");
    EXPECT_GT(session.Yields(), 3U + 4U * 6U);
}

TEST(SharedYieldRecord, IsNotThatOfTheOtherMethods) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(4, 3);
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        ++yields;
        EXPECT_TRUE(session.Scaling(source.Handle(), 1, 2, 2, 0));
        EXPECT_TRUE(session.Blur(source.Handle(), 1.0, 0));
    });
    EXPECT_TRUE(session.Scale(source.Handle(), 5, 9, false, 1));
    EXPECT_EQ(yields, 9U + 1U);
}

// Masks.

struct MaskedPicture {
    Held<Picture> picture;
    Held<Picture> mask;
};

MaskedPicture CreateMasked(Session& session, Size size, Size maskSize, std::uint64_t seed) {
    MaskedPicture masked{session.Create(size.width, size.height),
                         session.Create(maskSize.width, maskSize.height)};
    Random random(seed);
    FillRandomlyOpaque(*masked.picture, random);
    FillRandomlyOpaque(*masked.mask, random);
    session.host().SetMask(*masked.picture, &*masked.mask);
    return masked;
}

TEST(ScaleImageAndMask, ScalesTheMaskByThePicturesRoutine) {
    for (const HostSettings& settings : {Desktop(1), Desktop(4), Console()}) {
        for (const auto& [to, smooth] : std::vector<std::pair<Size, bool>>{
                 {{9, 8}, true}, {{9, 8}, false}, {{9, 3}, true}, {{3, 2}, true}}) {
            Session session(settings);
            const auto source = CreateMasked(session, {6, 5}, {6, 5}, 91);
            const int format = source.picture->Layout();
            const auto result =
                session.ScaleImageAndMask(source.picture.Handle(), to.width, to.height, smooth);
            ASSERT_TRUE(result);
            ASSERT_NE(result->Mask(), nullptr);
            const bool enlarged = smooth && to.width > 6 && to.height > 5;
            const auto scale = enlarged ? reference::EnlargeSmoothly : reference::ScaleFast;
            const auto picture = scale(ImageOf(*source.picture), to.width, to.height, format);
            const auto mask = scale(ImageOf(*source.mask), to.width, to.height, format);
            ExpectPixels(picture, *result, "the picture");
            ExpectPixels(InLayout(mask, result->Mask()->Layout()), *result->Mask(), "its mask");
        }
    }
}

TEST(ScaleImageAndMask, ScalesAMaskOfAnotherSizeToTheRequest) {
    for (const Size maskSize : {Size{2, 2}, Size{40, 30}, Size{3, 50}}) {
        for (const bool smooth : {false, true}) {
            Session session(Desktop());
            const auto source = CreateMasked(session, {6, 5}, maskSize, 92);
            const auto result = session.ScaleImageAndMask(source.picture.Handle(), 9, 8, smooth);
            ASSERT_TRUE(result);
            ASSERT_NE(result->Mask(), nullptr);
            const reference::Image mask = ImageOf(*source.mask);
            ExpectPixels(InLayout(smooth ? reference::EnlargeSmoothly(mask, 9, 8, 1)
                                         : reference::ScaleFast(mask, 9, 8, 1),
                                  result->Mask()->Layout()),
                         *result->Mask(), "a mask of another size");
        }
    }
}

TEST(ScaleImageAndMask, YieldsForThePictureAndForTheMask) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = CreateMasked(session, {6, 5}, {6, 5}, 93);
    EXPECT_TRUE(session.ScaleImageAndMask(source.picture.Handle(), 4, 7, false, 1));
    EXPECT_EQ(session.Yields(), 2U * (7U + 1U));
    session.host().Failing().ForgetCalls();
    EXPECT_TRUE(session.ScaleImageAndMask(source.picture.Handle(), 8, 7, antiAlias, 1));
    EXPECT_EQ(session.Yields(), 2U * (3U + 4U * 7U));
}

// Memory may be short for the picture, which is then scaled fast with its mask, or for the mask
// alone, which the picture then goes without: the mask never gets another routine.
TEST(ScaleImageAndMask, NeverScalesTheMaskByTheOtherRoutine) {
    std::uint64_t request = 1;
    bool sawFast = false;
    bool sawBare = false;
    for (bool refused = true; refused; ++request) {
        Session session(Desktop());
        const auto source = CreateMasked(session, {6, 5}, {6, 5}, 94);
        session.allocations().FailOnly(request);
        const auto result = session.ScaleImageAndMask(source.picture.Handle(), 9, 8, antiAlias);
        refused = session.allocations().Refused() != 0;
        ASSERT_TRUE(result);
        const reference::Image picture = ImageOf(*source.picture);
        const bool isFast = refused && ImageOf(*result) == reference::ScaleFast(picture, 9, 8, 1);
        if (isFast) {
            sawFast = true;
            ASSERT_NE(result->Mask(), nullptr);
            ExpectPixels(InLayout(reference::ScaleFast(ImageOf(*source.mask), 9, 8, 1),
                                  result->Mask()->Layout()),
                         *result->Mask(), "request " + std::to_string(request));
        } else {
            sawBare = sawBare || refused;
            ExpectPixels(reference::EnlargeSmoothly(picture, 9, 8, 1), *result,
                         "request " + std::to_string(request));
            EXPECT_EQ(result->Mask() == nullptr, refused) << "request " << request;
        }
    }
    EXPECT_TRUE(sawFast);
    EXPECT_TRUE(sawBare);
}

TEST(ScaleImageAndMask, DoesWithoutAMaskWhereTheHostMakesNone) {
    Session session(Desktop());
    const auto source = CreateMasked(session, {6, 5}, {6, 5}, 95);
    constexpr std::uint64_t resultsTurn = 2;
    session.host().Failing().FailOnly(Service::REALGetPictureMask, resultsTurn);
    const auto result = session.ScaleImageAndMask(source.picture.Handle(), 4, 3);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->Mask(), nullptr);
}

TEST(ScaleImageAndMask, AsksForTheMasksInThisOrder) {
    Session session(Desktop());
    const auto source = CreateMasked(session, {6, 5}, {6, 5}, 96);
    session.KeepTrace();
    EXPECT_TRUE(session.ScaleImageAndMask(source.picture.Handle(), 4, 3));
    const std::vector<std::string> masks = session.CallsOf(Service::REALGetPictureMask);
    ASSERT_EQ(masks.size(), 2U);
    EXPECT_THAT(masks[0], ::testing::HasSubstr("false"));
    EXPECT_THAT(masks[1], ::testing::HasSubstr("true"));
    Calls called = session.ServicesCalled();
    const auto start = std::find(called.rbegin(), called.rend(), "REALGetPictureMask").base() - 1;
    called.erase(called.begin(), start);
    called.resize(7);
    EXPECT_THAT(called, ElementsAre("REALGetPictureMask", "pluginPictureGraphicsGetter",
                                    "REALLoadObjectMethod", "Graphics.DrawPicture",
                                    "REALUnlockObject", "REALUnlockObject", "REALUnlockObject"))
        << "the graphics object, the result's mask, then the scaled mask are given back";
}

TEST(ScaleWithoutMask, LeavesTheMaskBehind) {
    Session session(Desktop());
    const auto source = CreateMasked(session, {6, 5}, {6, 5}, 97);
    for (const bool smooth : {false, true}) {
        const auto result = session.Scale(source.picture.Handle(), 9, 8, smooth);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->Mask(), nullptr);
    }
}

// Pictures with an alpha channel.

PictureOptions WithAlphaChannel(Size size) {
    PictureOptions options = Sized(size.width, size.height);
    options.alphaChannel = true;
    return options;
}

// Every pixel either opaque or transparent, so that drawing keeps colours as they are.
void FillWithHoles(Picture& picture, Random& random) {
    for (int y = 0; y < picture.Height(); ++y) {
        for (int x = 0; x < picture.Width(); ++x) {
            const std::uint32_t bits = random.Word();
            const workbench::Color color{static_cast<std::uint8_t>(bits),
                                         static_cast<std::uint8_t>(bits >> 8U),
                                         static_cast<std::uint8_t>(bits >> 16U), 255};
            picture.Put(x, y, (bits >> 31U) != 0 ? color : workbench::transparent);
        }
    }
}

// Deliberate: the picture is drawn at its own scale into one of the requested size, which is then
// scaled to the size that it already has.
TEST(ScaleImageAndMaskWithAlphaChannel, DrawsThePictureUnscaledAndScalesItsAlphaAsAMask) {
    for (const auto& [to, smooth] : std::vector<std::pair<Size, bool>>{
             {{4, 3}, false}, {{9, 8}, false}, {{9, 8}, true}, {{9, 3}, true}}) {
        Session session(Desktop());
        const auto source = session.Create(WithAlphaChannel({6, 5}));
        Random random(98);
        FillWithHoles(*source, random);
        const auto copiedMask = session.host().CopyMask(*source);
        ASSERT_TRUE(copiedMask);

        const auto result = session.ScaleImageAndMask(source.Handle(), to.width, to.height, smooth);
        ASSERT_TRUE(result);
        EXPECT_FALSE(result->HasAlphaChannel());
        for (int y = 0; y < to.height; ++y) {
            for (int x = 0; x < to.width; ++x) {
                const bool inside = x < 6 && y < 5;
                const workbench::Color drawn = inside ? source->At(x, y) : workbench::transparent;
                EXPECT_EQ(result->At(x, y), drawn.alpha == 0 ? workbench::white : drawn)
                    << "column " << x << ", row " << y;
            }
        }
        ASSERT_NE(result->Mask(), nullptr);
        const bool enlarged = smooth && to.width > 6 && to.height > 5;
        const reference::Image mask = ImageOf(*copiedMask);
        ExpectPixels(
            InLayout(enlarged ? reference::EnlargeSmoothly(mask, to.width, to.height, mask.format)
                              : reference::ScaleFast(mask, to.width, to.height, mask.format),
                     result->Mask()->Layout()),
            *result->Mask(), "the alpha channel as a mask");
    }
}

TEST(ScaleImageAndMaskWithAlphaChannel, CopiesTheMaskAndSetsItBeforeItScales) {
    Session session(Desktop());
    const auto source = session.Create(WithAlphaChannel({6, 5}));
    session.KeepTrace();
    EXPECT_TRUE(session.ScaleImageAndMask(source.Handle(), 4, 3));
    Calls called = session.ServicesCalled();
    const Calls expected = {"REALGetPropValueInteger",
                            "REALGetPropValueInteger",
                            "REALGetPropValueBool",
                            "newPicture",
                            "pluginPictureGraphicsGetter",
                            "REALLoadObjectMethod",
                            "Graphics.DrawPicture",
                            "REALUnlockObject",
                            "REALLoadObjectMethod",
                            "Picture.CopyMask",
                            "REALLoadObjectMethod",
                            "Picture.Mask",
                            "REALUnlockObject",
                            "pluginObjectType"};
    called.resize(expected.size());
    EXPECT_THAT(called, ElementsAreArray(expected));
}

TEST(ScaleImageAndMaskWithAlphaChannel, GivesNilWhereNoPictureCanBeMade) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(WithAlphaChannel({6, 5}));
    session.host().Failing().FailFrom(Service::REALNewPicture, 1);
    EXPECT_FALSE(session.ScaleImageAndMask(source.Handle(), 4, 3, false, 1));
    EXPECT_EQ(session.Yields(), 0U);
}

TEST(ScaleImageAndMaskWithAlphaChannel, DoesWithoutAMaskWhereItCannotBeCopiedOrSet) {
    // The methods looked up: the drawing, the copying of the mask, its setter.
    for (const std::uint64_t lookUp : {2U, 3U}) {
        Session session(Desktop());
        const auto source = session.Create(WithAlphaChannel({6, 5}));
        source->Fill(workbench::Grey(70));
        session.host().Failing().FailOnly(Service::REALLoadObjectMethod, lookUp);
        const auto result = session.ScaleImageAndMask(source.Handle(), 4, 3);
        ASSERT_TRUE(result) << "look-up " << lookUp;
        EXPECT_EQ(result->Mask(), nullptr) << "look-up " << lookUp;
        EXPECT_EQ(result->At(3, 2), workbench::Grey(70)) << "look-up " << lookUp;
    }
}

TEST(ScaleImageAndMaskWithAlphaChannel, IsScaledAsItIsWhereTheHostDoesNotTellOfTheChannel) {
    HostSettings settings = Desktop();
    settings.missingServices = {"REALGetPropValueBool"};
    Session session(settings);
    const auto source = session.Create(WithAlphaChannel({6, 5}));
    Random random(99);
    FillRandomly(*source, random);
    const auto result = session.ScaleImageAndMask(source.Handle(), 4, 3);
    ASSERT_TRUE(result);
    ExpectPixels(reference::ScaleFast(ImageOf(*source), 4, 3, 1), *result, "no alpha channel seen");
}

}  // namespace
}  // namespace contract
