// What is read from image files, and what is said about those that cannot be read.
#include "workbench/files/decoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"
#include "workbench/files/file_error.h"

namespace workbench {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t anySize = std::numeric_limits<std::size_t>::max();
const std::vector<std::string> allExtensions{".png", ".jpg", ".gif", ".bmp", ".webp", ".tiff"};

std::string ErrorOf(const std::filesystem::path& file, std::size_t maximumBytes = anySize) {
    try {
        DecodeFile(file, maximumBytes);
    } catch (const FileError& error) {
        return error.what();
    }
    return "no error";
}

int LargestDifference(const gdImage& left, const gdImage& right) {
    int largest = 0;
    for (int y = 0; y < left.sy; ++y) {
        for (int x = 0; x < left.sx; ++x) {
            const int a = left.tpixels[y][x];
            const int b = right.tpixels[y][x];
            largest = std::max({largest, std::abs(gdTrueColorGetRed(a) - gdTrueColorGetRed(b)),
                                std::abs(gdTrueColorGetGreen(a) - gdTrueColorGetGreen(b)),
                                std::abs(gdTrueColorGetBlue(a) - gdTrueColorGetBlue(b)),
                                std::abs(gdTrueColorGetAlpha(a) - gdTrueColorGetAlpha(b))});
        }
    }
    return largest;
}

TEST(Decoding, LosslessFormatsGiveTheirPixels) {
    const TemporaryFolder folder;
    for (const std::string extension : {".png", ".webp", ".tiff", ".bmp"}) {
        const bool keepsAlpha = extension != ".bmp";
        const GdImage image = MakeImage(37, 23, keepsAlpha);
        const std::filesystem::path file = folder / ("a" + extension);
        WriteImage(*image, file);
        const DecodedFile decoded = DecodeFile(file, anySize);
        ASSERT_EQ(decoded.image->sx, 37) << extension;
        ASSERT_EQ(decoded.image->sy, 23) << extension;
        EXPECT_EQ(decoded.hasTransparency, keepsAlpha) << extension;
        EXPECT_EQ(LargestDifference(*image, *decoded.image), 0) << extension;
    }
}

TEST(Decoding, JpegComesNearAndIsOpaque) {
    const TemporaryFolder folder;
    const GdImage image(gdImageCreateTrueColor(40, 30));
    gdImageFilledRectangle(image.get(), 0, 0, 39, 29, gdTrueColor(200, 120, 40));
    WriteImage(*image, folder / "a.jpg");
    const DecodedFile decoded = DecodeFile(folder / "a.jpg", anySize);
    EXPECT_FALSE(decoded.hasTransparency);
    EXPECT_LE(LargestDifference(*image, *decoded.image), 3);
}

TEST(Decoding, PaletteFilesBecomeTruecolorWithTheirTransparentColor) {
    const TemporaryFolder folder;
    const GdImage image(gdImageCreate(8, 4));
    const int green = gdImageColorAllocate(image.get(), 10, 200, 30);
    const int clear = gdImageColorAllocate(image.get(), 1, 2, 3);
    gdImageColorTransparent(image.get(), clear);
    gdImageFilledRectangle(image.get(), 0, 0, 7, 3, green);
    gdImageSetPixel(image.get(), 5, 2, clear);
    for (const std::string name : {"a.gif", "a.png"}) {
        WriteImage(*image, folder / name);
        const DecodedFile decoded = DecodeFile(folder / name, anySize);
        ASSERT_NE(gdImageTrueColor(decoded.image), 0);
        EXPECT_TRUE(decoded.hasTransparency) << name;
        EXPECT_EQ(decoded.image->tpixels[0][0], gdTrueColor(10, 200, 30)) << name;
        EXPECT_EQ(gdTrueColorGetAlpha(decoded.image->tpixels[2][5]), gdAlphaTransparent) << name;
    }
}

TEST(Decoding, OneTransparentColorOfATruecolorFileCounts) {
    const TemporaryFolder folder;
    const GdImage image(gdImageCreateTrueColor(6, 5));
    gdImageFilledRectangle(image.get(), 0, 0, 5, 4, gdTrueColor(9, 8, 7));
    gdImageSetPixel(image.get(), 3, 1, gdTrueColor(1, 2, 3));
    WriteImage(*image, folder / "plain.png");
    std::string bytes = ReadBytes(folder / "plain.png");
    constexpr std::size_t afterHeader = 8 + 25;
    bytes.insert(afterHeader, PngChunk("tRNS", std::string("\0\1\0\2\0\3", 6)));
    WriteBytes(folder / "keyed.png", bytes);
    EXPECT_FALSE(DecodeFile(folder / "plain.png", anySize).hasTransparency);
    const DecodedFile keyed = DecodeFile(folder / "keyed.png", anySize);
    EXPECT_TRUE(keyed.hasTransparency);
    EXPECT_EQ(gdTrueColorGetAlpha(keyed.image->tpixels[1][3]), gdAlphaTransparent);
    EXPECT_EQ(keyed.image->tpixels[0][0], gdTrueColor(9, 8, 7));
}

TEST(Decoding, FormatsAreToldByContentNotByName) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(9, 9, false);
    for (const std::string& extension : allExtensions) {
        WriteImage(*image, folder / ("a" + extension));
        WriteBytes(folder / "misnamed.txt", ReadBytes(folder / ("a" + extension)));
        EXPECT_EQ(DecodeFile(folder / "misnamed.txt", anySize).image->sx, 9) << extension;
    }
}

