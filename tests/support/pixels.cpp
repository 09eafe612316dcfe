// Random pixels and the comparison of pictures.
#include "tests/support/pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>

#include "tests/reference/image.h"
#include "tests/support/random.h"
#include "workbench/pictures/color.h"
#include "workbench/pictures/picture.h"

namespace contract {
namespace {

struct Position {
    std::int64_t column;
    std::int64_t row;
};

// The pixels around a difference as a small picture of hexadecimal words.
std::string Excerpt(const reference::Image& image, Position around) {
    constexpr std::int64_t columns = 7;
    constexpr std::int64_t rows = 5;
    const std::int64_t left = std::clamp<std::int64_t>(
        around.column - columns / 2, 0, std::max<std::int64_t>(0, image.width - columns));
    const std::int64_t top = std::clamp<std::int64_t>(
        around.row - rows / 2, 0, std::max<std::int64_t>(0, image.height - rows));
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (std::int64_t row = top; row < std::min(image.height, top + rows); ++row) {
        text << "   ";
        for (std::int64_t column = left; column < std::min(image.width, left + columns); ++column) {
            const bool here = column == around.column && row == around.row;
            text << (here ? '>' : ' ') << std::setw(8) << image.At(column, row);
        }
        text << '\n';
    }
    return text.str();
}

}  // namespace

void FillRandomly(workbench::Picture& picture, Random& random) {
    const std::uint32_t bits = picture.Layout() == workbench::consoleLayout ? 0x7FFFFFFFU : ~0U;
    for (int y = 0; y < picture.Height(); ++y) {
        for (std::uint32_t& word : picture.Row(y))
            word = random.Word() & bits;
    }
}

void FillRandomlyOpaque(workbench::Picture& picture, Random& random) {
    for (int y = 0; y < picture.Height(); ++y) {
        for (std::uint32_t& word : picture.Row(y)) {
            const std::uint32_t bits = random.Word();
            word = reference::EncodeOpaque({bits & 255U, (bits >> 8U) & 255U, (bits >> 16U) & 255U},
                                           picture.Layout());
        }
    }
}

reference::Image ImageOf(const workbench::Picture& picture) {
    reference::Image image(picture.Width(), picture.Height(), picture.Layout());
    auto next = image.words.begin();
    for (int y = 0; y < picture.Height(); ++y) {
        const auto row = picture.Row(y);
        next = std::copy(row.begin(), row.end(), next);
    }
    return image;
}

void ExpectPixels(const reference::Image& expected, const workbench::Picture& found,
                  const std::string& parameters) {
    EXPECT_TRUE(found.PaddingIsIntact()) << parameters;
    const reference::Image image = ImageOf(found);
    ASSERT_EQ(image.width, expected.width) << parameters;
    ASSERT_EQ(image.height, expected.height) << parameters;
    ASSERT_EQ(image.format, expected.format) << parameters;
    const auto different =
        std::mismatch(expected.words.begin(), expected.words.end(), image.words.begin());
    if (different.first == expected.words.end()) return;
    const std::int64_t index = different.first - expected.words.begin();
    const Position position = {index % expected.width, index / expected.width};
    ADD_FAILURE() << parameters << "\nfirst difference in column " << position.column << ", row "
                  << position.row << " of " << expected.width << " x " << expected.height
                  << ", layout " << expected.format << "\n  expected\n"
                  << Excerpt(expected, position) << "  found\n"
                  << Excerpt(image, position);
}

}  // namespace contract
