// The real program as a shell would run it: exit status, streams, Ctrl-C.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"
#include "workbench/commands/interruption.h"

namespace workbench {
namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAre;

// The program as a child process, its output in a file.
class Program {
  public:
    Program(std::vector<std::string> arguments, const std::filesystem::path& output)
        : Program(ZVK_WORKBENCH, std::move(arguments), output, {}) {}

    // After some shell text, such as one that sets a limit.
    Program(const std::string& setUp, const std::vector<std::string>& arguments,
            const std::filesystem::path& output)
        : Program("/bin/sh", arguments, output,
                  {"-c", setUp + R"(; exec "$0" "$@")", ZVK_WORKBENCH}) {}

    void Signal(int signal) const { kill(process_, signal); }

    // Whether the program has written something into a file that no folder shows, or that is
    // hidden.
    bool HasUnfinishedFile(const std::filesystem::path& folder) const {
        const std::string descriptors = "/proc/" + std::to_string(process_) + "/fd";
        std::error_code ended;
        for (const auto& each : std::filesystem::directory_iterator(descriptors, ended)) {
            const std::string file = std::filesystem::read_symlink(each, ended).string();
            struct stat status {};
            const bool isOurs = file.rfind((folder / "#").string(), 0) == 0 ||
                                file.rfind((folder / ".zvk").string(), 0) == 0;
            if (isOurs && stat(each.path().c_str(), &status) == 0 && status.st_size > 0)
                return true;
        }
        return false;
    }

    bool HasEnded() const {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) !=
                   0 ||
               info.si_pid == process_;
    }

    // The exit status, or minus the signal that ended the program.
    int Wait(rusage* used = nullptr) const {
        int status = 0;
        if (process_ < 0 || wait4(process_, &status, 0, used) != process_) return -1000;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

  private:
    Program(const std::string& program, std::vector<std::string> arguments,
            const std::filesystem::path& output, std::vector<std::string> first) {
        first.insert(first.begin(), program);
        arguments.insert(arguments.begin(), first.begin(), first.end());
        std::vector<char*> pointers;
        for (std::string& each : arguments)
            pointers.push_back(each.data());
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        constexpr int rights = 0600;
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, rights);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        if (posix_spawn(&process_, pointers.front(), &actions, nullptr, pointers.data(), environ) !=
            0)
            process_ = -1;
        posix_spawn_file_actions_destroy(&actions);
    }

    pid_t process_ = -1;
};

int RunToEnd(const std::vector<std::string>& arguments, const std::filesystem::path& output) {
    return Program(arguments, output).Wait();
}

TEST(TheProgram, RunsAndAnswersWithItsStatus) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(20, 20, false), folder / "in.png");
    const std::string input = (folder / "in.png").string();
    const std::string output = (folder / "out.png").string();
    EXPECT_EQ(RunToEnd({input, "ScalingZVK(3, 9, 7)", "-o", output}, folder / "log"), 0);
    EXPECT_EQ(ReadBytes(folder / "log"), output + ": 9 x 7 pixels\n");
    EXPECT_EQ(RunToEnd({input, "DrawPictureFZVK(nil, 1, 2)", "-o", output}, folder / "log"), 1);
    EXPECT_EQ(RunToEnd({input, "ScalingZVK(0, 9, 7)", "-o", output}, folder / "log"), 2);
    EXPECT_EQ(RunToEnd({"--version"}, folder / "log"), 0);
    EXPECT_THAT(ReadBytes(folder / "log"), HasSubstr("zvk "));
}

TEST(TheProgram, CtrlCLeavesNoFile) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(200, 200, false), folder / "in.png");
    // Far more work than can be done before the signal comes.
    std::vector<std::string> line{(folder / "in.png").string(), "-o",
                                  (folder / "out.png").string()};
    for (int i = 0; i < 500; ++i)
        line.emplace_back("ScalingZVK(4, 2000, 2000, -1)");
    const Program program(line, folder / "log");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(ReadBytes(folder / "log"), "zvk: interrupted\n");
    EXPECT_THAT(folder.Names(), UnorderedElementsAre("in.png", "log"));
}