TEST(Decoding, FilesThatEndEarlyAreDamagedAndNotHalfRead) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(61, 47, false);
    testing::internal::CaptureStderr();
    for (const std::string& extension : allExtensions) {
        WriteImage(*image, folder / ("a" + extension));
        const std::string bytes = ReadBytes(folder / ("a" + extension));
        for (int part = 1; part < 20; ++part) {
            const std::filesystem::path cut = folder / ("cut" + extension);
            WriteBytes(cut, bytes.substr(0, bytes.size() * static_cast<std::size_t>(part) / 20));
            EXPECT_THAT(ErrorOf(cut),
                        AllOf(StartsWith(cut.string() + ": "), HasSubstr("is a damaged")))
                << extension << " cut to " << part << "/20";
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// From a single byte to all but the last one: nothing of a picture is shown that is not complete.
TEST(Decoding, SmallFilesThatEndAtAnyByteGiveAClearError) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(5, 4, false);
    testing::internal::CaptureStderr();
    for (const std::string extension : {".png", ".jpg"}) {
        const std::filesystem::path whole = folder / ("whole" + extension);
        const std::filesystem::path cut = folder / ("cut" + extension);
        WriteImage(*image, whole);
        const std::string bytes = ReadBytes(whole);
        ASSERT_GT(bytes.size(), 100U);
        for (std::size_t length = 1; length < bytes.size(); ++length) {
            WriteBytes(cut, bytes.substr(0, length));
            EXPECT_THAT(ErrorOf(cut), StartsWith(cut.string() + ": "))
                << extension << " cut to " << length << " of " << bytes.size() << " bytes";
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Decoding, DamagedBytesAreDecodedOrRefusedButNeverCrash) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(41, 31, true);
    std::uint32_t state = 1;
    const auto random = [&state] {
        state = state * 1664525U + 1013904223U;
        return state >> 8U;
    };
    int refused = 0;
    testing::internal::CaptureStderr();
    for (const std::string& extension : allExtensions) {
        WriteImage(*image, folder / ("a" + extension));
        const std::string bytes = ReadBytes(folder / ("a" + extension));
        for (int round = 0; round < 150; ++round) {
            std::string damaged = bytes;
            for (int i = 0; i < 3; ++i)
                damaged[random() % damaged.size()] = static_cast<char>(random());
            WriteBytes(folder / "damaged", damaged);
            constexpr std::size_t tenMegabytes = 10'000'000;
            if (ErrorOf(folder / "damaged", tenMegabytes) != "no error") ++refused;
        }
    }
    EXPECT_GT(refused, 100);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Decoding, HeadersOfNoPictureAreToldOnceAndOnlyByTheError) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(12, 9, false);
    WriteImage(*image, folder / "a.png");
    const std::string bytes = ReadBytes(folder / "a.png");
    constexpr std::size_t afterHeader = 8 + 25;
    const std::vector<std::string> headers{
        std::string("\0\0\0\0\0\0\0\x9\x8\x2\0\0\0", 13),        // no width
        std::string("\0\0\0\xc\0\0\0\0\x8\x2\0\0\0", 13),        // no height
        std::string("\0\x2d\xc6\xc0\0\0\0\x1\x8\x2\0\0\0", 13),  // wider than is decoded
        std::string("\0\0\0\xc\0\0\0\x9\x7\x2\0\0\0", 13),       // 7 bits
        std::string("\0\0\0\xc\0\0\0\x9\x8\x9\0\0\0", 13),       // no such kind of colour
        std::string("\0\0\0\xc\0\0\0\x9\x8\x2\x1\x1\x7", 13),    // no such methods
    };
    testing::internal::CaptureStderr();
    for (const std::string& header : headers) {
        WriteBytes(folder / "bad.png",
                   "\x89PNG\r\n\x1a\n" + PngChunk("IHDR", header) + bytes.substr(afterHeader));
        EXPECT_THAT(ErrorOf(folder / "bad.png"), HasSubstr("bad.png: is a damaged PNG file"));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Decoding, WhatTheDecoderOnlyWarnsOfIsNoMatter) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(12, 9, false);
    WriteImage(*image, folder / "a.png");
    std::string bytes = ReadBytes(folder / "a.png");
    constexpr std::size_t afterHeader = 8 + 25;
    bytes.insert(afterHeader, PngChunk("tRNS", "too long for one colour"));
    WriteBytes(folder / "b.png", bytes);
    testing::internal::CaptureStderr();
    const DecodedFile decoded = DecodeFile(folder / "b.png", anySize);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(LargestDifference(*image, *decoded.image), 0);
}

TEST(Decoding, DamageInWhatDecidesNoPixelsIsNoMatter) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(12, 9, false);
    WriteImage(*image, folder / "a.png");
    std::string bytes = ReadBytes(folder / "a.png");
    constexpr std::size_t afterHeader = 8 + 25;
    bytes.insert(afterHeader,
                 PngChunk("iCCP", "not a profile") + PngChunk("tEXt", "a comment", true));
    WriteBytes(folder / "b.png", bytes);
    testing::internal::CaptureStderr();
    const DecodedFile decoded = DecodeFile(folder / "b.png", anySize);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(LargestDifference(*image, *decoded.image), 0);
}

