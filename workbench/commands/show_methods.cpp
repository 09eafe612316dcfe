// Every method once, with what it starts from and what comes out.
#include <array>
#include <string>
#include <vector>

#include "workbench/commands/demonstration.h"
#include "workbench/reports/test_chart.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

struct Example {
    std::string method;
    std::string heading;
    std::vector<std::string> arguments;
};

const std::array<Example, 4>& Examples() {
    static const std::array<Example, 4> examples{{
        {"ScalingZVK",
         "ScalingZVK(mode, width, height): resampled by one of seven filters",
         {"3, 120, 80", "3, 240, 80", "5, 360, 240"}},
        {"ScaleZVK",
         "ScaleZVK(width, height, AntiAlias): fast averaging, or smooth where it enlarges",
         {"120, 80", "360, 240", "360, 240, true"}},
        {"ScaleImageAndMaskZVK",
         "ScaleImageAndMaskZVK(width, height, AntiAlias): the same, and the mask with it",
         {"120, 80", "360, 240", "360, 240, true"}},
        {"BlurZVK", "BlurZVK(Radius): the mean of a square around each pixel", {"2", "6", "18"}},
    }};
    return examples;
}

TileRow RowOf(Stage& stage, const Example& example, const GdImage& source, Picture& receiver) {
    TileRow row{example.heading, {}};
    row.tiles.push_back({CopyPicture(receiver), "receiver",
                         std::to_string(source->sx) + " x " + std::to_string(source->sy)});
    for (const std::string& arguments : example.arguments) {
        const std::string call = example.method + "(" + arguments + ")";
        row.tiles.push_back(stage.Result("methods-" + call, stage.Call(receiver, call), call));
    }
    return row;
}

// A mask of soft diagonal bands.
GdImage DrawBandMask(int width, int height) {
    GdImage mask = NewImage(width, height, 0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int phase = (x + y) % 80;
            const int level = phase < 40 ? phase : 80 - phase;
            mask->tpixels[y][x] = level * 255 / 40 * 0x010101;
        }
    }
    return mask;
}

TileRow DrawingRow(Stage& stage, const GdImage& ground) {
    const GdImage stamp = DrawEdges(64);
    const std::string file = ToText(Literal(QuotedText{stage.Write("stamp", *stamp).string()}));
    TileRow row{"DrawPictureFZVK(pic, x, y, alpha): drawn at any position, even between pixels",
                {}};
    row.tiles.push_back(SourceTile(ground, "receiver"));
    row.tiles.push_back(SourceTile(stamp, "pic"));
    for (const std::string arguments : {"60, 40", "60.5, 40.5", "60.5, 40.5, 0.5"}) {
        const std::string label = Joined({"DrawPictureFZVK(pic, ", arguments, ")"});
        const std::string call = Joined({"DrawPictureFZVK(", file, ", ", arguments, ")"});
        row.tiles.push_back(stage.Result("methods-" + label, stage.Call(*ground, call), label));
    }
    return row;
}

}  // namespace

void ShowMethods(Stage& stage) {
    constexpr int width = 240;
    constexpr int height = 160;
    const GdImage source = Cropped(*stage.Sources().photo, 120, 100, width, height);
    const Held<Picture> mask = stage.NewPicture(*DrawBandMask(width, height));
    ContactSheet sheet;
    sheet.title = "The plugin's methods";
    for (const Example& example : Examples()) {
        if (!stage.Has(example.method)) continue;
        const Held<Picture> receiver = stage.NewPicture(*source);
        if (example.method == "ScaleImageAndMaskZVK") stage.SetMask(*receiver, *mask);
        sheet.rows.push_back(RowOf(stage, example, source, *receiver));
    }
    if (stage.Has("DrawPictureFZVK")) sheet.rows.push_back(DrawingRow(stage, source));
    if (!sheet.rows.empty()) stage.WriteSheet("methods", sheet);
}

}  // namespace workbench
