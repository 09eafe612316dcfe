// How image files are written: whole or not at all.
#include "workbench/files/encoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <limits>
#include <stdexcept>
#include <string>

#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"
#include "workbench/files/file_error.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t anySize = std::numeric_limits<std::size_t>::max();

template <typename Action>
std::string ErrorOf(Action action) {
    try {
        action();
    } catch (const FileError& error) {
        return error.what();
    }
    return "no error";
}

// Lets no file grow beyond a size, as a full disk does, while it lives.
class SmallDisk {
  public:
    explicit SmallDisk(rlim_t bytes) {
        previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &previous_);
        const rlimit limit{bytes, previous_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, previousHandler_);
    }

  private:
    rlimit previous_{};
    void (*previousHandler_)(int) = nullptr;
};

TEST(Encoding, FilesHoldTheFormatOfTheirExtensionInAnyCase) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(20, 10, false);
    for (const std::string name : {"a.PNG", "a.jpg", "a.JPEG", "a.webp", "a.Bmp"}) {
        EncodeFile(*image, folder / name);
        EXPECT_EQ(DecodeFile(folder / name, anySize).image->sx, 20) << name;
    }
    EXPECT_EQ(ReadBytes(folder / "a.PNG").substr(1, 3), "PNG");
    EXPECT_EQ(ReadBytes(folder / "a.webp").substr(8, 4), "WEBP");
    EXPECT_EQ(ReadBytes(folder / "a.Bmp").substr(0, 2), "BM");
    EXPECT_EQ(ReadBytes(folder / "a.jpg").substr(0, 2), "\xff\xd8");
}

TEST(Encoding, OtherExtensionsAreRefused) {
    for (const std::string name : {"a.gif", "a.tiff", "a", "a.png.txt", ".png"})
        EXPECT_THAT(ErrorOf([&] { CheckOutput(name); }),
                    HasSubstr("the name must end in .png, .jpg, .webp or .bmp"))
            << name;
}

TEST(Encoding, PlacesThatCannotBeWrittenAreNamedBeforehand) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder.png");
    EXPECT_THAT(ErrorOf([&] { CheckOutput(folder / "none/a.png"); }),
                HasSubstr("none/a.png: cannot be written: No such file or directory"));
    EXPECT_THAT(ErrorOf([&] { CheckOutput(folder / "folder.png"); }),
                HasSubstr("folder.png: cannot be written: it is a directory"));
    EXPECT_EQ(ErrorOf([&] { CheckOutput(folder / "fine.png"); }), "no error");
    EXPECT_THAT(folder.Names(), ElementsAre("folder.png"));
}

TEST(Encoding, AFullDiskLeavesTheOldFileAndNothingElse) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(300, 200, false);
    for (const std::string name : {"a.png", "a.jpg", "a.webp", "a.bmp"}) {
        WriteBytes(folder / name, "old");
        const SmallDisk disk(500);
        EXPECT_THAT(ErrorOf([&] { EncodeFile(*image, folder / name); }),
                    HasSubstr(name + ": cannot be written: "));
        EXPECT_EQ(ReadBytes(folder / name), "old");
        std::filesystem::remove(folder / name);
        EXPECT_THAT(folder.Names(), IsEmpty());
    }
}

TEST(Encoding, WhatIsThrownBeforeTheRenameKeepsTheFileFromAppearing) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(5, 5, false);
    EXPECT_THROW(EncodeFile(*image, folder / "a.png", [] { throw std::runtime_error("stopped"); }),
                 std::runtime_error);
    EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(Encoding, FormatsSayWhatTheyCannotHold) {
    const TemporaryFolder folder;
    const GdImage image(gdImageCreateTrueColor(16384, 1));
    EXPECT_THAT(ErrorOf([&] { EncodeFile(*image, folder / "a.webp"); }),
                HasSubstr("a.webp: WebP files hold at most 16383 pixels a side, not 16384 x 1"));
    EXPECT_EQ(ErrorOf([&] { EncodeFile(*image, folder / "a.png"); }), "no error");
    const GdImage wide(gdImageCreateTrueColor(65501, 1));
    EXPECT_THAT(ErrorOf([&] { EncodeFile(*wide, folder / "a.jpg"); }),
                HasSubstr("JPEG files hold at most 65500"));
}

TEST(Encoding, FilesGetTheRightsOfOrdinaryFiles) {
    const TemporaryFolder folder;
    const mode_t previous = umask(022);
    EncodeFile(*MakeImage(5, 5, false), folder / "a.png");
    umask(previous);
    struct stat status {};
    ASSERT_EQ(stat((folder / "a.png").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

}  // namespace
}  // namespace workbench
