// Drawing through a graphics object, in every layout and both runtimes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/workbench/host_services.h"
#include "workbench/host/host.h"

namespace workbench {
namespace {

constexpr const char* declaration =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as "
    "Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
constexpr REALinteger whole = -10000;
constexpr Color red{255, 0, 0};
constexpr Color green{0, 255, 0};

using DrawMethod = void (*)(REALgraphics, REALpicture, REALinteger, REALinteger, REALinteger,
                            REALinteger, REALinteger, REALinteger, REALinteger, REALinteger);

struct Area {
    REALinteger x, y, w, h;
};

/// Draws as a plugin does: through the graphics object and its method.
void Draw(REALpicture destination, REALpicture source, Area to, Area from) {
    const REALgraphics graphics = services::REALGetPictureGraphics()(destination);
    auto* draw =
        reinterpret_cast<DrawMethod>(services::REALLoadObjectMethod()(graphics, declaration));
    ASSERT_NE(draw, nullptr);
    draw(graphics, source, to.x, to.y, to.w, to.h, from.x, from.y, from.w, from.h);
    services::REALUnlockObject()(graphics);
}

/// A host of one of the kinds of memory, by layout.
HostSettings SettingsOf(int layout) {
    if (layout == consoleLayout) return {.runtime = Runtime::Console};
    return {.runtime = Runtime::Desktop, .layout = layout, .rowPadding = 12};
}

/// A colour that tells its place.
Color Place(int x, int y) {
    return {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
            static_cast<std::uint8_t>(x * 7 + y * 3), 255};
}

void FillWithPlaces(Picture& picture) {
    for (int y = 0; y < picture.Height(); ++y) {
        for (int x = 0; x < picture.Width(); ++x)
            picture.Put(x, y, Place(x, y));
    }
}

/// Two colours no further apart than rounding makes them.
testing::AssertionResult IsNear(Color left, Color right, int tolerance) {
    const auto differ = [tolerance](int a, int b) { return std::abs(a - b) > tolerance; };
    if (differ(left.red, right.red) || differ(left.green, right.green) ||
        differ(left.blue, right.blue) || differ(left.alpha, right.alpha)) {
        return testing::AssertionFailure()
               << int{left.red} << "," << int{left.green} << "," << int{left.blue} << ","
               << int{left.alpha} << " is not " << int{right.red} << "," << int{right.green} << ","
               << int{right.blue} << "," << int{right.alpha};
    }
    return testing::AssertionSuccess();
}

class Drawing : public testing::TestWithParam<int> {
  protected:
    Host host{SettingsOf(GetParam())};
};

INSTANTIATE_TEST_SUITE_P(Layouts, Drawing, testing::Values(1, 2, 3, 4, 5, 6, consoleLayout),
                         testing::PrintToStringParamName());

TEST_P(Drawing, CopiesAnOpaquePictureExactly) {
    const Held<Picture> source = host.CreatePicture({.width = 300, .height = 280});
    FillWithPlaces(*source);
    const Held<Picture> target = host.CreatePicture({.width = 300, .height = 280});
    Draw(target.Handle(), source.Handle(), {0, 0, 300, 280}, {0, 0, 300, 280});
    for (int y = 0; y < 280; ++y) {
        const auto from = source->Row(y);
        const auto to = target->Row(y);
        ASSERT_TRUE(std::equal(from.begin(), from.end(), to.begin())) << "row " << y;
    }
    EXPECT_TRUE(target->PaddingIsIntact());
}

TEST_P(Drawing, PlacesTheSourceRectangleAndClipsToBothPictures) {
    const Held<Picture> source = host.CreatePicture({.width = 10, .height = 8});
    FillWithPlaces(*source);
    const Held<Picture> target = host.CreatePicture({.width = 6, .height = 6});
    Draw(target.Handle(), source.Handle(), {-2, 3, 20, 20}, {5, 1, 20, 20});
    // Source column 5 would fall on column -2, so column 0 is source column 7.
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x) {
            const bool drawn = x < 3 && y >= 3;
            EXPECT_EQ(target->At(x, y), drawn ? Place(x + 7, y - 2) : white) << x << "," << y;
        }
    }
}

TEST_P(Drawing, TakesTheWholeSourceByDefault) {
    const Held<Picture> source = host.CreatePicture({.width = 4, .height = 3});
    FillWithPlaces(*source);
    const Held<Picture> target = host.CreatePicture({.width = 5, .height = 5});
    Draw(target.Handle(), source.Handle(), {1, 1, 4, 3}, {0, 0, whole, whole});
    EXPECT_EQ(target->At(1, 1), Place(0, 0));
    EXPECT_EQ(target->At(4, 3), Place(3, 2));
    EXPECT_EQ(target->At(0, 0), white);
    EXPECT_EQ(target->At(4, 4), white);
}

