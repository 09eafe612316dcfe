// Reads the command line with CLI11 and checks what its options mean together.
// Called first of all by every run; it must have no effect outside its result.
#include "workbench/commands/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <memory>
#include <system_error>
#include <utility>

#include "workbench/commands/failures.h"

namespace workbench {
namespace {

constexpr const char* description =
    "A small host for picture plugins: decodes a picture, calls the methods that a plugin\n"
    "registers and writes the result.";

constexpr const char* usage =
    "Usage:\n"
    "  ./zvk [OPTIONS] INPUT CALL... -o OUTPUT        call methods, one on the result of another\n"
    "  ./zvk [OPTIONS] --out-dir DIR CALL... -- FILE...   the same for every file\n"
    "  ./zvk [OPTIONS] --bench INPUT CALL             time one call\n"
    "  ./zvk [OPTIONS] --methods                      what the plugin registered\n"
    "  ./zvk [OPTIONS] --demo DIR                     pictures of everything\n";

constexpr const char* explanation =
    "A CALL is written as in the host language: arguments by position or by name, file names in\n"
    "double quotes where a picture is wanted, defaults filled in, names in any case. A picture\n"
    "that a call returns is the receiver of the next; after true the receiver stays.\n"
    "\n"
    "  ./zvk photo.jpg 'ScalingZVK(3, 640, 480)' -o small.png\n"
    "  ./zvk photo.jpg 'BlurZVK(2.0)' 'ScaleZVK(width = 320, height = 240)' -o small.webp\n"
    "  ./zvk photo.jpg 'DrawPictureFZVK(\"logo.png\", 10.25, 20.5, alpha = 0.8)' -o stamped.png\n"
    "  ./zvk --out-dir small 'ScalingZVK(7, 320, 240)' -- *.jpg\n"
    "\n"
    "PNG, JPEG, GIF, BMP, WebP and TIFF are read; PNG, JPEG, WebP and BMP are written.\n"
    "Exit status: 0 done; 1 a host exception was raised, or a file of a batch failed; 2 bad input\n"
    "or usage, no way to write, or a method returned nil or false; 3 something was left over; 130 "
    "interrupted\n"
    "(128 and the signal's number for other signals).";

class UsageFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
        return usage;
    }
    // The words are explained by the usage.
    std::string make_positionals(const CLI::App* /*app*/) const override { return ""; }
};

// What CLI11 fills in, before it is known what it means.
struct RawOptions {
    std::vector<std::string> words;
    std::string runtime;
    std::string hostVersion;
    std::string demoFolder;
    bool bench = false;
    bool methods = false;
    bool version = false;
};

void Declare(CLI::App& app, RawOptions& raw, Options& options) {
    app.formatter(std::make_shared<UsageFormatter>());
    app.footer(explanation);
    app.add_option("words", raw.words);
    app.add_option("-o,--output", options.output, "the file to write")->type_name("OUTPUT");
    app.add_option("--runtime", raw.runtime,
                   "pictures as libgd images (console, default) or as bitmap contexts")
        ->type_name("console|desktop")
        ->check(CLI::IsMember({"console", "desktop"}).description(""));
    app.add_option("--layout", options.layout, "layout of the bitmap contexts; means desktop")
        ->type_name("1..6")
        ->check(CLI::Range(1, 6).description(""));
    app.add_option("--host-version", raw.hostVersion,
                   "the version that the host reports, such as 2013.04")
        ->type_name("N");
    app.add_option("--mask", options.mask,
                   "a mask for the drawn pictures, or else for the input; white is transparent")
        ->type_name("FILE");
    app.add_flag("--trace", options.trace, "show each host service called");
    app.add_flag("--methods", raw.methods, "list the declarations that the plugin registered");
    app.add_option("--plugin", options.plugin, "the plugin to load (default: the one built here)")
        ->type_name("PATH");
    app.add_flag("--bench", raw.bench, "time the call: median, spread, megapixels per second");
    app.add_option("--out-dir", options.outputFolder, "write one result per FILE into this folder")
        ->type_name("DIR");
    app.add_option("--demo", raw.demoFolder, "write demonstration pictures into this folder")
        ->type_name("DIR");
    app.add_flag("--version", raw.version, "show the program's version");
}

