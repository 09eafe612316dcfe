// Small pictures of words, so that a difference can be seen and looked up.
#include "tests/golden/show_case.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "tests/golden/expectation.h"
#include "tests/golden/run.h"

namespace golden {
namespace {

constexpr int shownSide = 16;

// The part of both pictures that is shown.
struct Window {
    int left;
    int top;
    int right;  // the column and row behind the last
    int bottom;
    bool withAlpha;
};

std::string WordOf(const Pixel& pixel, bool withAlpha) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (const int byte : {+pixel.red, +pixel.green, +pixel.blue})
        text << std::setw(2) << byte;
    if (withAlpha) text << std::setw(2) << +pixel.alpha;
    return text.str();
}

void ShowWords(const Pixels& pixels, const Window& window, std::ostream& output) {
    for (int y = window.top; y < std::min(window.bottom, pixels.height); ++y) {
        output << " ";
        for (int x = window.left; x < std::min(window.right, pixels.width); ++x)
            output << ' ' << WordOf(pixels.At(x, y), window.withAlpha);
        output << '\n';
    }
}

// Where a side begins so that the position is near the middle and nothing lies outside.
int Start(int position, int length) {
    return std::clamp(position - shownSide / 2, 0, std::max(0, length - shownSide));
}

Window WindowAround(int column, int row, const Pixels& pixels, bool withAlpha) {
    const int left = Start(column, pixels.width);
    const int top = Start(row, pixels.height);
    return {left, top, std::min(pixels.width, left + shownSide),
            std::min(pixels.height, top + shownSide), withAlpha};
}

bool AlphaDiffers(const Pixels& left, const Pixels& right) {
    return !std::equal(left.pixels.begin(), left.pixels.end(), right.pixels.begin(),
                       right.pixels.end(),
                       [](const Pixel& l, const Pixel& r) { return l.alpha == r.alpha; });
}

}  // namespace

bool ShowPictures(const std::string& name, const Pixels& expected, const Pixels& found,
                  std::ostream& output) {
    const bool sameSize = expected.width == found.width && expected.height == found.height;
    const auto difference = sameSize ? FirstDifference(expected, found) : std::nullopt;
    int column = 0;
    int row = 0;
    if (difference) {
        column = static_cast<int>(*difference) % expected.width;
        row = static_cast<int>(*difference) / expected.width;
    }
    const Window window =
        WindowAround(column, row, expected, sameSize && AlphaDiffers(expected, found));
    output << name << ", " << expected.width << " x " << expected.height << ", columns "
           << window.left << " to " << window.right - 1 << ", rows " << window.top << " to "
           << window.bottom - 1 << "\nexpected\n";
    ShowWords(expected, window, output);
    output << "found\n";
    ShowWords(found, window, output);
    if (!sameSize) {
        output << name << ": they differ in size; found " << found.width << " x " << found.height
               << "\n";
    } else if (difference) {
        output << name << ": they differ, first in column " << column << ", row " << row << "\n";
    } else {
        output << name << ": they are equal\n";
    }
    return sameSize && !difference;
}

bool ShowCase(const Case& item, const std::filesystem::path& plugin, std::ostream& output) {
    const Outcome outcome = RunCase(item, plugin);
    const Results expected = Expected(item, outcome.inputs);
    output << item.number << ": " << Describe(item) << "\nexpected " << Checksum(expected)
           << ", found " << Checksum(outcome) << "\n";
    if (!outcome.report.empty()) output << outcome.report << "\n";
    const Results& found = outcome.results;
    bool equal = outcome.failure.empty() && expected.mask.has_value() == found.mask.has_value();
    equal = ShowPictures("picture", expected.picture, found.picture, output) && equal;
    if (expected.mask || found.mask) {
        equal = ShowPictures("mask", expected.mask.value_or(Pixels{}),
                             found.mask.value_or(Pixels{}), output) &&
                equal;
    }
    output << (equal ? "The case gives what is expected.\n"
                     : "The case does not give what is expected.\n");
    return equal;
}

}  // namespace golden
