// The other commands and the options: what they show, and what is refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/workbench/command_run.h"
#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"

namespace workbench {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::string UsageError(const std::vector<std::string>& arguments) {
    const CommandResult result = RunLine(arguments);
    EXPECT_EQ(result.status, 2) << result.errors;
    EXPECT_TRUE(result.HasOneErrorLine()) << result.errors;
    EXPECT_EQ(result.output, "");
    return result.errors;
}

TEST(Options, HelpAndVersion) {
    const CommandResult help = RunLine({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* option :
         {"-o", "--runtime", "--layout", "--host-version", "--mask", "--trace", "--methods",
          "--plugin", "--bench", "--out-dir", "--demo", "--version", "--help", "Exit status"})
        EXPECT_THAT(help.output, HasSubstr(option));
    EXPECT_EQ(RunLine({"--version"}).output, "zvk 1.2.3\n");
}

TEST(Options, MistakesAreOneLineEach) {
    EXPECT_THAT(UsageError({}), HasSubstr("there is no input file"));
    EXPECT_THAT(UsageError({"a.png"}), HasSubstr("there is no call"));
    EXPECT_THAT(UsageError({"a.png", "F(1)"}), HasSubstr("there is no output file"));
    EXPECT_THAT(UsageError({"--nonsense"}), HasSubstr("--nonsense"));
    EXPECT_THAT(UsageError({"--layout", "7", "a.png", "F", "-o", "b.png"}), HasSubstr("--layout"));
    EXPECT_THAT(UsageError({"--runtime", "web", "a.png", "F", "-o", "b.png"}),
                HasSubstr("--runtime"));
    EXPECT_THAT(UsageError({"--runtime", "console", "--layout", "2", "a", "F", "-o", "b"}),
                HasSubstr("--layout has no meaning"));
    EXPECT_THAT(UsageError({"--methods", "a.png"}), HasSubstr("\"a.png\" has no meaning here"));
    EXPECT_THAT(UsageError({"--methods", "--bench", "a.png", "F"}),
                HasSubstr("exclude each other"));
    EXPECT_THAT(UsageError({"--bench", "a.png", "F", "G"}), HasSubstr("one call"));
    EXPECT_THAT(UsageError({"--bench", "a.png", "F", "-o", "b.png"}),
                HasSubstr("-o has no meaning"));
    EXPECT_THAT(UsageError({"--out-dir", "out", "F"}), HasSubstr("there are no files"));
    EXPECT_THAT(UsageError({"--out-dir", "out", "--", "a.png"}), HasSubstr("there is no call"));
    EXPECT_THAT(UsageError({"-o"}), HasSubstr("-o"));
}

TEST(Options, AHostVersionThatIsNoFiniteNumberIsRefusedWithAnExample) {
    for (const std::string version :
         {"abc", "nan", "inf", "-inf", "infinity", "NAN", "1e999", "2013.04a", "2013,04", "0x10"})
        EXPECT_EQ(
            UsageError({"--host-version=" + version, "--methods"}),
            "zvk: --host-version must be a number such as 2013.04, not \"" + version + "\"\n");
}

TEST(Options, MethodsAreListedAsRegisteredOnEitherRoad) {
    const CommandResult extension = RunLine({"--methods", "--host-version", "2012.02"});
    EXPECT_EQ(extension.status, 0);
    EXPECT_THAT(extension.output, StartsWith("extension of class Picture, plugin interface 10"));
    const CommandResult module = RunLine({"--methods", "--host-version", "2013.04"});
    EXPECT_THAT(module.output, StartsWith("module "));
    EXPECT_THAT(extension.output, HasSubstr("\nScalingZVK(mode as integer, width as integer, "
                                            "height as integer, yield as integer = 0) as "
                                            "picture\n"));
    EXPECT_THAT(module.output, HasSubstr("\nScalingZVK(extends ref as picture, mode as integer, "
                                         "width as integer, height as integer, yield as integer = "
                                         "0) as picture\n"));
    // But for the receiver, both roads register the same.
    const std::string receiver = "extends ref as picture, ";
    std::string declarations = module.output.substr(module.output.find('\n'));
    for (std::size_t at = 0; (at = declarations.find(receiver)) != std::string::npos;)
        declarations.erase(at, receiver.size());
    EXPECT_EQ(declarations, extension.output.substr(extension.output.find('\n')));
}

TEST(Benchmark, ShowsMedianSpreadAndSpeed) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(50, 40, false), folder / "in.png");
    const CommandResult result =
        RunLine({"--bench", (folder / "in.png").string(), "ScalingZVK(3, 20, 20)"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output,
                testing::MatchesRegex(
                    "ScalingZVK\\(3, 20, 20\\) on 50 x 40 pixels, [0-9]+ runs\n"
                    "median  [0-9.]+ ms\n"
                    "spread  [0-9.]+ to [0-9.]+ ms for the middle half, [0-9.]+ to [0-9.]+ ms in "
                    "all\n"
                    "speed   [0-9.]+ megapixels per second in, [0-9.]+ out \\(20 x 20\\)\n"));
}

TEST(Benchmark, TimesNothingThatFails) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(5, 4, false), folder / "in.png");
    const std::string input = (folder / "in.png").string();
    EXPECT_EQ(RunLine({"--bench", input, "ScalingZVK(9, 20, 20)"}).status, 2);
    EXPECT_EQ(RunLine({"--bench", input, "DrawPictureFZVK(nil, 1, 1)"}).status, 1);
}

