// The road from file to host picture and back, in both runtimes.
#include "workbench/files/picture_files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "tests/workbench/image_files.h"
#include "tests/workbench/temporary_folder.h"

namespace workbench {
namespace {

constexpr std::size_t anySize = std::numeric_limits<std::size_t>::max();

HostSettings SettingsOf(Runtime runtime, int layout) {
    HostSettings settings;
    settings.runtime = runtime;
    settings.layout = layout;
    return settings;
}

std::vector<HostSettings> AllSettings() {
    std::vector<HostSettings> all{SettingsOf(Runtime::Console, 1)};
    for (int layout = 1; layout <= 6; ++layout)
        all.push_back(SettingsOf(Runtime::Desktop, layout));
    return all;
}

TEST(PictureFiles, OpaqueFilesComeBackUnchangedInEveryLayout) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(31, 17, false);
    WriteImage(*image, folder / "a.png");
    for (const HostSettings& settings : AllSettings()) {
        Host host(settings);
        const Held<Picture> picture = LoadPicture(host, folder / "a.png");
        EXPECT_FALSE(picture->HasAlphaChannel());
        const int pixel = image->tpixels[5][3];
        EXPECT_EQ(picture->At(3, 5).red, gdTrueColorGetRed(pixel));
        EXPECT_EQ(picture->At(3, 5).green, gdTrueColorGetGreen(pixel));
        EXPECT_EQ(picture->At(3, 5).blue, gdTrueColorGetBlue(pixel));
        EXPECT_EQ(picture->At(3, 5).alpha, 255);
        SavePicture(*picture, folder / "b.png");
        const DecodedFile saved = DecodeFile(folder / "b.png", anySize);
        for (int y = 0; y < 17; ++y) {
            for (int x = 0; x < 31; ++x)
                ASSERT_EQ(saved.image->tpixels[y][x], image->tpixels[y][x]) << settings.layout;
        }
        EXPECT_FALSE(saved.hasTransparency);
    }
}

TEST(PictureFiles, AConsolePictureIsTheDecodedImageItself) {
    Host host(SettingsOf(Runtime::Console, 1));
    GdImage image = MakeImage(9, 4, true);
    const void* const row = image->tpixels[2];
    const auto word = static_cast<std::uint32_t>(image->tpixels[2][7]);
    const Held<Picture> picture = host.AdoptImage(std::move(image), true);
    EXPECT_TRUE(picture->IsConsoleImage());
    EXPECT_TRUE(picture->HasAlphaChannel());
    EXPECT_EQ(picture->Width(), 9);
    EXPECT_EQ(picture->Height(), 4);
    EXPECT_EQ(picture->Row(2).data(), row);
    EXPECT_EQ(picture->Word(7, 2), word);
}

TEST(PictureFiles, AnImageWithAPaletteIsNotAdopted) {
    Host host(SettingsOf(Runtime::Console, 1));
    EXPECT_THROW(host.AdoptImage(GdImage(gdImageCreate(3, 3)), false), std::invalid_argument);
    EXPECT_THROW(host.AdoptImage(nullptr, false), std::invalid_argument);
}

TEST(PictureFiles, PicturesUnderGuardHaveMemoryOfTheirOwn) {
    const TemporaryFolder folder;
    const GdImage image = MakeImage(31, 17, false);
    WriteImage(*image, folder / "a.png");
    HostSettings settings = SettingsOf(Runtime::Console, 1);
    settings.guardPages = true;
    Host host(settings);
    const Held<Picture> picture = LoadPicture(host, folder / "a.png");
    constexpr std::uintptr_t pageBytes = 4096;
    for (int y = 0; y < 17; ++y) {
        const auto row = picture->Row(y);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(row.data() + row.size()) % pageBytes, 0U);
        EXPECT_EQ(row[3], static_cast<std::uint32_t>(image->tpixels[y][3]));
    }
}

