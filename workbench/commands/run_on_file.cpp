// The command for one picture.
#include "workbench/commands/commands.h"
#include "workbench/commands/picture_job.h"

namespace workbench {

ExitStatus RunOnFile(Session& session, const Options& options, const Environment& environment) {
    PictureJob job(session, options, environment);
    job.Run(options.inputs.front(), options.output);
    return ExitStatus::Ok;
}

}  // namespace workbench
