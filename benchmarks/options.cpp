// The command line of the benchmark.
#include "benchmarks/options.h"

#include <CLI/CLI.hpp>

namespace bench {

ParsedOptions ParseOptions(int count, char** arguments) {
    ParsedOptions parsed;
    Options& options = parsed.options;
    CLI::App program("Times the methods beside the image libraries that do the same jobs.",
                     "bench");
    CLI::Option* const filter =
        program.add_option("--filter", options.filter, "Only jobs with this text in their name");
    CLI::Option* const quick =
        program.add_flag("--quick", options.quick, "Few rounds, on noise only: a rough picture");
    program
        .add_option("--levels", options.levels,
                    "Instruction sets: baseline, sse41, avx2, avx512, or shipped")
        ->delimiter(',');
    program.add_flag("--details", options.details, "Also every contender with its times");
    program.add_flag(
        "--fresh-results", options.freshResults,
        "Have the host allocate, clear and whiten the picture of every result, and the "
        "system hand out its pages, instead of recycling");
    // What is written is the whole, measured with care.
    program
        .add_flag("--write", options.write,
                  "Write docs/benchmarks.md with a figure, below the current folder")
        ->excludes(filter, quick);
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        parsed.exitStatus = program.exit(error);
    }
    return parsed;
}

}  // namespace bench