class Batch : public testing::Test {
  protected:
    Batch() {
        WriteImage(*MakeImage(40, 30, false), folder_ / "a.png");
        WriteImage(*MakeImage(30, 20, false), folder_ / "b.jpg");
        WriteImage(*MakeImage(20, 10, false), folder_ / "c.gif");
    }

    std::string Name(const std::string& name) const { return (folder_ / name).string(); }

    std::vector<std::string> Results() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / "out"))
            names.push_back(entry.path().filename().string());
        return names;
    }

    TemporaryFolder folder_;
};

TEST_F(Batch, EveryFileIsWrittenUnderItsName) {
    const CommandResult result = RunLine({"--out-dir", Name("out"), "ScaleZVK(8, 6)", "BlurZVK(1)",
                                          "--", Name("a.png"), Name("b.jpg"), Name("c.gif")});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 3);
    EXPECT_THAT(Results(), UnorderedElementsAre("a.png", "b.jpg", "c.png"));
    EXPECT_EQ(DecodeFile(folder_ / "out/c.png", 1'000'000).image->sx, 8);
}

TEST_F(Batch, OneFailureIsReportedAndTheOthersAreFinished) {
    WriteBytes(folder_ / "bad.png", "no picture");
    const CommandResult result = RunLine({"--out-dir", Name("out"), "ScaleZVK(8, 6)", "--",
                                          Name("a.png"), Name("bad.png"), Name("b.jpg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, AllOf(StartsWith("zvk: " + Name("bad.png") + ": is not an image"),
                                     HasSubstr("\nzvk: 1 of 3 files failed\n")));
    EXPECT_THAT(Results(), UnorderedElementsAre("a.png", "b.jpg"));
}

TEST_F(Batch, AMethodsFailureNamesTheFile) {
    const CommandResult result =
        RunLine({"--out-dir", Name("out"), "ScalingZVK(9, 1, 1)", "--", Name("a.png")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, StartsWith("zvk: " + Name("a.png") + ": ScalingZVK(9, 1, 1) "));
}

TEST_F(Batch, WrongCallsAreFoundBeforeAnyFileIsTouched) {
    const CommandResult result =
        RunLine({"--out-dir", Name("out"), "ScaleZVK(8)", "--", Name("a.png")});
    EXPECT_EQ(result.status, 2);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "out"));
}

TEST_F(Batch, ResultsThatWouldMeetAreRefused) {
    std::filesystem::create_directory(folder_ / "other");
    std::filesystem::copy_file(folder_ / "a.png", folder_ / "other/a.png");
    EXPECT_THAT(UsageError({"--out-dir", Name("out"), "BlurZVK(1)", "--", Name("a.png"),
                            Name("other/a.png")}),
                HasSubstr("would both become"));
    EXPECT_THAT(
        UsageError({"--out-dir", folder_.Path().string(), "BlurZVK(1)", "--", Name("a.png")}),
        HasSubstr("would be written over by its own result"));
}

TEST_F(Batch, CtrlCEndsTheWholeBatch) {
    const CommandResult result = RunLine(
        {"--out-dir", Name("out"), "YieldUntilStopped(0)", "--", Name("a.png"), Name("b.jpg")},
        OwnPlugin::WithMethods);
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.errors, "zvk: interrupted\n");
    EXPECT_THAT(Results(), testing::IsEmpty());
}

TEST_F(Batch, ATerminalShowsHowFarItIs) {
    const CommandResult result =
        RunLine({"--out-dir", Name("out"), "BlurZVK(1)", "--", Name("a.png"), Name("b.jpg")},
                std::nullopt, true);
    EXPECT_THAT(result.errors,
                AllOf(HasSubstr("1 of 2: " + Name("a.png").substr(0, 20)), HasSubstr("2 of 2: ")));
}

TEST(Demonstration, WritesSheetsAndResultsAndSaysWhere) {
    const TemporaryFolder folder;
    const CommandResult result = RunLine({"--demo", (folder / "demo").string()});
    EXPECT_EQ(result.status, 0) << result.errors;
    for (const std::string sheet :
         {"methods", "modes-enlarging", "modes-reducing", "blur", "drawing", "masks"}) {
        const std::filesystem::path file = folder / ("demo/" + sheet + ".png");
        EXPECT_THAT(result.output, HasSubstr(file.string() + "\n"));
        EXPECT_GT(DecodeFile(file, 100'000'000).image->sx, 500) << sheet;
    }
    EXPECT_THAT(result.output, HasSubstr((folder / "demo/results").string()));
    EXPECT_TRUE(std::filesystem::exists(folder / "demo/results/blur-photo-4.png"));
    // With an alpha channel the colours are not enlarged: beside the picture, white is left where
    // the enlarged alpha channel is opaque.
    const DecodedFile enlarged =
        DecodeFile(folder / "demo/results/masks-alpha-enlarged-fast.png", 100'000'000);
    ASSERT_EQ(enlarged.image->sx, 240);
    EXPECT_EQ(enlarged.image->tpixels[90][180], 0xFFFFFF);
    EXPECT_NE(enlarged.image->tpixels[60][80], 0xFFFFFF);
    EXPECT_EQ(gdTrueColorGetAlpha(enlarged.image->tpixels[0][0]), gdAlphaTransparent);
}

TEST(Demonstration, LeavesOutWhatThePluginHasNot) {
    const TemporaryFolder folder;
    const CommandResult result =
        RunLine({"--demo", (folder / "demo").string()}, OwnPlugin::WithMethods);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "0 single results: " + (folder / "demo/results").string() + "\n");
}

}  // namespace
}  // namespace workbench
