// Which bitmap contexts are used, up to sizes that no host of the tests has memory for.
#include "pixels/bitmap_context.h"

#include <gtest/gtest.h>

#include <limits>

namespace zvk {
namespace {

constexpr std::uint64_t longestSide = std::numeric_limits<std::int32_t>::max();

std::uint8_t pixels[4];

// A context as large as one may be, with no byte behind the pixels of a row.
constexpr BitmapContext greatest = {.data = pixels,
                                    .bitsPerPixel = 32,
                                    .width = longestSide,
                                    .height = longestSide,
                                    .bytesPerRow = 4 * longestSide,
                                    .alphaInfo = 1};

TEST(BitmapContexts, AreUsableUpToTheGreatestSides) {
    EXPECT_TRUE(greatest.IsUsable());
    BitmapContext context = greatest;
    context.width += 1;
    context.bytesPerRow += 4;
    EXPECT_FALSE(context.IsUsable());
    context = greatest;
    context.height += 1;
    EXPECT_FALSE(context.IsUsable());
}

TEST(BitmapContexts, AreUsableOnlyWithMemoryForWholeRowsOfThirtyTwoBits) {
    BitmapContext context = greatest;
    context.bytesPerRow -= 1;
    EXPECT_FALSE(context.IsUsable());
    context = greatest;
    context.data = nullptr;
    EXPECT_FALSE(context.IsUsable());
    for (const std::uint64_t bits : {0U, 16U, 31U, 33U, 64U}) {
        context = greatest;
        context.bitsPerPixel = bits;
        EXPECT_FALSE(context.IsUsable()) << bits;
    }
}

}  // namespace
}  // namespace zvk
