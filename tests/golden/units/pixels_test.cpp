// Checksums and pictures without a layout. The numbers were computed by another program.
#include "tests/golden/pixels.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <set>

#include "tests/golden/content.h"

namespace golden {
namespace {

const Pixels twoByOne{2, 1, {{1, 2, 3, 255}, {250, 128, 0, 255}}};

TEST(Crc, IsThatOfSizeAndChannels) {
    EXPECT_EQ(Crc(twoByOne), 0xC2978402U);
    EXPECT_EQ(Crc({1, 2, twoByOne.pixels}), 0x9CC1E200U) << "the same bytes in another shape";
    EXPECT_EQ(Crc({}), 0x6522DF69U) << "no pixels";
}

TEST(Pixels, AreThoseWrittenInEveryLayout) {
    for (const int layout : {1, 2, 3, 4, 5, 6, 8})
        EXPECT_EQ(PixelsOf(InLayout(twoByOne, layout)), twoByOne) << "layout " << layout;
}

TEST(Pixels, KeepTheFourthByte) {
    const Pixels translucent{1, 1, {{9, 8, 7, 100}}};
    for (const int layout : {1, 2, 3, 4, 5, 6})
        EXPECT_EQ(PixelsOf(InLayout(translucent, layout)), translucent) << "layout " << layout;
    EXPECT_EQ(InLayout(translucent, 8).words.front(), 0x4D090807U) << "7 bits of transparency";
    EXPECT_EQ(PixelsOf(InLayout(translucent, 8)).At(0, 0), (Pixel{9, 8, 7, 255 - 0x4D}));
}

TEST(FirstDifference, IsTheIndexOfThePixel) {
    Pixels other = twoByOne;
    EXPECT_EQ(FirstDifference(twoByOne, other), std::nullopt);
    other.pixels[1].alpha = 254;
    EXPECT_EQ(FirstDifference(twoByOne, other), 1U);
}

TEST(Content, IsTheSameForASeedOnEveryMachine) {
    EXPECT_EQ(Crc(Paint(Content::Noise, Alpha::Varied, 9, 7, 1)), 0x6D68A771U);
    EXPECT_EQ(Crc(Paint(Content::TwoValued, Alpha::Opaque, 9, 7, 1)), 0xB8900A99U);
}

TEST(Content, RisesAndFallsSlowlyInAGradient) {
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        const Pixels picture = Paint(Content::Gradient, Alpha::Varied, 300, 200, seed);
        for (int y = 1; y < picture.height; ++y) {
            for (int x = 1; x < picture.width; ++x) {
                ASSERT_LE(std::abs(picture.At(x, y).red - picture.At(x - 1, y).red), 1);
                ASSERT_LE(std::abs(picture.At(x, y).green - picture.At(x, y - 1).green), 1);
            }
        }
    }
}

TEST(Content, HasFewColoursInPatches) {
    std::set<std::uint32_t> colours;
    const Pixels picture = Paint(Content::Patches, Alpha::Opaque, 100, 80, 3);
    for (const std::uint32_t word : InLayout(picture, 1).words)
        colours.insert(word);
    EXPECT_GT(colours.size(), 1U);
    EXPECT_LE(colours.size(), 5U);
}

TEST(Content, IsOpaqueOrNothingWhereItIsPerforated) {
    int holes = 0;
    const Pixels picture = Paint(Content::Noise, Alpha::Perforated, 40, 40, 5);
    for (const Pixel& pixel : picture.pixels) {
        if (pixel.alpha == 255) continue;
        ++holes;
        EXPECT_EQ(pixel, (Pixel{0, 0, 0, 0}));
    }
    EXPECT_GT(holes, 0);
    EXPECT_LT(holes, 1600);
}

}  // namespace
}  // namespace golden
