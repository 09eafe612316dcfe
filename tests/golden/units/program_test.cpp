// The program's command lines: differences that it has to find, and mistakes that it has to name.
#include "tests/golden/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/golden/case_list.h"
#include "tests/golden/show_case.h"
#include "tests/workbench/temporary_folder.h"

namespace golden {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct ProgramRun {
    int status;
    std::string output;
    std::string errors;
};

ProgramRun RunLine(const std::vector<std::string>& arguments) {
    std::ostringstream output;
    std::ostringstream errors;
    const int status = RunProgram(arguments, {output, errors, ZVK_PLUGIN});
    return {status, output.str(), errors.str()};
}

// The checked-in list, line by line.
std::vector<std::string> ListLines() {
    std::ifstream file(ZVK_GOLDEN_LIST);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::size_t IndexOf(const std::vector<std::string>& lines, int number) {
    const std::string start = std::to_string(number) + ": ";
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].starts_with(start)) return i;
    }
    throw std::runtime_error("the list has no number " + std::to_string(number));
}

class Lists : public ::testing::Test {
  protected:
    ProgramRun CheckLines(const std::vector<std::string>& lines) {
        const std::filesystem::path file = folder_ / "list.txt";
        std::ofstream output(file);
        for (const std::string& line : lines)
            output << line << "\n";
        output.close();
        return RunLine({"--check", file.string()});
    }

    std::string Counts(int differences, int bySin) const {
        return std::to_string(AllCases().size()) + " cases, " + std::to_string(differences) +
               " differences, " + std::to_string(bySin) + " of them in cases marked sin\n";
    }

    workbench::TemporaryFolder folder_;
};

TEST_F(Lists, AreWhatTheProgramPrints) {
    const ProgramRun run = RunLine({});
    EXPECT_EQ(run.status, 0);
    std::ostringstream file;
    file << std::ifstream(ZVK_GOLDEN_LIST).rdbuf();
    EXPECT_EQ(run.output, file.str());
}

TEST_F(Lists, AreFoundEqual) {
    const ProgramRun run = RunLine({"--check", ZVK_GOLDEN_LIST});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, Counts(0, 0));
    EXPECT_THAT(run.errors, IsEmpty());
}

TEST_F(Lists, ShowWrongChecksums) {
    std::vector<std::string> lines = ListLines();
    std::string& line = lines[IndexOf(lines, 40)];
    const std::string right = line.substr(line.rfind(' ') + 1);
    line = line.substr(0, line.rfind(' ')) + " 0badc0de";
    const ProgramRun run = CheckLines(lines);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, line.substr(0, line.rfind(" = ")) + "\n    expected 0badc0de, found " +
                              right + "\n" + Counts(1, 1));
}

TEST_F(Lists, ShowWrongChecksumsOfMasks) {
    std::vector<std::string> lines = ListLines();
    for (std::string& line : lines) {
        if (const std::size_t plus = line.rfind('+'); plus != std::string::npos) {
            line = line.substr(0, plus) + "+0badc0de";
            break;
        }
    }
    const ProgramRun run = CheckLines(lines);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.output, AllOf(HasSubstr("ScaleImageAndMaskZVK"), HasSubstr("+0badc0de, found "),
                                  HasSubstr(Counts(1, 0))));
}

TEST_F(Lists, ShowOtherCases) {
    std::vector<std::string> lines = ListLines();
    std::string& line = lines[IndexOf(lines, 2)];
    line.replace(line.find("ScalingZVK"), 10, "ScalingXYZ");
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(IndexOf(lines, 5)));
    lines.emplace_back("9999: BlurZVK(4) = 12345678");
    const ProgramRun run = CheckLines(lines);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("the list has another case: ScalingXYZ"),
                      HasSubstr("expected nothing: not in the list, found "),
                      HasSubstr("9999: BlurZVK(4)\n    expected 12345678, found nothing"),
                      HasSubstr(Counts(3, 0))));
}

TEST_F(Lists, AreRefusedWithTheNumberOfABadLine) {
    const std::string good = "1: BlurZVK(4) = 12345678";
    for (const std::string bad : {"1 BlurZVK(4) = 12345678", "one: BlurZVK(4) = 12345678",
                                  "0: BlurZVK(4) = 12345678", "2: BlurZVK(4)", "2:  = 1",
                                  "2: x = ", "1: BlurZVK(5) = 87654321", "99999999999: x = y"}) {
        const ProgramRun run = CheckLines({"# head", good, bad});
        EXPECT_EQ(run.status, 2) << bad;
        EXPECT_THAT(run.errors, AllOf(HasSubstr("list.txt, line 3: "), HasSubstr(bad))) << bad;
        EXPECT_THAT(run.output, IsEmpty()) << bad;
    }
}

TEST_F(Lists, AreRefusedWhereTheyCannotBeRead) {
    for (const std::string& file : {(folder_ / "none.txt").string(), folder_.Path().string()}) {
        const ProgramRun run = RunLine({"--check", file});
        EXPECT_EQ(run.status, 2) << file;
        EXPECT_EQ(run.errors, "zvk_golden: cannot read the list " + file + "\n");
    }
    const ProgramRun empty = CheckLines({"# only a head"});
    EXPECT_EQ(empty.status, 2);
    EXPECT_THAT(empty.errors, HasSubstr("lists no case"));
}

