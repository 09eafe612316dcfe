// BlurZVK with growing radii.
#include <array>
#include <string>
#include <utility>

#include "workbench/commands/demonstration.h"
#include "workbench/reports/test_chart.h"

namespace workbench {

void ShowBlur(Stage& stage) {
    if (!stage.Has("BlurZVK")) return;
    constexpr std::array<int, 6> radii{1, 2, 4, 8, 16, 32};
    constexpr int width = 200;
    constexpr int height = 150;
    ContactSheet sheet;
    sheet.title = "BlurZVK";
    sheet.explanation = {
        "Each pixel is the mean of a square of 2 x radius + 1 pixels a side; beyond the edges the "
        "edge pixels are repeated."};
    const std::array<std::pair<std::string, GdImage>, 3> subjects{
        {{"photo", Cropped(*stage.Sources().photo, 60, 40, width, height)},
         {"edges", Cropped(*DrawEdges(width), 0, 0, width, height)},
         {"text", DrawFineText(width, height)}}};
    for (const auto& [name, source] : subjects) {
        TileRow row{name, {}};
        row.tiles.push_back(SourceTile(source, "source"));
        for (const int radius : radii) {
            const std::string call = "BlurZVK(" + std::to_string(radius) + ")";
            row.tiles.push_back(stage.Result("blur-" + name + "-" + std::to_string(radius),
                                             stage.Call(*source, call), call));
        }
        sheet.rows.push_back(std::move(row));
    }
    stage.WriteSheet("blur", sheet);
}

}  // namespace workbench
