// What is taken from a file's load commands, and what is said about files that cannot be loaded.
#include "workbench/macho/file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/workbench/macho_maker.h"

namespace workbench::macho {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

std::string ErrorOf(const MadeBytes& bytes) {
    try {
        Parse(bytes);
    } catch (const MachOError& error) {
        return error.what();
    }
    return "no error";
}

std::string ErrorAfter(const std::function<void(MadeFile&)>& change) {
    MadeFile made = PlainFile();
    change(made);
    return ErrorOf(made.Bytes());
}

constexpr std::uint64_t huge = std::numeric_limits<std::uint64_t>::max() - pageSize + 1;

TEST(MachOFile, IsReadAsItsLinkerWroteIt) {
    const MadeFile made = PlainFile();
    const MadeBytes bytes = made.Bytes();
    const File file = Parse(bytes);
    ASSERT_EQ(file.segments.size(), 2U);
    EXPECT_EQ(file.segments[0].name, "__TEXT");
    EXPECT_EQ(file.segments[0].address, 0U);
    EXPECT_EQ(file.segments[0].end(), pageSize);
    EXPECT_EQ(file.segments[0].protection, protectionRead | protectionExecute);
    EXPECT_THAT(file.segments[0].contents, ElementsAreArray(made.segments[0].contents));
    EXPECT_EQ(file.segments[1].name, "__DATA");
    EXPECT_EQ(file.segments[1].address, dataAddress);
    EXPECT_EQ(file.segments[1].size, 2 * pageSize);
    EXPECT_EQ(file.segments[1].protection, protectionRead | protectionWrite);
    EXPECT_THAT(file.segments[1].contents, ElementsAreArray(made.segments[1].contents));
    ASSERT_EQ(file.sections.size(), 1U);
    EXPECT_EQ(file.sections[0].name, "__eh_frame");
    EXPECT_EQ(file.sections[0].segment, "__TEXT");
    EXPECT_EQ(file.sections[0].address, framesAddress);
    EXPECT_EQ(file.sections[0].size, made.segments[0].sections[0].size);
    EXPECT_THAT(file.libraries, ElementsAre(systemName));
    EXPECT_THAT(file.rebaseOpcodes, ElementsAreArray(made.rebase));
    EXPECT_THAT(file.bindOpcodes, ElementsAreArray(made.bind));
    EXPECT_THAT(file.weakBindOpcodes, ElementsAreArray(made.weakBind));
    EXPECT_THAT(file.lazyBindOpcodes, ElementsAreArray(made.lazyBind));
    EXPECT_THAT(file.exports, ElementsAreArray(made.exports));
    EXPECT_EQ(file.size, bytes.size());
    EXPECT_EQ(file.ImageSize(), 3 * pageSize);
}

TEST(MachOFile, SegmentsAreFoundByAddress) {
    MadeFile made = PlainFile();
    made.segments[1].address = 2 * pageSize;
    const MadeBytes bytes = made.Bytes();
    const File file = Parse(bytes);
    EXPECT_EQ(file.SegmentAt(0), file.segments.data());
    EXPECT_EQ(file.SegmentAt(pageSize - 1), file.segments.data());
    EXPECT_EQ(file.SegmentAt(pageSize), nullptr);
    EXPECT_EQ(file.SegmentAt(2 * pageSize), &file.segments[1]);
    EXPECT_EQ(file.SegmentAt(4 * pageSize - 1), &file.segments[1]);
    EXPECT_EQ(file.SegmentAt(4 * pageSize), nullptr);
    EXPECT_EQ(file.SegmentAt(huge), nullptr);
}

TEST(MachOFile, NamesMayFillTheirFields) {
    MadeFile made = PlainFile();
    made.segments[0].name = "__SIXTEEN_LETTER";
    const MadeBytes bytes = made.Bytes();
    EXPECT_EQ(Parse(bytes).segments[0].name, "__SIXTEEN_LETTER");
}

TEST(MachOFile, EveryKindOfLibraryCountsAsOne) {
    MadeFile made = PlainFile();
    for (const CommandKind kind :
         {CommandKind::LoadWeakLibrary, CommandKind::ReexportLibrary, CommandKind::LoadLibrary}) {
        MadeBytes rest(sizeof(LibraryCommand) - sizeof(Command));
        rest.front() = sizeof(LibraryCommand);
        made.furtherCommands.push_back(
            CommandOf(static_cast<std::uint32_t>(kind),
                      Joined({rest, Text("l" + std::to_string(made.furtherCommands.size()))})));
    }
    const MadeBytes bytes = made.Bytes();
    EXPECT_THAT(Parse(bytes).libraries, ElementsAre(systemName, "l0", "l1", "l2"));
}

TEST(MachOFile, BundlesAreLibrariesToo) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.fileType = typeBundle; }), "no error");
}

