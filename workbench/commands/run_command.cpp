// Starts the host, runs the command that was chosen, closes the books.
#include "workbench/commands/run_command.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ostream>

#include "workbench/commands/commands.h"
#include "workbench/commands/failure_report.h"
#include "workbench/commands/interruption.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

// A picture cannot be larger than the machine's memory.
std::size_t MachineMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return HostSettings().maximumPictureBytes;
    return static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageSize);
}

HostSettings SettingsFrom(const Options& options) {
    HostSettings settings;
    settings.runtime = options.runtime;
    settings.layout = options.layout;
    if (options.hostVersion) settings.version = options.hostVersion;
    settings.maximumPictureBytes = MachineMemory();
    return settings;
}

ExitStatus RunChosen(Session& session, const Options& options, const Environment& environment) {
    switch (options.command) {
        case Command::Run:
            return RunOnFile(session, options, environment);
        case Command::Batch:
            return RunOnFiles(session, options, environment);
        case Command::Bench:
            return RunBenchmark(session, options, environment);
        case Command::Demo:
            return RunDemonstration(session, options, environment);
        case Command::Methods:
            return ListMethods(session, environment);
        case Command::Help:
        case Command::Version:
            break;
    }
    return ExitStatus::Ok;
}

ExitStatus ReportFailure(const Environment& environment) {
    const Failure failure = Describe(std::current_exception());
    environment.errors << "zvk: " << OneLine(failure.text) << '\n';
    return failure.status;
}

// Runs with a host; what the host finds left over at its end goes to `leftovers`.
ExitStatus RunWithHost(const Options& options, const Environment& environment,
                       std::string& leftovers) {
    try {
        const Interruption interruption;
        const std::filesystem::path plugin =
            options.plugin.empty() ? environment.defaultPlugin : options.plugin;
        Session session(SettingsFrom(options), environment.openPlugin(plugin),
                        options.trace ? &environment.output : nullptr, leftovers);
        for (const std::string& problem : session.Problems())
            environment.errors << "zvk: " << OneLine(problem) << '\n';
        return RunChosen(session, options, environment);
    } catch (...) {
        return ReportFailure(environment);
    }
}

ExitStatus Run(std::span<const std::string> arguments, const Environment& environment) {
    const Options options = ParseOptions(arguments);
    if (options.command == Command::Help) {
        environment.output << options.helpText;
        return ExitStatus::Ok;
    }
    if (options.command == Command::Version) {
        environment.output << "zvk " << environment.version << '\n';
        return ExitStatus::Ok;
    }
    std::string leftovers;
    const ExitStatus status = RunWithHost(options, environment, leftovers);
    if (leftovers.empty()) return status;
    environment.errors << "zvk: the books of the host do not close:\n" << leftovers << '\n';
    return ExitStatus::Unclean;
}

ExitStatus RunAndReport(std::span<const std::string> arguments, const Environment& environment) {
    try {
        return Run(arguments, environment);
    } catch (...) {
        return ReportFailure(environment);
    }
}

}  // namespace

int RunCommand(std::span<const std::string> arguments, const Environment& environment) {
    const ExitStatus status = RunAndReport(arguments, environment);
    errno = 0;
    if (environment.output.flush()) return static_cast<int>(status);
    environment.errors << "zvk: standard output cannot be written"
                       << (errno != 0 ? std::string(": ") + std::strerror(errno) : "") << '\n';
    return static_cast<int>(status == ExitStatus::Ok ? ExitStatus::BadInput : status);
}

}  // namespace workbench
