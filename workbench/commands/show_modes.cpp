// The seven modes of ScalingZVK side by side, enlarging and reducing.
#include <array>
#include <string>

#include "workbench/commands/demonstration.h"
#include "workbench/reports/test_chart.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

constexpr std::array<const char*, 7> modeNames{"triangle", "box",     "Lanczos3", "Lanczos8",
                                               "Mitchell", "bicubic", "Cubic6"};

struct Subject {
    std::string name;
    GdImage source;
    int width = 0;  // of the results
    int height = 0;
};

TileRow RowOf(Stage& stage, const Subject& subject, const std::string& change, Tile sourceTile) {
    TileRow row;
    row.heading = subject.name + ", " + std::to_string(subject.source->sx) + " x " +
                  std::to_string(subject.source->sy) + " to " + std::to_string(subject.width) +
                  " x " + std::to_string(subject.height);
    row.tiles.push_back(std::move(sourceTile));
    const Held<Picture> picture = stage.NewPicture(*subject.source);
    for (std::size_t i = 0; i < modeNames.size(); ++i) {
        const std::string mode = std::to_string(i + 1);
        const std::string call = Joined({"ScalingZVK(", mode, ", ", std::to_string(subject.width),
                                         ", ", std::to_string(subject.height), ")"});
        const std::string file =
            Joined({"modes-", change, "-", subject.name, "-", mode, "-", modeNames.at(i)});
        row.tiles.push_back(
            stage.Result(file, stage.Call(*picture, call), mode + "  " + modeNames.at(i)));
    }
    return row;
}

void ShowEnlarging(Stage& stage) {
    constexpr int factor = 4;
    constexpr int side = 48;
    ContactSheet sheet;
    sheet.title = "ScalingZVK enlarging four times";
    sheet.explanation = {
        "Left: the source, each pixel as a square. Triangle and Mitchell soften; Lanczos3, "
        "Lanczos8, "
        "bicubic and Cubic6 keep edges sharper and ring beside them; box keeps the squares."};
    std::array<Subject, 3> subjects{
        {{"photo", Cropped(*stage.Sources().photoPart, 0, 0, side, side)},
         {"edges", DrawEdges(side)},
         {"text", DrawFineText(side, side)}}};
    for (Subject& subject : subjects) {
        subject.width = side * factor;
        subject.height = side * factor;
        Tile source{Magnified(*subject.source, factor), "source", ""};
        sheet.rows.push_back(RowOf(stage, subject, "enlarging", std::move(source)));
    }
    stage.WriteSheet("modes-enlarging", sheet);
}

void ShowReducing(Stage& stage) {
    constexpr int width = 192;
    ContactSheet sheet;
    sheet.title = "ScalingZVK reducing";
    sheet.explanation = {
        "Left: a part of the source, unscaled. Rings that should be grey and show as new rings are "
        "aliasing; a wider filter shows less of it."};
    std::array<Subject, 4> subjects{
        {{"photo", Cropped(*stage.Sources().photo, 0, 0, 480, 320), width, 128},
         {"zone plate", DrawZonePlate(480), width, width},
         {"edges", DrawEdges(480), width, width},
         {"text", DrawFineText(320, 200), width, 120}}};
    for (const Subject& subject : subjects) {
        const bool isCentred = subject.name == "zone plate";
        const int x = isCentred ? (subject.source->sx - subject.width) / 2 : 0;
        const int y = isCentred ? (subject.source->sy - subject.height) / 2 : 0;
        Tile part{Cropped(*subject.source, x, y, subject.width, subject.height), "source (a part)",
                  ""};
        sheet.rows.push_back(RowOf(stage, subject, "reducing", std::move(part)));
    }
    stage.WriteSheet("modes-reducing", sheet);
}

}  // namespace

void ShowModes(Stage& stage) {
    if (!stage.Has("ScalingZVK")) return;
    ShowEnlarging(stage);
    ShowReducing(stage);
}

}  // namespace workbench
