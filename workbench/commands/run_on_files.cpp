// The command for many pictures: the calls are checked once, then every file goes its own way.
#include <map>
#include <ostream>
#include <system_error>

#include "workbench/commands/commands.h"
#include "workbench/commands/failure_report.h"
#include "workbench/commands/picture_job.h"
#include "workbench/files/encoding.h"
#include "workbench/files/file_error.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

// The input's name; formats that are read and not written become PNG.
fs::path OutputFor(const fs::path& input, const fs::path& folder) {
    fs::path output = folder / input.filename();
    try {
        OutputFormatOf(output);
    } catch (const FileError&) {
        output.replace_extension(".png");
    }
    return output;
}

std::vector<fs::path> OutputsFor(const Options& options) {
    std::map<fs::path, fs::path> inputOf;
    std::vector<fs::path> outputs;
    for (const fs::path& input : options.inputs) {
        const fs::path output = OutputFor(input, options.outputFolder);
        const auto [other, isNew] = inputOf.emplace(output, input);
        if (!isNew)
            throw UsageError(other->second.string() + " and " + input.string() +
                             " would both become " + output.string());
        std::error_code ignored;
        if (fs::equivalent(input, output, ignored))
            throw UsageError(input.string() + " would be written over by its own result");
        outputs.push_back(output);
    }
    return outputs;
}

void CreateFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) throw FileError(folder, "cannot be created: " + error.message());
}

}  // namespace

ExitStatus RunOnFiles(Session& session, const Options& options, const Environment& environment) {
    const std::vector<fs::path> outputs = OutputsFor(options);
    PictureJob job(session, options, environment);
    CreateFolder(options.outputFolder);
    std::size_t failed = 0;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const std::string& input = options.inputs[i].native();
        job.NameProgress(std::to_string(i + 1) + " of " + std::to_string(outputs.size()) + ": " +
                         input);
        job.Progress().Begin(std::to_string(i + 1) + " of " + std::to_string(outputs.size()) +
                             ": " + input);
        job.Progress().Update("");
        try {
            job.Run(input, outputs[i]);
        } catch (const Interrupted&) {
            throw;
        } catch (...) {
            ++failed;
            std::string text = Describe(std::current_exception()).text;
            if (text.rfind(input, 0) != 0) text.insert(0, input + ": ");
            job.Progress().Wipe();
            environment.errors << "zvk: " << OneLine(text) << '\n';
        }
    }
    if (failed == 0) return ExitStatus::Ok;
    environment.errors << "zvk: " << failed << " of " << outputs.size() << " files failed\n";
    return ExitStatus::HostException;
}

}  // namespace workbench