TEST(TheProgram, NeverHoldsALargePictureTwice) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer keeps memory that was freed";
#else
    const TemporaryFolder folder;
    WriteImage(*MakeImage(60, 40, false), folder / "in.jpg");
    const std::string large = (folder / "large.jpg").string();
    constexpr double kibibytes = 6000.0 * 4000.0 * 4.0 / 1024.0;
    ASSERT_EQ(RunToEnd({(folder / "in.jpg").string(), "ScalingZVK(1, 6000, 4000)", "-o", large},
                       folder / "log"),
              0);
    for (const std::string runtime : {"console", "desktop"}) {
        rusage used{};
        const Program program({"--runtime", runtime, large, "ScalingZVK(1, 60, 40)", "-o",
                               (folder / "out.jpg").string()},
                              folder / "log");
        EXPECT_EQ(program.Wait(&used), 0) << ReadBytes(folder / "log");
        EXPECT_LT(static_cast<double>(used.ru_maxrss), 1.75 * kibibytes) << runtime;
    }
#endif
}

// A program in the middle of writing its result.
class EncodingProgram : public testing::Test {
  protected:
    EncodingProgram() {
        WriteImage(*MakeImage(300, 300, false), folder_ / "in.png");
        program_.emplace(
            "ulimit -c 0",
            std::vector<std::string>{(folder_ / "in.png").string(), "ScalingZVK(4, 3000, 3000)",
                                     "-o", (folder_ / "out.png").string()},
            folder_ / "log");
        while (!program_->HasUnfinishedFile(folder_.Path()) && !program_->HasEnded())
            std::this_thread::sleep_for(pause);
    }

    void ExpectEnd(int status) {
        EXPECT_EQ(program_->Wait(), status);
        EXPECT_THAT(folder_.Names(), UnorderedElementsAre("in.png", "log"));
    }

    static constexpr std::chrono::milliseconds pause{5};
    TemporaryFolder folder_;
    std::optional<Program> program_;
};

TEST_F(EncodingProgram, CtrlCLeavesNoFile) {
    program_->Signal(SIGINT);
    ExpectEnd(130);
    EXPECT_EQ(ReadBytes(folder_ / "log"), "zvk: interrupted\n");
}

TEST_F(EncodingProgram, ARequestToTerminateLeavesNoFile) {
    program_->Signal(SIGTERM);
    ExpectEnd(128 + SIGTERM);
}

TEST_F(EncodingProgram, AHangupLeavesNoFile) {
    program_->Signal(SIGHUP);
    ExpectEnd(128 + SIGHUP);
}

TEST_F(EncodingProgram, QuittingLeavesNoFile) {
    program_->Signal(SIGQUIT);
    ExpectEnd(-SIGQUIT);
}

TEST_F(EncodingProgram, ASecondCtrlCEndsItAtOnceAndLeavesNoFile) {
    while (!program_->HasEnded()) {
        program_->Signal(SIGINT);
        std::this_thread::sleep_for(pause);
    }
    ExpectEnd(-SIGINT);
}

TEST(Interruptions, LeaveAHangupIgnoredWhereItIs) {
    auto* const previous = std::signal(SIGHUP, SIG_IGN);
    {
        const Interruption interruption;
        std::raise(SIGHUP);
        EXPECT_FALSE(Interruption::HasCome());
    }
    EXPECT_EQ(std::signal(SIGHUP, previous), SIG_IGN);
}

TEST(TheProgram, SaysWhenItsOutputCannotBeWritten) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(20, 20, false), folder / "in.png");
    const std::vector<std::string> run{(folder / "in.png").string(), "ScalingZVK(3, 9, 7)", "-o",
                                       (folder / "out.png").string()};
    for (const std::vector<std::string>& line :
         std::vector<std::vector<std::string>>{{"--methods"}, {"--help"}, {"--version"}, run}) {
        EXPECT_EQ(Program("exec >/dev/full", line, folder / "log").Wait(), 2) << line.front();
        EXPECT_EQ(ReadBytes(folder / "log"),
                  "zvk: standard output cannot be written: No space left on device\n");
    }
}

TEST(TheProgram, AFileThatMayNotGrowIsAFailedWrite) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(300, 300, false), folder / "in.png");
    const Program program("ulimit -f 1",
                          {(folder / "in.png").string(), "ScalingZVK(3, 300, 300)", "-o",
                           (folder / "out.png").string()},
                          folder / "log");
    EXPECT_EQ(program.Wait(), 2);
    EXPECT_EQ(ReadBytes(folder / "log"),
              "zvk: " + (folder / "out.png").string() + ": cannot be written: File too large\n");
    EXPECT_THAT(folder.Names(), UnorderedElementsAre("in.png", "log"));
}

}  // namespace
}  // namespace workbench
