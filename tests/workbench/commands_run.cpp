// What the command line does with one picture: results, errors and exit statuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <limits>
#include <string>
#include <vector>

#include "tests/workbench/command_run.h"
#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"

namespace workbench {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class RunningCommands : public testing::Test {
  protected:
    RunningCommands() { WriteImage(*MakeImage(40, 30, false), folder_ / "in.png"); }

    std::string Input() const { return (folder_ / "in.png").string(); }
    std::string Output() const { return (folder_ / "out.png").string(); }

    std::string Size(const std::string& name) const {
        const DecodedFile decoded =
            DecodeFile(folder_ / name, std::numeric_limits<std::size_t>::max());
        return std::to_string(decoded.image->sx) + " x " + std::to_string(decoded.image->sy);
    }

    CommandResult Call(const std::string& call,
                       std::optional<OwnPlugin> plugin = std::nullopt) const {
        return RunLine({Input(), call, "-o", Output()}, plugin);
    }

    // The call must end with this status and one line that says so, and leave no file.
    void ExpectFailure(const CommandResult& result, int status, const std::string& text) const {
        EXPECT_EQ(result.status, status) << result.errors;
        EXPECT_THAT(result.errors, AllOf(StartsWith("zvk: "), HasSubstr(text)));
        EXPECT_TRUE(result.HasOneErrorLine()) << result.errors;
        EXPECT_THAT(folder_.Names(), Not(testing::Contains("out.png")));
        for (const std::string& name : folder_.Names())
            EXPECT_THAT(name, Not(StartsWith(".zvk")));
    }

    TemporaryFolder folder_;
};

TEST_F(RunningCommands, AMethodsResultIsWritten) {
    const CommandResult result = Call("ScalingZVK(3, 64, 48)");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, Output() + ": 64 x 48 pixels\n");
    EXPECT_EQ(Size("out.png"), "64 x 48");
}

TEST_F(RunningCommands, BothRuntimesAndAllLayoutsGiveTheSameFile) {
    ASSERT_EQ(Call("ScalingZVK(7, 19, 23)").status, 0);
    const std::string expected = ReadBytes(Output());
    std::vector<std::vector<std::string>> variants{{"--runtime", "desktop"},
                                                   {"--runtime", "console"},
                                                   {"--host-version", "2013.04"},
                                                   {"--host-version", "3000"},
                                                   {"--host-version", "2005"}};
    for (int layout = 1; layout <= 6; ++layout)
        variants.push_back({"--layout", std::to_string(layout)});
    for (std::vector<std::string> line : variants) {
        std::filesystem::remove(Output());
        line.insert(line.end(), {Input(), "ScalingZVK(7, 19, 23)", "-o", Output()});
        ASSERT_EQ(RunLine(line).status, 0);
        EXPECT_EQ(ReadBytes(Output()), expected) << line[0] << " " << line[1];
    }
}

TEST_F(RunningCommands, CallsWorkOnEachOthersResults) {
    const CommandResult result =
        RunLine({Input(), "ScaleZVK(20, height = 10)", "blurzvk(RADIUS = 1)",
                 "DrawPictureFZVK(\"" + Input() + "\", 1.5, -2, alpha = 0.5)", "-o", Output()});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(Size("out.png"), "20 x 10");
}

TEST_F(RunningCommands, TrueKeepsTheReceiverAndValuesAreShown) {
    const CommandResult result = RunLine({Input(), "Truth(true)", "Sum(2, right = 40)", "Half(3)",
                                          "Echo(\"x\")", "Stretch(7)", "-o", Output()},
                                         OwnPlugin::WithMethods);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output,
              "Sum(2, right = 40) = 42\nHalf(3) = 1.5\nEcho(\"x\") = \"line\\n2\"\n" + Output() +
                  ": 7 x 5 pixels\n");
    EXPECT_EQ(Size("out.png"), "7 x 5");
}

