// DrawPictureFZVK at positions between pixels, and with growing opacity.
#include <array>
#include <string>

#include "workbench/commands/demonstration.h"
#include "workbench/reports/test_chart.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

constexpr int canvasSide = 24;
constexpr int factor = 6;

std::string FileArgument(const std::filesystem::path& file) {
    return ToText(Literal(QuotedText{file.string()}));
}

// A small picture with hard edges, on which a shift of part of a pixel is seen best.
GdImage DrawGlyph() {
    constexpr int side = 12;
    GdImage image = NewImage(side, side, 0x1E5AC8);
    gdImageFilledRectangle(image.get(), 2, 2, 9, 3, 0xFFFFFF);
    gdImageFilledRectangle(image.get(), 5, 2, 6, 9, 0xFFFFFF);
    return image;
}

// The canvas with the glyph drawn at an offset, every pixel as a square.
Tile StepTile(Stage& stage, const std::string& glyph, double x, double y) {
    const std::string position = Fixed(x, 3) + ", " + Fixed(y, 3);
    const GdImage canvas = NewImage(canvasSide, canvasSide, 0xF2E6C8);
    GdImage drawn =
        stage.Call(*canvas, "DrawPictureFZVK(" + FileArgument(glyph) + ", " + position + ")");
    Tile tile = stage.Result("drawing-at-" + position, std::move(drawn), "x, y = " + position);
    tile.image = Magnified(*tile.image, factor);
    return tile;
}

TileRow StepsRow(Stage& stage, const std::string& glyph, double slope) {
    constexpr int steps = 9;
    constexpr double start = 6.0;
    TileRow row{slope > 0 ? "in steps of an eighth of a pixel, to the right and down"
                          : "in steps of an eighth of a pixel, to the right",
                {}};
    for (int step = 0; step < steps; ++step) {
        const double offset = step / 8.0;
        row.tiles.push_back(StepTile(stage, glyph, start + offset, start + slope * offset));
    }
    return row;
}

// White where the image is transparent: how the host keeps transparency apart from the colours.
GdImage MaskOf(const gdImage& image) {
    GdImage mask = NewImage(image.sx, image.sy, 0);
    for (int y = 0; y < image.sy; ++y) {
        for (int x = 0; x < image.sx; ++x) {
            const int transparency = gdTrueColorGetAlpha(image.tpixels[y][x]);
            mask->tpixels[y][x] = transparency * 255 / gdAlphaMax * 0x010101;
        }
    }
    return mask;
}

TileRow OpacityRow(Stage& stage) {
    constexpr std::array<double, 6> opacities{0.0, 0.2, 0.4, 0.6, 0.8, 1.0};
    const GdImage discs = DrawTransparency(110);
    const Held<Picture> mask = stage.NewPicture(*MaskOf(*discs));
    discs->saveAlphaFlag = 0;  // the colours alone; the mask makes them transparent
    const std::string file = FileArgument(stage.Write("discs", *discs));
    const GdImage ground = Cropped(*stage.Sources().photo, 150, 120, 180, 130);
    TileRow row{"alpha, from 0 to 1, for a picture with a mask", {}};
    for (const double opacity : opacities) {
        const std::string alpha = Fixed(opacity, 1);
        const std::string call = Joined({"DrawPictureFZVK(", file, ", 35.5, 10.25, ", alpha, ")"});
        row.tiles.push_back(stage.Result("drawing-alpha-" + alpha,
                                         stage.Call(*ground, call, &*mask), "alpha = " + alpha));
    }
    return row;
}

}  // namespace

void ShowDrawing(Stage& stage) {
    if (!stage.Has("DrawPictureFZVK")) return;
    const GdImage glyphImage = DrawGlyph();
    const std::string glyph = stage.Write("glyph", *glyphImage).string();
    ContactSheet sheet;
    sheet.title = "DrawPictureFZVK";
    sheet.explanation = {
        "Each pixel of the drawn picture is shared among the pixels that it covers, by area.",
        "In the first two rows every pixel is shown as a square."};
    sheet.rows.push_back(StepsRow(stage, glyph, 0.0));
    sheet.rows.push_back(StepsRow(stage, glyph, 1.0));
    sheet.rows.push_back(OpacityRow(stage));
    stage.WriteSheet("drawing", sheet);
}

}  // namespace workbench
