// Pictures with masks and with alpha channels: drawn and scaled.
#include <algorithm>
#include <cmath>
#include <string>

#include "workbench/commands/demonstration.h"
#include "workbench/reports/test_chart.h"

namespace workbench {
namespace {

constexpr int maskWidth = 160;
constexpr int maskHeight = 120;

// Black (opaque) in the middle, white (transparent) towards the corners.
GdImage DrawOvalMask() {
    GdImage mask = NewImage(maskWidth, maskHeight, 0xFFFFFF);
    for (int y = 0; y < maskHeight; ++y) {
        for (int x = 0; x < maskWidth; ++x) {
            const double distance =
                std::hypot((x + 0.5) / maskWidth - 0.5, (y + 0.5) / maskHeight - 0.5) * 2.0;
            const double level = std::clamp((distance - 0.6) / 0.4, 0.0, 1.0) * 255.0;
            mask->tpixels[y][x] = static_cast<int>(std::lround(level)) * 0x010101;
        }
    }
    return mask;
}

TileRow DrawingRow(Stage& stage, const GdImage& drawn, const GdImage& maskImage) {
    const std::string file = ToText(Literal(QuotedText{stage.Write("drawn", *drawn).string()}));
    const GdImage ground = DrawEdges(200);
    const Held<Picture> mask = stage.NewPicture(*maskImage);
    const std::string call = "DrawPictureFZVK(" + file + ", 20.5, 40.5";
    TileRow row{"DrawPictureFZVK: the mask lowers the opacity of what is drawn", {}};
    row.tiles.push_back(SourceTile(ground, "receiver"));
    row.tiles.push_back(SourceTile(drawn, "drawn picture"));
    row.tiles.push_back(SourceTile(maskImage, "its mask", "black: opaque, white: transparent"));
    row.tiles.push_back(
        stage.Result("masks-drawn-plain", stage.Call(*ground, call + ")"), "without a mask"));
    row.tiles.push_back(
        stage.Result("masks-drawn", stage.Call(*ground, call + ")", &*mask), "with the mask"));
    row.tiles.push_back(stage.Result("masks-drawn-half",
                                     stage.Call(*ground, call + ", alpha = 0.5)", &*mask),
                                     "with the mask, alpha = 0.5"));
    return row;
}

void AddScaled(Stage& stage, Picture& picture, const std::string& method, const std::string& name,
               const std::string& size, TileRow& row) {
    if (!stage.Has(method)) return;
    row.tiles.push_back(stage.Result(
        "masks-" + name, stage.Call(picture, method + "(" + size + ")"), method, "(" + size + ")"));
}

TileRow ScalingRow(Stage& stage, const GdImage& photo, const GdImage& maskImage) {
    const Held<Picture> mask = stage.NewPicture(*maskImage);
    const Held<Picture> picture = stage.NewPicture(*photo);
    stage.SetMask(*picture, *mask);
    TileRow row{"ScaleImageAndMaskZVK: the mask is scaled with its picture", {}};
    row.tiles.push_back({CopyPicture(*picture), "picture with its mask", "shown through the mask"});
    AddScaled(stage, *picture, "ScaleImageAndMaskZVK", "reduced", "107, 80", row);
    AddScaled(stage, *picture, "ScaleImageAndMaskZVK", "enlarged-fast", "240, 180", row);
    AddScaled(stage, *picture, "ScaleImageAndMaskZVK", "enlarged-smooth", "240, 180, true", row);
    AddScaled(stage, *picture, "ScaleZVK", "left-behind", "240, 180, true", row);
    return row;
}

// The photo with an alpha channel, as visible as the mask lets it be.
GdImage DrawThroughMask(const gdImage& photo, const gdImage& mask) {
    GdImage image = NewImage(maskWidth, maskHeight, 0);
    image->saveAlphaFlag = 1;
    for (int y = 0; y < maskHeight; ++y) {
        for (int x = 0; x < maskWidth; ++x) {
            const int transparency = gdTrueColorGetRed(mask.tpixels[y][x]) * gdAlphaMax / 255;
            image->tpixels[y][x] = photo.tpixels[y][x] | transparency << 24;
        }
    }
    return image;
}

TileRow AlphaChannelRow(Stage& stage, const GdImage& photo, const GdImage& maskImage) {
    const GdImage image = DrawThroughMask(*photo, *maskImage);
    const Held<Picture> picture = stage.NewPicture(*image);
    TileRow row{
        "ScaleImageAndMaskZVK with an alpha channel: the alpha channel is scaled, but the colours "
        "are drawn unscaled on white and cut off",
        {}};
    row.tiles.push_back({CopyPicture(*picture), "picture with an alpha channel", ""});
    AddScaled(stage, *picture, "ScaleImageAndMaskZVK", "alpha-reduced", "107, 80", row);
    AddScaled(stage, *picture, "ScaleImageAndMaskZVK", "alpha-enlarged-fast", "240, 180", row);
    AddScaled(stage, *picture, "ScaleImageAndMaskZVK", "alpha-enlarged-smooth", "240, 180, true",
              row);
    AddScaled(stage, *picture, "ScaleZVK", "alpha-scaled", "240, 180, true", row);
    return row;
}

}  // namespace

void ShowMasks(Stage& stage) {
    const GdImage photo = Cropped(*stage.Sources().photo, 200, 120, maskWidth, maskHeight);
    const GdImage mask = DrawOvalMask();
    ContactSheet sheet;
    sheet.title = "Masks";
    sheet.explanation = {
        "White is transparent and black opaque. A checkerboard shows through "
        "what is transparent."};
    if (stage.Has("DrawPictureFZVK")) sheet.rows.push_back(DrawingRow(stage, photo, mask));
    if (stage.Has("ScaleImageAndMaskZVK")) {
        sheet.rows.push_back(ScalingRow(stage, photo, mask));
        sheet.rows.push_back(AlphaChannelRow(stage, photo, mask));
    }
    if (!sheet.rows.empty()) stage.WriteSheet("masks", sheet);
}

}  // namespace workbench
