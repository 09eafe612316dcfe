// Text in pictures, set by libgd's FreeType support in the DejaVu typefaces. Used by contact sheets
// and the test chart.
#pragma once

#include <gd.h>

#include <string>

namespace workbench {

enum class Typeface { Regular, Bold, Mono };

struct TextStyle {
    Typeface face = Typeface::Regular;
    double points = 10.0;  // at 96 dots per inch
    int color = 0x202020;  // a libgd truecolor word
};

/// Draws one line of text, its baseline at `y`. Throws FileError if the typeface is not installed.
void DrawLine(gdImage& image, int x, int y, const std::string& text, const TextStyle& style);

/// The width of the text in pixels. Throws FileError as above.
int LineWidth(const std::string& text, const TextStyle& style);

}  // namespace workbench