TEST(Decoding, FilesThatAreNoPicturesAreNamed) {
    const TemporaryFolder folder;
    WriteBytes(folder / "empty.png", "");
    WriteBytes(folder / "text.png", "This is no picture.");
    EXPECT_EQ(ErrorOf(folder / "none.png"),
              (folder / "none.png").string() + ": No such file or directory");
    EXPECT_EQ(ErrorOf(folder.Path()), folder.Path().string() + ": is a directory");
    EXPECT_THAT(ErrorOf(folder / "empty.png"), HasSubstr("empty.png: is not an image"));
    EXPECT_THAT(ErrorOf(folder / "text.png"), HasSubstr("text.png: is not an image"));
    EXPECT_THAT(ErrorOf("/dev/null"), HasSubstr("/dev/null: is not an ordinary file"));
}

TEST(Decoding, PicturesLargerThanTheLimitAreRefusedUnread) {
    const TemporaryFolder folder;
    const std::string header("\x7f\xff\xff\xff\x7f\xff\xff\xff\x08\x02\0\0\0", 13);
    WriteBytes(folder / "huge.png", "\x89PNG\r\n\x1a\n" + PngChunk("IHDR", header));
    constexpr std::size_t terabyte = std::size_t{1} << 40U;
    EXPECT_THAT(ErrorOf(folder / "huge.png", terabyte),
                HasSubstr("is too large: 2147483647 x 2147483647 pixels need "));
    const GdImage image = MakeImage(100, 50, false);
    for (const std::string& extension : allExtensions) {
        const std::filesystem::path file = folder / ("a" + extension);
        WriteImage(*image, file);
        EXPECT_EQ(ErrorOf(file, 100 * 50 * 4), "no error") << extension;
        EXPECT_THAT(ErrorOf(file, 100 * 50 * 4 - 1), HasSubstr("is too large: 100 x 50 pixels"))
            << extension;
    }
}