TEST_P(Drawing, DrawsNothingForEmptyOrAbsurdRectangles) {
    const Held<Picture> source = host.CreatePicture({.width = 4, .height = 4, .fill = red});
    const Held<Picture> target = host.CreatePicture({.width = 4, .height = 4});
    constexpr REALinteger huge = std::int64_t{1} << 40U;
    for (const Area& to : {Area{0, 0, 0, 4}, Area{0, 0, 4, -4}, Area{4, 0, 4, 4}, Area{-4, 0, 4, 4},
                           Area{huge, 0, 4, 4}, Area{0, 0, huge, 4}}) {
        Draw(target.Handle(), source.Handle(), to, {0, 0, 4, 4});
    }
    Draw(target.Handle(), source.Handle(), {0, 0, 4, 4}, {0, 0, -1, 4});
    Draw(target.Handle(), source.Handle(), {0, 0, 4, 4}, {4, 4, 4, 4});
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(target->At(x, y), white);
    }
}

TEST_P(Drawing, ScalesWhereTheSizesDiffer) {
    const Held<Picture> source = host.CreatePicture({.width = 2, .height = 1, .fill = red});
    source->Put(1, 0, green);
    const Held<Picture> target = host.CreatePicture({.width = 400, .height = 300});
    Draw(target.Handle(), source.Handle(), {0, 0, 400, 300}, {0, 0, 2, 1});
    EXPECT_TRUE(IsNear(target->At(0, 0), red, 3));
    EXPECT_TRUE(IsNear(target->At(0, 299), red, 3));
    EXPECT_TRUE(IsNear(target->At(399, 150), green, 3));
    const Held<Picture> small = host.CreatePicture({.width = 1, .height = 1});
    Draw(small.Handle(), target.Handle(), {0, 0, 1, 1}, {0, 0, 100, 300});
    EXPECT_TRUE(IsNear(small->At(0, 0), red, 8));
}

TEST_P(Drawing, ScalesOnlyThePartThatLiesInTheSource) {
    const Held<Picture> source = host.CreatePicture({.width = 4, .height = 4, .fill = red});
    const Held<Picture> target = host.CreatePicture({.width = 16, .height = 16});
    Draw(target.Handle(), source.Handle(), {0, 0, 16, 16}, {-2, 0, 8, 8});
    EXPECT_EQ(target->At(3, 0), white);
    EXPECT_TRUE(IsNear(target->At(4, 0), red, 1));
    EXPECT_TRUE(IsNear(target->At(11, 7), red, 1));
    EXPECT_EQ(target->At(12, 7), white);
    EXPECT_EQ(target->At(11, 8), white);
}

TEST_P(Drawing, LetsTheMaskDecide) {
    const Held<Picture> source = host.CreatePicture({.width = 4, .height = 1, .fill = red});
    const Held<Picture> mask = host.CreatePicture({.width = 3, .height = 1, .fill = black});
    mask->Put(1, 0, white);
    mask->Put(2, 0, Grey(127));
    host.SetMask(*source, &*mask);
    const Held<Picture> target = host.CreatePicture({.width = 4, .height = 1});
    Draw(target.Handle(), source.Handle(), {0, 0, 4, 1}, {0, 0, 4, 1});
    EXPECT_EQ(target->At(0, 0), red);
    EXPECT_EQ(target->At(1, 0), white);
    EXPECT_TRUE(IsNear(target->At(2, 0), Color{255, 127, 127, 255}, 1));
    EXPECT_EQ(target->At(3, 0), red);  // beyond the mask
}

TEST_P(Drawing, ScalesTheMaskWithItsPicture) {
    const Held<Picture> source = host.CreatePicture({.width = 2, .height = 2, .fill = red});
    const Held<Picture> mask = host.CreatePicture({.width = 2, .height = 2, .fill = black});
    mask->Put(1, 0, white);
    mask->Put(1, 1, white);
    host.SetMask(*source, &*mask);
    const Held<Picture> target = host.CreatePicture({.width = 40, .height = 40});
    Draw(target.Handle(), source.Handle(), {0, 0, 40, 40}, {0, 0, 2, 2});
    EXPECT_TRUE(IsNear(target->At(1, 20), red, 3));
    EXPECT_TRUE(IsNear(target->At(38, 20), white, 3));
}

TEST_P(Drawing, BlendsThroughTheAlphaChannel) {
    const Held<Picture> source =
        host.CreatePicture({.width = 3, .height = 1, .alphaChannel = true});
    source->Put(1, 0, Color{255, 0, 0, 255});
    source->Put(2, 0, Color{255, 0, 0, 129});
    const Held<Picture> target = host.CreatePicture({.width = 3, .height = 1});
    Draw(target.Handle(), source.Handle(), {0, 0, 3, 1}, {0, 0, 3, 1});
    EXPECT_EQ(target->At(0, 0), white);
    EXPECT_EQ(target->At(1, 0), red);
    EXPECT_TRUE(IsNear(target->At(2, 0), Color{255, 126, 126, 255}, 2));
}

TEST_P(Drawing, MakesATransparentPictureVisibleWhereItDraws) {
    const Held<Picture> source = host.CreatePicture({.width = 1, .height = 1, .fill = red});
    const Held<Picture> target =
        host.CreatePicture({.width = 2, .height = 1, .alphaChannel = true});
    Draw(target.Handle(), source.Handle(), {1, 0, 1, 1}, {0, 0, 1, 1});
    EXPECT_EQ(target->At(0, 0), transparent);
    EXPECT_EQ(target->At(1, 0), red);
}