TEST_F(Lists, NeedAPluginThatLoads) {
    const std::filesystem::path text = folder_ / "text.so";
    std::ofstream(text) << "no library\n";
    const std::string missing = (folder_ / "none.so").string();
    for (const std::string& file : {text.string(), missing}) {
        for (const std::vector<std::string>& what : std::vector<std::vector<std::string>>{
                 {}, {"--case", "3"}, {"--check", ZVK_GOLDEN_LIST}}) {
            std::vector<std::string> arguments = what;
            arguments.insert(arguments.end(), {"--plugin", file});
            const ProgramRun run = RunLine(arguments);
            EXPECT_EQ(run.status, 2) << file;
            EXPECT_THAT(run.errors, HasSubstr("cannot load the plugin " + file)) << file;
        }
    }
}

TEST(OneCase, IsShownWithExpectedAndFound) {
    const ProgramRun run = RunLine({"--case", "1"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("1: ScalingZVK(1, 23, 19)"), HasSubstr("\nexpected\n"),
                      HasSubstr("\nfound\n"), HasSubstr("columns 0 to 15, rows 0 to 15"),
                      HasSubstr("The case gives what is expected.\n")));
}

TEST(OneCase, IsShownWithItsMask) {
    for (const Case& item : AllCases()) {
        const auto* const scaling = std::get_if<Scaling>(&item.call);
        if (scaling == nullptr || !scaling->withMask) continue;
        const ProgramRun run = RunLine({"--case", std::to_string(item.number)});
        EXPECT_EQ(run.status, 0);
        EXPECT_THAT(run.output,
                    AllOf(HasSubstr("picture: they are equal"), HasSubstr("mask: they are equal")));
        return;
    }
    FAIL() << "no case has a mask";
}

TEST(OneCase, HasToExist) {
    const std::string beyond = std::to_string(AllCases().size() + 1);
    for (const std::string& number : {std::string("0"), std::string("-1"), beyond}) {
        const ProgramRun run = RunLine({"--case", number});
        EXPECT_EQ(run.status, 2) << number;
        EXPECT_EQ(run.errors, "zvk_golden: there is no case " + number +
                                  ": they are numbered 1 to " + std::to_string(AllCases().size()) +
                                  "\n");
    }
}

TEST(CommandLine, IsRefusedWhereItMakesNoSense) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--case", "two"},
                                               {"--case", "1", "--check", "list"},
                                               {"--case"},
                                               {"--unknown"},
                                               {"word"},
                                               {"--level", "mmx"}}) {
        const ProgramRun run = RunLine(arguments);
        EXPECT_EQ(run.status, 2) << arguments.front();
        EXPECT_THAT(run.errors, Not(IsEmpty())) << arguments.front();
    }
}

TEST(CommandLine, ExplainsItself) {
    const ProgramRun run = RunLine({"--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.output, AllOf(HasSubstr("--plugin"), HasSubstr("--check"), HasSubstr("--case"),
                                  HasSubstr("--level")));
}

// Pictures that differ: the part around the first difference is shown.

Pixels Black(int width, int height) {
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return {width, height, std::vector<Pixel>(count, Pixel{0, 0, 0, 255})};
}

TEST(PicturesShown, HaveTheFirstDifferenceInTheMiddle) {
    Pixels found = Black(50, 40);
    found.pixels[30 * 50 + 20] = {1, 171, 255, 255};
    std::ostringstream output;
    EXPECT_FALSE(ShowPictures("picture", Black(50, 40), found, output));
    EXPECT_THAT(output.str(),
                AllOf(HasSubstr("picture, 50 x 40, columns 12 to 27, rows 22 to 37\n"),
                      HasSubstr(" 01ABFF "), HasSubstr("differ, first in column 20, row 30\n")));
}

TEST(PicturesShown, StayInsideAtTheEdges) {
    Pixels found = Black(18, 3);
    found.pixels.back().blue = 2;
    std::ostringstream output;
    EXPECT_FALSE(ShowPictures("mask", Black(18, 3), found, output));
    EXPECT_THAT(output.str(), AllOf(HasSubstr("columns 2 to 17, rows 0 to 2\n"),
                                    HasSubstr("first in column 17, row 2\n")));
}

TEST(PicturesShown, HaveAlphaWhereItDiffers) {
    Pixels found = Black(1, 1);
    found.pixels.back().alpha = 254;
    std::ostringstream output;
    EXPECT_FALSE(ShowPictures("picture", Black(1, 1), found, output));
    EXPECT_THAT(output.str(),
                AllOf(HasSubstr("expected\n  000000FF\n"), HasSubstr("found\n  000000FE\n")));
}

TEST(PicturesShown, MayDifferInSize) {
    std::ostringstream output;
    EXPECT_FALSE(ShowPictures("picture", Black(2, 1), Black(1, 2), output));
    EXPECT_THAT(output.str(), AllOf(HasSubstr("expected\n  000000 000000\nfound\n  000000\n"),
                                    HasSubstr("picture: they differ in size; found 1 x 2\n")));
    EXPECT_FALSE(ShowPictures("mask", Pixels{}, Black(1, 2), output));
}

TEST(PicturesShown, MayBeEqual) {
    std::ostringstream output;
    EXPECT_TRUE(ShowPictures("picture", Black(2, 1), Black(2, 1), output));
    EXPECT_THAT(output.str(), HasSubstr("picture: they are equal\n"));
}

}  // namespace
}  // namespace golden
