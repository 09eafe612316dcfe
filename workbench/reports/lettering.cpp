// Sets text with the typefaces of Debian's fonts-dejavu-core, by their files, so that the result
// does not depend on how a machine's fonts are configured.
#include "workbench/reports/lettering.h"

#include <algorithm>
#include <array>

#include "workbench/files/file_error.h"

namespace workbench {
namespace {

std::string FontFile(Typeface face) {
    const std::string folder = "/usr/share/fonts/truetype/dejavu/";
    switch (face) {
        case Typeface::Bold:
            return folder + "DejaVuSans-Bold.ttf";
        case Typeface::Mono:
            return folder + "DejaVuSansMono.ttf";
        case Typeface::Regular:
            break;
    }
    return folder + "DejaVuSans.ttf";
}

// Draws, or only measures where there is no image; the result is libgd's box of eight numbers.
std::array<int, 8> Set(gdImage* image, int x, int y, const std::string& text,
                       const TextStyle& style) {
    std::string font = FontFile(style.face);
    std::string line = text;
    std::array<int, 8> box{};
    const char* const error = gdImageStringFT(image, box.data(), style.color, font.data(),
                                              style.points, 0.0, x, y, line.data());
    if (error != nullptr)
        throw FileError(font, std::string("cannot be used (") + error +
                                  "); it is in the package fonts-dejavu-core");
    return box;
}

}  // namespace

void DrawLine(gdImage& image, int x, int y, const std::string& text, const TextStyle& style) {
    const int blending = image.alphaBlendingFlag;
    gdImageAlphaBlending(&image, 1);
    Set(&image, x, y, text, style);
    gdImageAlphaBlending(&image, blending);
}

int LineWidth(const std::string& text, const TextStyle& style) {
    const std::array<int, 8> box = Set(nullptr, 0, 0, text, style);
    return std::max(box[2], box[4]) - std::min(box[0], box[6]);
}

}  // namespace workbench