TEST(PictureFiles, EveryTransparencyComesBackUnchanged) {
    const TemporaryFolder folder;
    const GdImage image(gdImageCreateTrueColor(gdAlphaMax + 1, 1));
    image->saveAlphaFlag = 1;
    for (int alpha = 0; alpha <= gdAlphaMax; ++alpha)
        image->tpixels[0][alpha] = gdTrueColorAlpha(255, 255, 255, alpha);
    for (const std::string name : {"a.png", "a.webp"}) {
        WriteImage(*image, folder / name);
        for (const HostSettings& settings : AllSettings()) {
            Host host(settings);
            const Held<Picture> picture = LoadPicture(host, folder / name);
            EXPECT_TRUE(picture->HasAlphaChannel());
            EXPECT_EQ(picture->At(0, 0).alpha, 255);
            EXPECT_EQ(picture->At(gdAlphaMax, 0).alpha, 0);
            SavePicture(*picture, folder / ("b" + name));
            const DecodedFile saved = DecodeFile(folder / ("b" + name), anySize);
            for (int alpha = 0; alpha <= gdAlphaMax; ++alpha)
                EXPECT_EQ(gdTrueColorGetAlpha(saved.image->tpixels[0][alpha]), alpha) << name;
        }
    }
}

TEST(PictureFiles, AMaskIsWrittenAsTransparency) {
    const TemporaryFolder folder;
    WriteImage(*MakeImage(4, 2, false), folder / "a.png");
    const GdImage maskImage(gdImageCreateTrueColor(2, 1));
    maskImage->tpixels[0][0] = 0xFFFFFF;
    maskImage->tpixels[0][1] = 0x000000;
    WriteImage(*maskImage, folder / "mask.png");
    Host host(SettingsOf(Runtime::Desktop, 1));
    const Held<Picture> picture = LoadPicture(host, folder / "a.png");
    const Held<Picture> mask = LoadMask(host, folder / "mask.png");
    host.SetMask(*picture, &*mask);
    SavePicture(*picture, folder / "b.png");
    const DecodedFile saved = DecodeFile(folder / "b.png", anySize);
    EXPECT_EQ(gdTrueColorGetAlpha(saved.image->tpixels[0][0]), gdAlphaTransparent);
    EXPECT_EQ(gdTrueColorGetAlpha(saved.image->tpixels[0][1]), gdAlphaOpaque);
    EXPECT_EQ(gdTrueColorGetAlpha(saved.image->tpixels[0][2]), gdAlphaOpaque);
    EXPECT_EQ(gdTrueColorGetAlpha(saved.image->tpixels[1][0]), gdAlphaOpaque);
}

TEST(PictureFiles, FormatsWithoutAlphaShowThePictureOnWhite) {
    const TemporaryFolder folder;
    const GdImage image(gdImageCreateTrueColor(3, 1));
    image->saveAlphaFlag = 1;
    image->tpixels[0][0] = gdTrueColorAlpha(200, 0, 0, gdAlphaTransparent);
    image->tpixels[0][1] = gdTrueColorAlpha(200, 10, 30, gdAlphaOpaque);
    image->tpixels[0][2] = gdTrueColorAlpha(0, 0, 0, 64);
    WriteImage(*image, folder / "a.png");
    Host host(SettingsOf(Runtime::Console, 1));
    const Held<Picture> picture = LoadPicture(host, folder / "a.png");
    SavePicture(*picture, folder / "b.bmp");
    const DecodedFile saved = DecodeFile(folder / "b.bmp", anySize);
    EXPECT_EQ(saved.image->tpixels[0][0], 0xFFFFFF);
    EXPECT_EQ(saved.image->tpixels[0][1], gdTrueColor(200, 10, 30));
    EXPECT_NEAR(gdTrueColorGetRed(saved.image->tpixels[0][2]), 128, 2);
}

TEST(PictureFiles, CopiesShowWhatWouldBeWritten) {
    Host host(SettingsOf(Runtime::Desktop, 2));
    const GdImage image = MakeImage(8, 8, false);
    const Held<Picture> picture = PictureFrom(host, *image);
    const GdImage copy = CopyPicture(*picture);
    EXPECT_EQ(copy->saveAlphaFlag, 0);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            ASSERT_EQ(copy->tpixels[y][x], image->tpixels[y][x]);
    }
}

}  // namespace
}  // namespace workbench