Command ChosenCommand(const RawOptions& raw, const Options& options) {
    const std::array<std::pair<bool, Command>, 5> chosen{{
        {raw.version, Command::Version},
        {raw.methods, Command::Methods},
        {!raw.demoFolder.empty(), Command::Demo},
        {raw.bench, Command::Bench},
        {!options.outputFolder.empty(), Command::Batch},
    }};
    Command command = Command::Run;
    int count = 0;
    for (const auto& [isChosen, each] : chosen) {
        if (!isChosen) continue;
        command = each;
        ++count;
    }
    if (count > 1)
        throw UsageError("--methods, --demo, --bench, --out-dir and --version exclude each other");
    return command;
}

void RequireCalls(const Options& options) {
    if (options.calls.empty())
        throw UsageError("there is no call; one looks like 'ScalingZVK(3, 640, 480)'");
}

void TakeInputAndCalls(std::vector<std::string> words, Options& options) {
    if (words.empty()) throw UsageError("there is no input file; see ./zvk --help");
    options.inputs.emplace_back(words.front());
    options.calls.assign(words.begin() + 1, words.end());
    RequireCalls(options);
}

void RefuseWords(const std::vector<std::string>& words) {
    if (!words.empty()) throw UsageError("\"" + words.front() + "\" has no meaning here");
}

void TakeWords(const RawOptions& raw, std::vector<std::string> wordsBehind, Options& options) {
    std::vector<std::string> all = raw.words;
    all.insert(all.end(), wordsBehind.begin(), wordsBehind.end());
    switch (options.command) {
        case Command::Run:
            TakeInputAndCalls(all, options);
            if (options.output.empty())
                throw UsageError("there is no output file; name it with -o");
            return;
        case Command::Bench:
            TakeInputAndCalls(all, options);
            if (options.calls.size() > 1) throw UsageError("--bench times one call, not several");
            break;
        case Command::Batch:
            options.calls = raw.words;
            options.inputs.assign(wordsBehind.begin(), wordsBehind.end());
            RequireCalls(options);
            if (options.inputs.empty())
                throw UsageError("there are no files; they stand behind -- at the end");
            break;
        case Command::Demo:
            options.outputFolder = raw.demoFolder;
            RefuseWords(all);
            break;
        default:
            RefuseWords(all);
            break;
    }
    if (!options.output.empty()) throw UsageError("-o has no meaning here");
}

void TakeRuntime(const CLI::App& app, const RawOptions& raw, Options& options) {
    const bool hasLayout = app.count("--layout") > 0;
    if (hasLayout && raw.runtime == "console")
        throw UsageError("--layout has no meaning with --runtime console");
    if (hasLayout || raw.runtime == "desktop") options.runtime = Runtime::Desktop;
}

void TakeHostVersion(const CLI::App& app, const RawOptions& raw, Options& options) {
    if (app.count("--host-version") == 0) return;
    const char* const end = raw.hostVersion.data() + raw.hostVersion.size();
    double version = 0.0;
    const std::from_chars_result read = std::from_chars(raw.hostVersion.data(), end, version);
    if (read.ec != std::errc() || read.ptr != end || !std::isfinite(version) || version < 0)
        throw UsageError("--host-version must be a number such as 2013.04, not \"" +
                         raw.hostVersion + "\"");
    options.hostVersion = version;
}

}  // namespace

Options ParseOptions(std::span<const std::string> arguments) {
    Options options;
    RawOptions raw;
    CLI::App app(description);
    Declare(app, raw, options);

    // CLI11 would not tell what stood behind the two dashes.
    const auto dashes = std::find(arguments.begin(), arguments.end(), "--");
    std::vector<std::string> before(arguments.begin(), dashes);
    std::vector<std::string> behind(dashes == arguments.end() ? dashes : dashes + 1,
                                    arguments.end());
    std::reverse(before.begin(), before.end());  // as CLI11 wants them
    try {
        app.parse(std::move(before));
    } catch (const CLI::CallForHelp&) {
        options.command = Command::Help;
        options.helpText = app.help();
        return options;
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    options.command = ChosenCommand(raw, options);
    TakeWords(raw, std::move(behind), options);
    TakeRuntime(app, raw, options);
    TakeHostVersion(app, raw, options);
    return options;
}

}  // namespace workbench
