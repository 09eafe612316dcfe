// Which console images can be trusted as far as their description goes.
#include "bridge/console_image.h"

#include <gtest/gtest.h>

#include <array>

namespace zvk {
namespace {

class DescribedConsoleImages : public ::testing::Test {
  protected:
    DescribedConsoleImages() {
        image.sx = 4;
        image.sy = 3;
        image.trueColor = 1;
        image.tpixels = rows.data();
        description.kind = REALdescriptionKind::ConsoleImage;
        description.handle = &image;
        description.width = 4;
        description.height = 3;
    }

    bool IsUsed() const { return DescribedConsoleImage(description) == &image; }

    std::array<int, 4> pixels{};
    std::array<int*, 3> rows = {pixels.data(), pixels.data(), pixels.data()};
    REALconsoleImage image{};
    REALpictureDescription description{};
};

TEST_F(DescribedConsoleImages, AreUsedUpToTheirOwnSize) {
    EXPECT_TRUE(IsUsed());
    description.width = 0;
    description.height = 1;
    EXPECT_TRUE(IsUsed());
}

TEST_F(DescribedConsoleImages, AreRefusedBeyondTheirOwnSize) {
    description.width = 5;
    EXPECT_FALSE(IsUsed());
    description.width = 4;
    description.height = 4;
    EXPECT_FALSE(IsUsed());
}

TEST_F(DescribedConsoleImages, AreRefusedWithoutRowsOrWithANegativeWidth) {
    description.height = 0;
    EXPECT_FALSE(IsUsed());
    description.height = 3;
    description.width = -1;
    EXPECT_FALSE(IsUsed());
}

TEST_F(DescribedConsoleImages, AreRefusedWhereAnyDescribedRowIsMissing) {
    for (int*& row : rows) {
        int* const kept = row;
        row = nullptr;
        EXPECT_FALSE(IsUsed());
        row = kept;
    }
    rows.back() = nullptr;
    description.height = 2;
    EXPECT_TRUE(IsUsed()) << "the row that is missing is not described";
    image.tpixels = nullptr;
    EXPECT_FALSE(IsUsed());
}

TEST_F(DescribedConsoleImages, AreRefusedWhereTheDescriptionIsOfAnotherKind) {
    description.kind = REALdescriptionKind::BitmapContext;
    EXPECT_FALSE(IsUsed());
}

}  // namespace
}  // namespace zvk