TEST(MachOFile, OthersAreToldApart) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.magic = 0xFEEDFACE; }),
              "it is no 64-bit Mach-O file");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.magic = magicOfUniversal; }),
              "it holds several architectures; take out the one for x86-64");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.cpuType = 0x0100000C; }),
              "it is not for x86-64");
    constexpr std::uint32_t program = 2;
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.fileType = program; }),
              "it is no library");
}

TEST(MachOFile, UnknownCommandsMayBePassedOverUnlessTheyAreRequired) {
    constexpr std::uint32_t unknown = 0x77;
    const auto errorWith = [](std::uint32_t kind) {
        return ErrorAfter(
            [kind](MadeFile& made) { made.furtherCommands = {CommandOf(kind, MadeBytes(8))}; });
    };
    EXPECT_EQ(errorWith(unknown), "no error");
    EXPECT_EQ(errorWith(static_cast<std::uint32_t>(CommandKind::RunPath)), "no error");
    EXPECT_EQ(errorWith(unknown | requiredBit), "it needs a loader that knows load command 119");
}

TEST(MachOFile, CommandsMustHoldWhatTheyAre) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) {
                  made.furtherCommands = {{0x77, 0, 0, 0, 7, 0, 0, 0}};
              }),
              "a load command is too short");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) {
                  made.furtherCommands = {{0x77, 0, 0, 0, 9, 0, 0, 0}};
              }),
              "it ends within its load commands");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.commandCount = 1; }),
              "it ends within its load commands");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.header.commandBytes = 1U << 20U; }),
              "it ends within its load commands");
    for (const CommandKind kind :
         {CommandKind::Segment, CommandKind::LoadLibrary, CommandKind::DyldInfo}) {
        EXPECT_EQ(
            ErrorAfter([kind](MadeFile& made) {
                made.furtherCommands = {CommandOf(static_cast<std::uint32_t>(kind), MadeBytes(8))};
            }),
            "it ends within its load commands");
    }
    // A segment's command without room for its sections.
    MadeBytes segment(sizeof(SegmentCommand) - sizeof(Command));
    segment[offsetof(SegmentCommand, sectionCount) - sizeof(Command)] = 1;
    EXPECT_EQ(ErrorAfter([&segment](MadeFile& made) {
                  made.furtherCommands = {
                      CommandOf(static_cast<std::uint32_t>(CommandKind::Segment), segment)};
              }),
              "it ends within its load commands");
    // A library whose name lies behind its command, and one whose name does not end.
    MadeBytes library(sizeof(LibraryCommand) - sizeof(Command), 1);
    const auto withLibrary = [&library](MadeFile& made) {
        made.furtherCommands = {
            CommandOf(static_cast<std::uint32_t>(CommandKind::LoadLibrary), library)};
    };
    EXPECT_EQ(ErrorAfter(withLibrary), "it ends within its names");
    Place(library, 0, {12, 0, 0, 0});
    EXPECT_EQ(ErrorAfter(withLibrary), "it ends within a name");
}

