// Cursors and row rule of the editors, and what cannot be reached through a real host.
#include "pixels/picture_editor.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

#include "fake_host.h"
#include "kernels/kernel_table.h"
#include "refused_memory.h"
#include "scaling/resample_passes.h"

namespace zvk {
namespace {

using testing::FakeHost;

// Fills the fields of an editor as an attach to a bitmap of `height` rows would.
void Describe(PictureEditor& editor, std::vector<std::uint8_t>& memory, std::int64_t width,
              std::int64_t height, PixelFormat format) {
    editor.width = width;
    editor.height = height;
    editor.rowBytes = width * 4;
    editor.bytesPerPixel = 4;
    editor.pixelFormat = format;
    editor.firstRow = memory.data();
    editor.rowPointer = memory.data();
}

TEST(PictureWriter, IsBeyondCachesFromTwentyFourMebibytesOn) {
    std::vector<std::uint8_t> memory(4);
    PictureWriter writer;
    Describe(writer, memory, 3072, 2048, PixelFormat::Last);
    EXPECT_FALSE(writer.IsBeyondCaches());
    writer.width += 1;
    EXPECT_TRUE(writer.IsBeyondCaches());
    writer.width = std::numeric_limits<std::int32_t>::max();
    writer.height = std::numeric_limits<std::int32_t>::max();
    EXPECT_TRUE(writer.IsBeyondCaches());
    writer.height = 0;
    EXPECT_FALSE(writer.IsBeyondCaches());
}

TEST(PictureWriter, WrapsToTheFirstRowBehindTheLast) {
    std::vector<std::uint8_t> memory(2 * 3 * 4);
    PictureWriter writer;
    Describe(writer, memory, 3, 2, PixelFormat::Last);
    writer.column = 2;
    writer.NextRow();
    EXPECT_EQ(writer.rowPointer, memory.data() + 12);
    EXPECT_EQ(writer.row, 1);
    EXPECT_EQ(writer.column, 0);
    writer.NextRow();
    EXPECT_EQ(writer.rowPointer, memory.data());
    EXPECT_EQ(writer.row, 2);
    writer.NextRow();
    EXPECT_EQ(writer.rowPointer, memory.data());
}

TEST(PictureWriter, WritesNoMoreOfARowThanItsPictureHas) {
    std::vector<std::uint8_t> memory(2 * 3 * 4);
    PictureWriter writer;
    Describe(writer, memory, 3, 2, PixelFormat::Last);
    EXPECT_EQ(writer.WritableWidth(2), 2);
    EXPECT_EQ(writer.WritableWidth(3), 3);
    EXPECT_EQ(writer.WritableWidth(4), 3);
    writer.height = 0;
    EXPECT_EQ(writer.WritableWidth(2), 0) << "there are no rows";
}

TEST(PictureReader, SeeksRowsAndTakesTheFirstForThoseBeyondTheHeight) {
    std::vector<std::uint8_t> memory(2 * 3 * 4);
    PictureReader reader;
    Describe(reader, memory, 3, 2, PixelFormat::Last);
    reader.column = 1;
    EXPECT_EQ(reader.SeekRow(1), memory.data() + 12);
    EXPECT_EQ(reader.column, 0);
    EXPECT_EQ(reader.row, 1);
    EXPECT_EQ(reader.SeekRow(2), memory.data());
}

TEST(PictureEditor, TakesTheRowsOfAConsoleImageFromItsTable) {
    std::vector<std::uint8_t> memory(3 * 4);
    std::array<int, 3> other{};
    std::array<int*, 2> rows = {reinterpret_cast<int*>(memory.data()), other.data()};
    PictureEditor editor;
    Describe(editor, memory, 3, 2, PixelFormat::Console);
    editor.rowTable = rows.data();
    EXPECT_EQ(editor.RowAddress(1), reinterpret_cast<std::uint8_t*>(other.data()));
    EXPECT_EQ(editor.RowAddress(2), memory.data());
}

REALpictureStruct builtPicture;
std::array<std::int64_t, 4> buildArguments{};
const void* builtFrom = nullptr;

REALpicture BuildPicture(std::int32_t width, std::int32_t height, REALinteger pixelType,
                         const void* pixels, std::int32_t rowBytes) {
    buildArguments = {width, height, pixelType, rowBytes};
    builtFrom = pixels;
    return &builtPicture;
}

TEST(PictureEditor, RendersItsOwnBufferWhereNoPictureIsAttached) {
    FakeHost host;
    host.Offer("REALBuildPictureFromBuffer", BuildPicture);
    std::vector<std::uint8_t> memory(2 * 3 * 4);
    PictureEditor editor;
    Describe(editor, memory, 3, 2, PixelFormat::Last);
    editor.buffer = memory.data();
    EXPECT_EQ(editor.RenderPictureWriter(), &builtPicture);
    EXPECT_EQ(buildArguments, (std::array<std::int64_t, 4>{3, 2, 1, 12}));
    EXPECT_EQ(builtFrom, memory.data());
}

TEST(PictureEditor, RendersNilWithoutPictureAndBuffer) {
    PictureEditor editor;
    EXPECT_EQ(editor.RenderPictureWriter(), nullptr);
}

TEST(PictureEditor, LeavesItsFlagsAsTheyAreForANilPicture) {
    PictureEditor editor;
    editor.allowCopy = true;
    editor.writable = true;
    EXPECT_FALSE(editor.GetPictureEditor(nullptr, false, false));
    EXPECT_TRUE(editor.allowCopy);
    EXPECT_TRUE(editor.writable);
}

TEST(PictureWriter, AsksForNoPictureWithoutColumnsOrRows) {
    FakeHost host;
    PictureReader reader;
    PictureWriter writer;
    for (const bool hasAlpha : {false, true}) {
        reader.hasAlpha = hasAlpha;
        EXPECT_FALSE(writer.NewPictureWriter(reader, 0, 5));
        EXPECT_FALSE(writer.NewPictureWriter(reader, 5, 0));
    }
    EXPECT_EQ(host.LookUps("REALNewPicture"), 0);
    EXPECT_EQ(host.LookUps("REALnewInstance"), 0);
}

TEST(ChannelOrder, IsSharedByTheFormatsOfOneByteOrder) {
    for (const auto format :
         {PixelFormat::PremultipliedLast, PixelFormat::Last, PixelFormat::SkipLast}) {
        EXPECT_EQ(ChannelOrderOf(format), layouts::colourFirst);
    }
    for (const auto format :
         {PixelFormat::PremultipliedFirst, PixelFormat::First, PixelFormat::SkipFirst}) {
        EXPECT_EQ(ChannelOrderOf(format), layouts::colourLast);
    }
    EXPECT_EQ(ChannelOrderOf(PixelFormat::Console), layouts::console);
    for (const std::uint32_t number : {0U, 7U, 9U, 0xFFFFFFFFU}) {
        EXPECT_EQ(ChannelOrderOf(static_cast<PixelFormat>(number)), std::nullopt) << number;
    }
}

TEST(AlphaInfo, IsTakenFromItsLowThreeBits) {
    EXPECT_EQ(FormatOfAlphaInfo(8 + 5, false), PixelFormat::SkipLast);
    EXPECT_EQ(FormatOfAlphaInfo(0, false), PixelFormat::None);
    EXPECT_EQ(FormatOfAlphaInfo(7, false), PixelFormat::None);
    EXPECT_EQ(FormatOfAlphaInfo(2, true), PixelFormat::PremultipliedFirst);
    EXPECT_EQ(FormatOfAlphaInfo(3, true), PixelFormat::None);
}

// One pixel taken as it is.
std::array<ContributionList, 1> OnePixel(Contribution& entry) {
    entry = {.weight = 1.0F, .pixel = 0};
    return {ContributionList{.entries = &entry, .count = 1, .weightSum = 1.0F}};
}

// A row of one pixel between the passes, with the room that kernels read.
struct OneRow {
    std::array<std::uint8_t, kernels::rowPadding> bytes{};
    kernels::PixelRows rows{.places = bytes.data(), .stride = 4, .capacity = 1};
};

TEST(ResamplePasses, ReadAPictureInNoKnownFormatAsBlack) {
    std::vector<std::uint8_t> memory(2 * 4, 200);
    PictureReader reader;
    Describe(reader, memory, 2, 1, PixelFormat::None);
    Contribution entry{};
    const auto lists = OnePixel(entry);
    OneRow row;
    RowPass(reader, lists).Run(0, 1, row.rows);
    EXPECT_EQ(row.bytes[0], 0);
    reader.pixelFormat = PixelFormat::Last;
    RowPass(reader, lists).Run(0, 1, row.rows);
    EXPECT_EQ(row.bytes[0], 200);
    EXPECT_EQ(row.bytes[1], 200);
    EXPECT_EQ(row.bytes[2], 200);
}

TEST(ResamplePasses, WriteNothingToAPictureInNoKnownFormat) {
    std::vector<std::uint8_t> memory(4, 7);
    PictureReader reader;
    Describe(reader, memory, 1, 1, PixelFormat::Last);
    PictureWriter writer;
    Describe(writer, memory, 1, 1, PixelFormat::None);
    Contribution entry{};
    const auto lists = OnePixel(entry);
    OneRow row;
    row.bytes = {0x10, 0x20, 0x30, 0x40};
    ColumnPass pass(reader, lists, 1);
    pass.WriteRow(0, row.rows, 1, writer);
    EXPECT_EQ(memory, (std::vector<std::uint8_t>{7, 7, 7, 7}));
    writer.pixelFormat = PixelFormat::SkipFirst;
    pass.WriteRow(0, row.rows, 1, writer);
    EXPECT_EQ(memory, (std::vector<std::uint8_t>{255, 0x10, 0x20, 0x30}));
}

TEST(ResamplePasses, WriteNothingToAPictureInNoKnownFormatWhereSeveralRowsCount) {
    std::vector<std::uint8_t> memory(4, 7);
    PictureReader reader;
    Describe(reader, memory, 1, 1, PixelFormat::Last);
    PictureWriter writer;
    Describe(writer, memory, 1, 1, PixelFormat::None);
    std::array entries = {Contribution{.weight = 1.0F, .pixel = 0},
                          Contribution{.weight = 3.0F, .pixel = 1}};
    const std::array lists = {
        ContributionList{.entries = entries.data(), .count = 2, .weightSum = 4.0F}};
    std::array<std::uint8_t, 4 + kernels::rowPadding> bytes = {10, 20, 30, 0, 50, 60, 70, 0};
    const kernels::PixelRows rows{.places = bytes.data(), .stride = 4, .capacity = 2};
    ColumnPass pass(reader, lists, 1);
    pass.WriteRow(0, rows, 1, writer);
    EXPECT_EQ(memory, (std::vector<std::uint8_t>{7, 7, 7, 7}));
    writer.pixelFormat = PixelFormat::SkipFirst;
    pass.WriteRow(0, rows, 1, writer);
    EXPECT_EQ(memory, (std::vector<std::uint8_t>{255, 40, 50, 60}));
}

TEST(ResamplePasses, NeedNoRowsForAnEmptyListWithOrWithoutMemoryForTheirTable) {
    std::vector<std::uint8_t> memory(4);
    PictureReader reader;
    Describe(reader, memory, 1, 1, PixelFormat::Last);
    const std::array lists = {ContributionList{.entries = nullptr, .count = 0, .weightSum = 0.0F}};
    EXPECT_EQ(ColumnPass(reader, lists, 1).RowsFor(0).last, 0);
    const testing::RefusedMemory refused(1);
    EXPECT_EQ(ColumnPass(reader, lists, 1).RowsFor(0).last, 0);
    EXPECT_TRUE(refused.WasAskedFor());
}

}  // namespace
}  // namespace zvk
