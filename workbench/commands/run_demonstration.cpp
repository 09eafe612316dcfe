// The command that shows everything: one sheet after the other.
#include "workbench/commands/commands.h"
#include "workbench/commands/demonstration.h"
#include "workbench/reports/test_chart.h"

namespace workbench {

ExitStatus RunDemonstration(Session& session, const Options& options,
                            const Environment& environment) {
    const DemonstrationSources sources = LoadSources();
    Stage stage(session, options.outputFolder, sources);
    const GdImage chart = DrawTestChart();
    stage.Write("photo", *sources.photo);
    stage.Write("test-chart", *chart);
    ShowMethods(stage);
    ShowModes(stage);
    ShowBlur(stage);
    ShowDrawing(stage);
    ShowMasks(stage);
    stage.Report(environment.output);
    return ExitStatus::Ok;
}

}  // namespace workbench
