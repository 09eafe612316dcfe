// One picture from file to file through the calls of a command. Used for single files and batches.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "workbench/commands/call_run.h"
#include "workbench/commands/environment.h"
#include "workbench/commands/options.h"
#include "workbench/commands/session.h"
#include "workbench/reports/progress_line.h"

namespace workbench {

class PictureJob {
  public:
    /// Checks the calls and loads what they draw. Throws CallError or FileError.
    PictureJob(Session& session, const Options& options, const Environment& environment);

    /// Throws CallError, FileError, RaisedError, EmptyResultError or Interrupted; no output file
    /// appears then.
    void Run(const std::filesystem::path& input, const std::filesystem::path& output);

    /// A job whose progress is shown as a whole names what is going on itself.
    void NameProgress(std::string name) { progressName_ = std::move(name); }
    ProgressLine& Progress() { return progress_; }

  private:
    Held<Picture> Load(const std::filesystem::path& input);
    void Yielded();

    Session& session_;
    const Environment& environment_;
    ProgressLine progress_;
    std::string progressName_;
    std::uint64_t yields_ = 0;
    Held<Picture> mask_;
    bool masksInput_ = false;
    std::vector<LoadedCall> calls_;
};

}  // namespace workbench