TEST_F(RunningCommands, AMaskBelongsToWhatIsScaled) {
    const GdImage mask(gdImageCreateTrueColor(40, 30));
    gdImageFilledRectangle(mask.get(), 0, 0, 39, 29, 0xFFFFFF);
    WriteImage(*mask, folder_ / "mask.png");
    const std::string maskFile = (folder_ / "mask.png").string();
    ASSERT_EQ(RunLine({"--mask", maskFile, Input(), "ScaleImageAndMaskZVK(10, 10)", "-o", Output()})
                  .status,
              0);
    EXPECT_TRUE(DecodeFile(Output(), 1'000'000).hasTransparency);
}

TEST_F(RunningCommands, AMaskBelongsToWhatIsDrawnIfAnythingIs) {
    const GdImage mask(gdImageCreateTrueColor(40, 30));
    gdImageFilledRectangle(mask.get(), 0, 0, 39, 29, 0xFFFFFF);
    WriteImage(*mask, folder_ / "mask.png");
    const GdImage black(gdImageCreateTrueColor(40, 30));
    WriteImage(*black, folder_ / "black.png");
    const std::string call = "DrawPictureFZVK(\"" + (folder_ / "black.png").string() + "\", 0, 0)";
    ASSERT_EQ(
        RunLine({"--mask", (folder_ / "mask.png").string(), Input(), call, "-o", Output()}).status,
        0);
    // White is transparent: nothing was drawn, and the receiver has no mask.
    const DecodedFile decoded = DecodeFile(Output(), 1'000'000);
    const DecodedFile input = DecodeFile(Input(), 1'000'000);
    EXPECT_FALSE(decoded.hasTransparency);
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ(decoded.image->tpixels[y][x], input.image->tpixels[y][x]);
    }
}

TEST_F(RunningCommands, WrongCallsAreExplained) {
    ExpectFailure(Call("ScalngZVK(3, 4, 5)"), 2,
                  R"(there is no method "ScalngZVK"; did you mean "ScalingZVK"?)");
    ExpectFailure(Call("ScalingZVK(3, 4)"), 2,
                  "the argument \"height\" is missing (3 to 4 arguments expected); it is declared "
                  "ScalingZVK(mode as integer, width as integer, height as integer, yield as "
                  "integer = 0) as picture");
    ExpectFailure(Call("ScalingZVK(3, 4, 5.5)"), 2, R"("height" must be an integer, not 5.5)");
    ExpectFailure(Call("ScalingZVK(3, 4, hight = 5)"), 2, "did you mean \"height\"?");
    ExpectFailure(Call("ScalingZVK(3, 4"), 2, "expected ')' at the end");
    ExpectFailure(Call("DrawPictureFZVK(\"none.png\", 0, 0)"), 2,
                  "none.png: No such file or directory");
}

TEST_F(RunningCommands, NothingReturnedIsExplained) {
    ExpectFailure(Call("ScalingZVK(8, 4, 5)"), 2,
                  "ScalingZVK(8, 4, 5) returned nil: no host service failed, so the method refused "
                  "its arguments or its receiver (40 x 30 pixels)");
    ExpectFailure(Call("NoPicture", OwnPlugin::WithMethods), 2, "NoPicture returned nil: no host");
    ExpectFailure(Call("Truth(false)", OwnPlugin::WithMethods), 2, "Truth(false) returned false: ");
    ExpectFailure(Call("Stretch(-1, 0)", OwnPlugin::WithMethods), 2,
                  "Stretch(-1, 0) returned nil: the host answered newPicture(-1, 0, 32) = null");
}

TEST_F(RunningCommands, AHostExceptionIsShownWithClassAndMessage) {
    ExpectFailure(Call("DrawPictureFZVK(nil, 0, 0)"), 1,
                  "NilObjectException: picture is nil (raised by DrawPictureFZVK(nil, 0, 0))");
}

TEST_F(RunningCommands, WhatAPluginThrowsEndsTheRun) {
    ExpectFailure(Call("ThrowSomething", OwnPlugin::WithMethods), 2, "thrown by the plugin");
}

TEST_F(RunningCommands, LeftoversAreToldWithTheirHistory) {
    const CommandResult result = Call("Leak()", OwnPlugin::WithMethods);
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, AllOf(StartsWith("zvk: the books of the host do not close:\n"),
                                     HasSubstr("newPicture")));
}