// A decoder may find a size where the header was not followed: what would be taken then is not
// bounded by what the header was believed to say.

TEST(Decoding, SizesThatOnlyTheDecoderWouldFindAreRefused) {
    const TemporaryFolder folder;
    const std::string noSize = "(its header gives no size)";
    const GdImage image = MakeImage(100, 50, false);
    for (const std::string extension : {".png", ".jpg", ".tiff"})
        WriteImage(*image, folder / ("a" + extension));

    std::string png = ReadBytes(folder / "a.png");
    constexpr std::size_t signature = 8;
    png.insert(signature, PngChunk("tEXt", std::string("\0\0\0\1\0\0\0\1", 8)));
    WriteBytes(folder / "text first", png);
    EXPECT_THAT(ErrorOf(folder / "text first", 4), HasSubstr("is a damaged PNG file " + noSize));

    std::string jpeg = ReadBytes(folder / "a.jpg");
    constexpr std::size_t firstSegment = 2 + 18;
    jpeg.insert(firstSegment, 1, '\0');
    WriteBytes(folder / "stray byte", jpeg);
    EXPECT_THAT(ErrorOf(folder / "stray byte", 4), HasSubstr("is a damaged JPEG file " + noSize));

    std::string tiff = ReadBytes(folder / "a.tiff");
    const std::size_t width = tiff.find(std::string("\0\1\3\0\1\0\0\0", 8));
    ASSERT_NE(width, std::string::npos);
    constexpr char eightBytes = 16;
    tiff[width + 2] = eightBytes;
    WriteBytes(folder / "wide number", tiff);
    EXPECT_THAT(ErrorOf(folder / "wide number", 4), HasSubstr("is a damaged TIFF file " + noSize));
}

TEST(Decoding, RestartMarkersBeforeTheSizeOfAJpegArePassedOver) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(100, 50, false), folder / "a.jpg");
    std::string bytes = ReadBytes(folder / "a.jpg");
    constexpr std::size_t firstSegment = 2 + 18;
    bytes.insert(firstSegment, "\xff\xd3");
    WriteBytes(folder / "b.jpg", bytes);
    EXPECT_THAT(ErrorOf(folder / "b.jpg", 4), HasSubstr("is too large: 100 x 50 pixels"));
}

TEST(Decoding, TheLargerOfTwoSizesInATiffCounts) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(100, 50, false), folder / "a.tiff");
    std::string bytes = ReadBytes(folder / "a.tiff");
    // The entry behind the height's becomes another one of the height.
    const std::size_t height = bytes.find(std::string("\1\1\3\0\1\0\0\0", 8));
    ASSERT_NE(height, std::string::npos);
    bytes.replace(height + 12, 12, std::string("\1\1\3\0\1\0\0\0\5\0\0\0", 12));
    WriteBytes(folder / "b.tiff", bytes);
    EXPECT_THAT(ErrorOf(folder / "b.tiff", 4), HasSubstr("is too large: 100 x 50 pixels"));
}

// Each entry would otherwise be looked for behind the end of the file.
TEST(Decoding, ATiffThatClaimsMoreEntriesThanItHasIsFollowedToItsEnd) {
    const TemporaryFolder folder;
    const std::string bytes(
        "II*\0\x8\0\0\0\xff\xff\0\1\4\0\1\0\0\0\x40\x9c\0\0"
        "\1\1\4\0\1\0\0\0\x40\x9c\0\0\0\1",
        36);
    WriteBytes(folder / "a.tiff", bytes);
    EXPECT_THAT(ErrorOf(folder / "a.tiff", 4), HasSubstr("is too large: 40000 x 40000 pixels"));
}

}  // namespace
}  // namespace workbench
