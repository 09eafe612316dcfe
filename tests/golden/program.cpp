// The command line, and what it asks for.
#include "tests/golden/program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <ostream>
#include <stdexcept>

#include "tests/golden/case_list.h"
#include "tests/golden/check.h"
#include "tests/golden/list_file.h"
#include "tests/golden/run.h"
#include "tests/golden/show_case.h"
#include "tests/support/machine_levels.h"

namespace golden {
namespace {

constexpr int differs = 1;
constexpr int failed = 2;

struct Options {
    std::filesystem::path plugin;
    std::filesystem::path list;
    int number = 0;
    std::string level;
};

void PrintList(const std::filesystem::path& plugin, std::ostream& output) {
    WriteHead(output);
    for (const Case& item : AllCases())
        output << LineOf(item, Checksum(RunCase(item, plugin))) << "\n";
}

const Case& CaseOf(int number) {
    const std::vector<Case>& cases = AllCases();
    const auto found = std::find_if(cases.begin(), cases.end(),
                                    [number](const Case& item) { return item.number == number; });
    if (found == cases.end()) {
        throw std::invalid_argument("there is no case " + std::to_string(number) +
                                    ": they are numbered 1 to " + std::to_string(cases.size()));
    }
    return *found;
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments, const Environment& environment) {
    Options options;
    options.plugin = environment.defaultPlugin;
    CLI::App program(
        "Runs a fixed list of calls of the plugin's methods and prints a checksum of each result.",
        "zvk_golden");
    program.add_option("--plugin", options.plugin,
                       "The build of the plugin to run, instead of the one that is shipped");
    CLI::Option* const check =
        program.add_option("--check", options.list,
                           "Compare with this list and print the differences only; the status is "
                           "1 if there are any");
    CLI::Option* const show =
        program
            .add_option("--case", options.number,
                        "Show one case: what tests/reference expects, and what the plugin gives")
            ->excludes(check);
    program
        .add_option("--level", options.level,
                    "The instruction sets that the build needs; the status is 77, and nothing "
                    "is run, where the machine does not offer them")
        ->check(CLI::IsMember({"baseline", "sse41", "avx2", "avx512"}));
    try {
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return program.exit(error, environment.output, environment.errors) == 0 ? 0 : failed;
    }
    try {
        if (!options.level.empty() && !contract::MachineOffers(options.level)) {
            environment.output << "this machine does not offer " << options.level << "\n";
            return contract::skippedStatus;
        }
        bool asExpected = true;
        if (*check) {
            asExpected = Check(options.list, options.plugin, environment.output) == 0;
        } else if (*show) {
            asExpected = ShowCase(CaseOf(options.number), options.plugin, environment.output);
        } else {
            PrintList(options.plugin, environment.output);
        }
        if (!environment.output.flush()) throw std::runtime_error("the output cannot be written");
        return asExpected ? 0 : differs;
    } catch (const std::exception& error) {
        environment.errors << "zvk_golden: " << error.what() << "\n";
        return failed;
    }
}

}  // namespace golden