TEST_F(RunningCommands, CtrlCEndsACallThatYields) {
    ExpectFailure(Call("YieldUntilStopped(3)", OwnPlugin::WithMethods), 130, "interrupted");
}

TEST_F(RunningCommands, ARequestToTerminateEndsTheRunAfterACallThatDoesNotYield) {
    ExpectFailure(Call("StopWithoutYield", OwnPlugin::WithMethods), 128 + SIGTERM, "interrupted");
}

TEST_F(RunningCommands, BadFilesAreNamed) {
    WriteBytes(folder_ / "bad.png", ReadBytes(Input()).substr(0, 100));
    const std::string call = "BlurZVK(1)";
    ExpectFailure(RunLine({(folder_ / "bad.png").string(), call, "-o", Output()}), 2,
                  "bad.png: is a damaged PNG file");
    ExpectFailure(RunLine({(folder_ / "none.png").string(), call, "-o", Output()}), 2,
                  "none.png: No such file or directory");
    ExpectFailure(RunLine({Input(), call, "-o", (folder_ / "none/out.png").string()}), 2,
                  "none/out.png: cannot be written: No such file or directory");
    ExpectFailure(RunLine({Input(), call, "-o", (folder_ / "out.txt").string()}), 2,
                  "the name must end in .png, .jpg, .webp or .bmp");
    ExpectFailure(RunLine({Input(), call, "-o", Output(), "--mask", "none.png"}), 2,
                  "none.png: No such file or directory");
}

TEST_F(RunningCommands, BadPluginsAreNamed) {
    const auto with = [&](const std::string& plugin) {
        return RunLine({Input(), "BlurZVK(1)", "-o", Output(), "--plugin", plugin});
    };
    ExpectFailure(with("/none.so"), 2, "/none.so");
    ExpectFailure(with(Input()), 2, "in.png");
    ExpectFailure(Call("Whole", OwnPlugin::WithoutMethods), 2, "the plugin registered no method");
}

TEST_F(RunningCommands, NonsenseBesideAMethodIsToldAndDoesNotHinder) {
    const CommandResult result = RunLine({"--methods"}, OwnPlugin::WithNonsense);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr("Half a (declaration"));
    EXPECT_THAT(result.output, EndsWith("Whole() as picture\n"));
}

TEST_F(RunningCommands, TheTraceShowsTheServicesCalled) {
    const CommandResult result =
        RunLine({Input(), "ScalingZVK(3, 8, 9)", "--trace", "-o", Output()});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("REALGetRBVersion() = "),
                                     HasSubstr("newPicture(8, 9, 32) = picture 2\n"),
                                     HasSubstr("unlockPictureDescription(picture 1)\n")));
}

TEST_F(RunningCommands, YieldsDriveAProgressLineOnATerminalOnly) {
    const std::vector<std::string> line{Input(), "ScalingZVK(3, 64, 48, -1)", "-o", Output()};
    const CommandResult seen = RunLine(line, std::nullopt, true);
    EXPECT_THAT(seen.errors, AllOf(HasSubstr("ScalingZVK(3, 64, 48, -1)  "), HasSubstr("yield"),
                                   EndsWith("\r\x1b[K")));
    EXPECT_EQ(RunLine(line).errors, "");
}

TEST_F(RunningCommands, AnOutputThatCannotBeWrittenLeavesTheOldOne) {
    WriteBytes(Output(), "old");
    EXPECT_EQ(Call("ScalingZVK(9, 1, 1)").status, 2);
    EXPECT_EQ(ReadBytes(Output()), "old");
}

TEST_F(RunningCommands, FilesNamedLikeOptionsStandBehindTwoDashes) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    std::filesystem::copy_file("in.png", "-in.png");
    EXPECT_EQ(RunLine({"-o", "out.png", "--", "-in.png", "BlurZVK(1)"}).status, 0);
    std::filesystem::current_path(before);
    EXPECT_EQ(Size("out.png"), "40 x 30");
}

}  // namespace
}  // namespace workbench