TEST_P(Drawing, OntoItselfTakesTheOldPixels) {
    const Held<Picture> picture = host.CreatePicture({.width = 600, .height = 3});
    FillWithPlaces(*picture);
    Draw(picture.Handle(), picture.Handle(), {1, 1, 599, 2}, {0, 0, 599, 2});
    for (int x = 1; x < 600; ++x) {
        ASSERT_EQ(picture->At(x, 1), Place(x - 1, 0)) << x;
        ASSERT_EQ(picture->At(x, 2), Place(x - 1, 1)) << x;
    }
    EXPECT_EQ(picture->At(0, 2), Place(0, 2));
}

TEST_P(Drawing, OntoItsOwnMaskTakesTheOldMask) {
    const Held<Picture> source = host.CreatePicture({.width = 600, .height = 1, .fill = black});
    const Held<Picture> mask = host.CreatePicture({.width = 600, .height = 1});
    for (int x = 0; x < 600; x += 2)
        mask->Put(x, 0, Grey(128));
    host.SetMask(*source, &*mask);
    Draw(mask.Handle(), source.Handle(), {1, 0, 599, 1}, {0, 0, 599, 1});
    EXPECT_EQ(mask->At(0, 0), Grey(128));
    // Odd pixels, white before, take half of the black; even ones are drawn through white.
    for (int x = 1; x < 600; ++x)
        ASSERT_TRUE(IsNear(mask->At(x, 0), Grey(128), 1)) << x;
}

TEST_P(Drawing, TakesPicturesOfTheOtherRuntime) {
    const bool console = GetParam() == consoleLayout;
    const Held<Picture> source =
        host.CreatePicture({.width = 3,
                            .height = 2,
                            .memory = console ? REALdescriptionKind::BitmapContext
                                              : REALdescriptionKind::ConsoleImage});
    FillWithPlaces(*source);
    const Held<Picture> target = host.CreatePicture({.width = 3, .height = 2});
    Draw(target.Handle(), source.Handle(), {0, 0, 3, 2}, {0, 0, 3, 2});
    EXPECT_EQ(target->At(2, 1), Place(2, 1));
}

TEST_P(Drawing, TakesPicturesWiderThanPixmanCanCount) {
    const Held<Picture> source = host.CreatePicture({.width = 40000, .height = 2});
    source->Put(39999, 1, red);
    const Held<Picture> target = host.CreatePicture({.width = 40000, .height = 2, .fill = black});
    Draw(target.Handle(), source.Handle(), {0, 0, 40000, 2}, {0, 0, 40000, 2});
    EXPECT_EQ(target->At(0, 0), white);
    EXPECT_EQ(target->At(39998, 1), white);
    EXPECT_EQ(target->At(39999, 1), red);
}

TEST_P(Drawing, LeavesPixelsUnderATransparentSourceExactlyAlone) {
    const Held<Picture> source =
        host.CreatePicture({.width = 2, .height = 1, .alphaChannel = true});
    const Held<Picture> target = host.CreatePicture({.width = 2, .height = 1});
    target->SetWord(0, 0, 0x01020304);
    target->SetWord(1, 0, 0x10203040);
    Draw(target.Handle(), source.Handle(), {0, 0, 2, 1}, {0, 0, 2, 1});
    EXPECT_EQ(target->Word(0, 0), 0x01020304U);
    EXPECT_EQ(target->Word(1, 0), 0x10203040U);
}

TEST_P(Drawing, ANilPictureRaisesAnException) {
    const Held<Picture> target = host.CreatePicture({});
    Draw(target.Handle(), nullptr, {0, 0, 1, 1}, {0, 0, 1, 1});
    EXPECT_EQ(host.TakeException()->className, "NilObjectException");
}

TEST_P(Drawing, AGraphicsObjectKeepsItsPictureAlive) {
    Held<Picture> picture = host.CreatePicture({});
    const REALpicture handle = picture.Handle();
    const REALgraphics graphics = services::REALGetPictureGraphics()(handle);
    picture.Reset();
    EXPECT_TRUE(host.Books().IsLive(handle));
    services::REALUnlockObject()(graphics);
    EXPECT_FALSE(host.Books().IsLive(handle));
}

TEST_P(Drawing, IsAMethodOfGraphicsAloneAndOfThatDeclarationAlone) {
    const Held<Picture> picture = host.CreatePicture({});
    const REALgraphics graphics = services::REALGetPictureGraphics()(picture.Handle());
    EXPECT_EQ(services::REALLoadObjectMethod()(picture.Handle(), declaration), nullptr);
    EXPECT_EQ(services::REALLoadObjectMethod()(graphics, "DrawPicture(Image as Picture)"), nullptr);
    EXPECT_EQ(services::REALLoadObjectMethod()(graphics, "CopyMask as Picture"), nullptr);
    services::REALUnlockObject()(graphics);
}

}  // namespace
}  // namespace workbench