TEST(MachOFile, CutOffAnywhereItIsAnError) {
    const MadeBytes whole = PlainFile().Bytes();
    ASSERT_EQ(ErrorOf(whole), "no error");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        // Of exactly this size, so that a step behind the end is a step out of the memory.
        const MadeBytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THAT(ErrorOf(bytes), testing::StartsWith("it ends within its ")) << size;
    }
}

TEST(MachOFile, SegmentsNeedAPlaceInMemory) {
    const std::string noPlace = "its segment __DATA has no place in memory";
    const auto errorOfData = [](std::uint64_t address, std::uint64_t size) {
        return ErrorAfter([address, size](MadeFile& made) {
            made.segments[1].address = address;
            made.segments[1].size = size;
        });
    };
    EXPECT_EQ(errorOfData(dataAddress, largestImage - dataAddress), "no error");
    EXPECT_EQ(errorOfData(dataAddress, largestImage - dataAddress + 1), noPlace);
    EXPECT_EQ(errorOfData(largestImage, pageSize), noPlace);
    EXPECT_EQ(errorOfData(huge, pageSize), noPlace);
    EXPECT_EQ(errorOfData(dataAddress, huge), noPlace);
    EXPECT_EQ(errorOfData(dataAddress + 16, pageSize), noPlace);
    EXPECT_EQ(errorOfData(dataAddress, 8), noPlace);  // less than its contents
    EXPECT_EQ(errorOfData(0, pageSize), "its segments overlap");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.segments[0].size = pageSize + 1; }),
              "its segments overlap");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.segments[0].address = pageSize; }),
              "its segments start too high");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.segments.clear(); }), "it has no segments");
}

TEST(MachOFile, SegmentsAreAsManyAsOpcodesCanName) {
    const auto withSegments = [](std::size_t count) {
        return ErrorAfter([count](MadeFile& made) {
            while (made.segments.size() < count)
                made.segments.push_back({.name = "__MORE",
                                         .address = (made.segments.size() + 2) * pageSize,
                                         .size = pageSize,
                                         .protection = protectionRead,
                                         .contents = {},
                                         .sections = {}});
        });
    };
    EXPECT_EQ(withSegments(16), "no error");
    EXPECT_EQ(withSegments(17), "it has too many segments");
}

TEST(MachOFile, CodeIsNotWritable) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.segments[1].protection |= protectionExecute; }),
              "its segment __DATA is writable code");
}

TEST(MachOFile, SectionsLieInSegments) {
    const auto errorOf = [](std::uint64_t address, std::uint64_t size, std::uint32_t flags = 0) {
        return ErrorAfter([=](MadeFile& made) {
            made.segments[1].sections = {
                {.name = "__data", .address = address, .size = size, .flags = flags}};
        });
    };
    const std::string nowhere = "its section __data is in no segment";
    EXPECT_EQ(errorOf(dataAddress, 2 * pageSize), "no error");
    EXPECT_EQ(errorOf(dataAddress, 2 * pageSize + 1), nowhere);
    EXPECT_EQ(errorOf(dataAddress + pageSize, huge), nowhere);
    EXPECT_EQ(errorOf(3 * pageSize, 1), nowhere);
    EXPECT_EQ(errorOf(huge, 1), nowhere);
    EXPECT_EQ(errorOf(huge, 0), "no error");
}

TEST(MachOFile, SectionsThatNeedMoreOfALoaderAreRefused) {
    const auto errorOf = [](std::uint32_t flags) {
        return ErrorAfter([flags](MadeFile& made) {
            made.segments[1].sections = {
                {.name = "__some", .address = dataAddress, .size = 8, .flags = flags}};
        });
    };
    constexpr std::uint32_t attribute = 0x80000000;
    for (std::uint32_t kind = 0; kind <= 0x20; ++kind) {
        const bool isRefused = kind == 0xA || (kind >= 0x11 && kind <= 0x16);
        const std::string error =
            isRefused ? "its section __some is of a kind that is not supported" : "no error";
        EXPECT_EQ(errorOf(kind), error) << kind;
        EXPECT_EQ(errorOf(kind | attribute), error) << kind;
    }
}

}  // namespace
}  // namespace workbench::macho
