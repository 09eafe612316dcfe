// Unfinished files: invisible or hidden, gone unless they are finished, and put where links lead.
#include "workbench/files/output_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <string>

#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"
#include "workbench/commands/interruption.h"
#include "workbench/files/file_error.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

void WriteThrough(const fs::path& target, OutputFile::Place place) {
    OutputFile output(target, place);
    std::fputs("new", output.Stream());
    output.Commit();
}

std::string ErrorOf(const fs::path& target, OutputFile::Place place) {
    try {
        const OutputFile output(target, place);
    } catch (const FileError& error) {
        return error.what();
    }
    return "no error";
}

class OutputFiles : public testing::TestWithParam<OutputFile::Place> {
  protected:
    TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(EitherPlace, OutputFiles,
                         testing::Values(OutputFile::Place::Nameless, OutputFile::Place::Named),
                         [](const auto& instance) {
                             return instance.param == OutputFile::Place::Named ? "Named"
                                                                               : "Nameless";
                         });

TEST_P(OutputFiles, AppearUnderTheirNameAlone) {
    WriteThrough(folder_ / "a.png", GetParam());
    EXPECT_EQ(ReadBytes(folder_ / "a.png"), "new");
    EXPECT_THAT(folder_.Names(), ElementsAre("a.png"));
}

TEST_P(OutputFiles, ReplaceWhatWasThere) {
    WriteBytes(folder_ / "a.png", "the old bytes");
    WriteThrough(folder_ / "a.png", GetParam());
    EXPECT_EQ(ReadBytes(folder_ / "a.png"), "new");
    EXPECT_THAT(folder_.Names(), ElementsAre("a.png"));
}

TEST_P(OutputFiles, LeaveNothingWhenTheyAreNotFinished) {
    WriteBytes(folder_ / "a.png", "old");
    {
        const OutputFile output(folder_ / "a.png", GetParam());
        std::fputs("new", output.Stream());
    }
    EXPECT_EQ(ReadBytes(folder_ / "a.png"), "old");
    EXPECT_THAT(folder_.Names(), ElementsAre("a.png"));
}

TEST_P(OutputFiles, AreWrittenThroughLinks) {
    fs::create_directory(folder_ / "far");
    WriteBytes(folder_ / "far/target.png", "old");
    fs::create_symlink("target.png", folder_ / "far/second.png");
    fs::create_symlink(folder_ / "far/second.png", folder_ / "first.png");
    WriteThrough(folder_ / "first.png", GetParam());
    EXPECT_TRUE(fs::is_symlink(folder_ / "first.png"));
    EXPECT_TRUE(fs::is_symlink(folder_ / "far/second.png"));
    EXPECT_FALSE(fs::is_symlink(folder_ / "far/target.png"));
    EXPECT_EQ(ReadBytes(folder_ / "far/target.png"), "new");
    EXPECT_THAT(folder_.Names(), UnorderedElementsAre("far", "first.png"));
}

TEST_P(OutputFiles, AreMadeWhereALinkLeadsToNothingYet) {
    fs::create_symlink("later.png", folder_ / "link.png");
    WriteThrough(folder_ / "link.png", GetParam());
    EXPECT_TRUE(fs::is_symlink(folder_ / "link.png"));
    EXPECT_EQ(ReadBytes(folder_ / "later.png"), "new");
}

TEST_P(OutputFiles, RefuseLinksThatLeadNowhere) {
    fs::create_symlink("a.png", folder_ / "b.png");
    fs::create_symlink("b.png", folder_ / "a.png");
    EXPECT_THAT(ErrorOf(folder_ / "a.png", GetParam()), HasSubstr("a.png: cannot be written: "));
}

TEST_P(OutputFiles, DoNotTakeTheirPlaceFromADevice) {
    fs::create_symlink("/dev/null", folder_ / "link.png");
    EXPECT_THAT(ErrorOf(folder_ / "link.png", GetParam()),
                HasSubstr("link.png: cannot be written: it is not an ordinary file"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(NamedOutputFile, IsHiddenWhileItIsWritten) {
    const TemporaryFolder folder;
    const OutputFile output(folder / "a.png", OutputFile::Place::Named);
    EXPECT_THAT(folder.Names(), ElementsAre(StartsWith(".zvk-")));
    OutputFile::RemoveUnfinished();
    EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(NamedOutputFile, IsNotRemovedOnceItIsFinished) {
    const TemporaryFolder folder;
    WriteThrough(folder / "a.png", OutputFile::Place::Named);
    OutputFile::RemoveUnfinished();
    EXPECT_THAT(folder.Names(), ElementsAre("a.png"));
}

// Writes and is ended by signals before it is done.
[[noreturn]] void WriteUntil(const fs::path& target, int signal) {
    const rlimit noDump{0, 0};
    setrlimit(RLIMIT_CORE, &noDump);
    const Interruption interruption;
    const OutputFile output(target, OutputFile::Place::Named);
    std::raise(signal);
    std::raise(signal);
    std::_Exit(0);
}

TEST(NamedOutputFile, IsRemovedByTheSignalThatEndsTheProcess) {
    const TemporaryFolder folder;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        EXPECT_EXIT(WriteUntil(folder / "a.png", signal), testing::KilledBySignal(signal), "");
        EXPECT_THAT(folder.Names(), IsEmpty());
    }
}

}  // namespace
}  // namespace workbench
