// Images in memory: their contents, pointers and protections.
#include "workbench/macho/image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

#include "tests/workbench/macho_maker.h"
#include "tests/workbench/memory_map.h"

namespace workbench::macho {
namespace {

std::array<std::uint8_t, 64> offered{};

// Offers _strlen and _memcpy of the system's library, and _any of any.
void* Offer(std::string_view symbol, std::string_view library) {
    if (symbol == "_any") return &offered[32];
    if (!library.empty() && library != systemName) return nullptr;
    if (symbol == "_strlen") return offered.data();
    if (symbol == "_memcpy") return &offered[16];
    return nullptr;
}

// The file's bytes are gone when its image is used.
struct Loaded {
    explicit Loaded(const MadeFile& made)
        : image([&made] {
              const MadeBytes bytes = made.Bytes();
              return Image(Parse(bytes), Offer);
          }()) {}

    std::uint64_t NumberAt(std::uint64_t address) const {
        std::uint64_t number = 0;
        std::memcpy(&number, image.At(address), sizeof number);
        return number;
    }
    static std::uint64_t Offered(std::size_t index) {
        return reinterpret_cast<std::uintptr_t>(&offered.at(index));
    }

    Image image;
};

std::string ErrorAfter(const std::function<void(MadeFile&)>& change) {
    MadeFile made = PlainFile();
    change(made);
    try {
        const Loaded loaded(made);
    } catch (const MachOError& error) {
        return error.what();
    }
    return "no error";
}

TEST(MachOImage, HoldsTheContentsAndZerosBehindThem) {
    const MadeFile made = PlainFile();
    const Loaded loaded(made);
    const MadeBytes& text = made.segments[0].contents;
    EXPECT_EQ(std::memcmp(loaded.image.At(0), text.data(), text.size()), 0);
    EXPECT_EQ(loaded.NumberAt(dataAddress), std::uint64_t{counterAtStart});
    const MadeBytes zeros(2 * pageSize - made.segments[1].contents.size());
    EXPECT_EQ(std::memcmp(loaded.image.At(3 * pageSize - zeros.size()), zeros.data(), zeros.size()),
              0);
}

TEST(MachOImage, PointsToItselfAndToItsImports) {
    const Loaded loaded(PlainFile());
    EXPECT_EQ(loaded.NumberAt(ownPointer),
              reinterpret_cast<std::uintptr_t>(loaded.image.At(dataAddress)));
    EXPECT_EQ(loaded.NumberAt(lengthSlot), Loaded::Offered(0));
    EXPECT_EQ(loaded.NumberAt(lazySlot), Loaded::Offered(16));
    ASSERT_EQ(loaded.image.importSlots().size(), 2U);
    const ImportSlot& slot = loaded.image.importSlots()[0];
    EXPECT_EQ(slot.symbol, "_strlen");
    EXPECT_EQ(static_cast<void*>(slot.place), loaded.image.At(lengthSlot));
    EXPECT_EQ(loaded.image.importSlots()[1].symbol, "_memcpy");
    EXPECT_EQ(static_cast<void*>(loaded.image.importSlots()[1].place), loaded.image.At(lazySlot));
}

TEST(MachOImage, AddsToImports) {
    MadeFile made = PlainFile();
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    made.bind = Joined({Op(BindOpcode::SetAddend), Signed(5),
                        BindOf("_strlen", 1, dataSegment, spareAddress - dataAddress),
                        Op(BindOpcode::SetAddend), Signed(-5), Op(BindOpcode::Bind),
                        Op(BindOpcode::SetAddend), Signed(most), Op(BindOpcode::Bind)});
    const Loaded loaded(made);
    EXPECT_EQ(loaded.NumberAt(spareAddress), Loaded::Offered(5));
    EXPECT_EQ(loaded.NumberAt(spareAddress + 8), Loaded::Offered(0) - 5);
    EXPECT_EQ(loaded.NumberAt(spareAddress + 16), Loaded::Offered(0) + std::uint64_t{most});
}

TEST(MachOImage, FindsSymbolsOfAnyLibraryIfNoneIsNamed) {
    MadeFile made = PlainFile();
    made.bind = Joined({Op(BindOpcode::SetLibrarySpecial, 0xE), Op(BindOpcode::SetSymbol),
                        Text("_memcpy"), Op(BindOpcode::SetSegmentAndOffset, dataSegment),
                        Unsigned(8), Op(BindOpcode::Bind)});
    EXPECT_EQ(Loaded(made).NumberAt(lengthSlot), Loaded::Offered(16));
}

TEST(MachOImage, NamesTheImportThatNobodyOffers) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.bind = BindOf("_none", 1, dataSegment, 8); }),
              "it imports _none from /usr/lib/libSystem.B.dylib, which is not offered here");
    EXPECT_EQ(
        ErrorAfter([](MadeFile& made) { made.lazyBind = BindOf("_none", 1, dataSegment, 8); }),
        "it imports _none from /usr/lib/libSystem.B.dylib, which is not offered here");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) { made.libraries = {"other"}; }),
              "it imports _strlen from other, which is not offered here");
    EXPECT_EQ(ErrorAfter([](MadeFile& made) {
                  made.bind = Joined({Op(BindOpcode::SetLibrarySpecial, 0), BindOf("_x", 1, 1, 8)});
                  made.bind.erase(made.bind.begin() + 1);  // without naming a library again
              }),
              "it imports _x, which is not offered here");
}

TEST(MachOImage, WeakImportsMayBeMissing) {
    MadeFile made = PlainFile();
    made.bind =
        Joined({Op(BindOpcode::SetAddend), Signed(4),
                BindOf("_none", 1, dataSegment, ownPointer - dataAddress, symbolIsWeakImport),
                BindOf("_strlen", 1, dataSegment, lengthSlot - dataAddress, symbolIsWeakImport)});
    made.rebase.clear();
    const Loaded loaded(made);
    EXPECT_EQ(loaded.NumberAt(ownPointer), 0U);
    EXPECT_EQ(loaded.NumberAt(lengthSlot), Loaded::Offered(4));
    // What is missing has no slot.
    EXPECT_EQ(loaded.image.importSlots().size(), 2U);
    EXPECT_EQ(loaded.image.importSlots()[0].symbol, "_strlen");
}

TEST(MachOImage, OthersGoBeforeItsOwnWeakDefinitions) {
    MadeFile made = PlainFile();
    made.weakBind = Joined(
        {Op(BindOpcode::SetSymbol), Text("_any"), Op(BindOpcode::SetSegmentAndOffset, dataSegment),
         Unsigned(8), Op(BindOpcode::Bind), Op(BindOpcode::SetSymbol), Text("_own"),
         Op(BindOpcode::SetSegmentAndOffset, dataSegment), Unsigned(ownPointer - dataAddress),
         Op(BindOpcode::Bind), Op(BindOpcode::Done)});
    const Loaded loaded(made);
    EXPECT_EQ(loaded.NumberAt(lengthSlot), Loaded::Offered(32));
    EXPECT_EQ(loaded.NumberAt(ownPointer),
              reinterpret_cast<std::uintptr_t>(loaded.image.At(dataAddress)));
    ASSERT_EQ(loaded.image.importSlots().size(), 3U);
    EXPECT_EQ(loaded.image.importSlots()[2].symbol, "_any");
}

TEST(MachOImage, PointersIntoItselfStayWithin) {
    const auto errorWith = [](std::uint64_t target) {
        return ErrorAfter([target](MadeFile& made) {
            Place(made.segments[1].contents, ownPointer - dataAddress, Pointer(target));
        });
    };
    EXPECT_EQ(errorWith(3 * pageSize), "no error");
    EXPECT_EQ(errorWith(3 * pageSize + 1), "it points out of itself");
    EXPECT_EQ(errorWith(~std::uint64_t{0}), "it points out of itself");
}

TEST(MachOImage, FromEmptySegmentsIsRefused) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) {
                  made.segments = {{.name = "__TEXT",
                                    .address = 0,
                                    .size = 0,
                                    .protection = protectionRead,
                                    .contents = {},
                                    .sections = {}}};
              }),
              "its segments are empty");
}

TEST(MachOImage, IsProtectedAsTheFileSays) {
    MadeFile made = PlainFile();
    made.segments.push_back({.name = "__LINKEDIT",
                             .address = 5 * pageSize,
                             .size = 100,
                             .protection = protectionRead,
                             .contents = {1, 2, 3},
                             .sections = {}});
    made.segments.push_back({.name = "__NOTHING",
                             .address = 6 * pageSize,
                             .size = pageSize,
                             .protection = 0,
                             .contents = {},
                             .sections = {}});
    const Loaded loaded(made);
    EXPECT_EQ(ProtectionAt(loaded.image.At(0)), "r-xp");
    EXPECT_EQ(ProtectionAt(loaded.image.At(pageSize - 1)), "r-xp");
    EXPECT_EQ(ProtectionAt(loaded.image.At(dataAddress)), "rw-p");
    EXPECT_EQ(ProtectionAt(loaded.image.At(3 * pageSize - 1)), "rw-p");
    EXPECT_EQ(ProtectionAt(loaded.image.At(3 * pageSize)), "---p");
    EXPECT_EQ(ProtectionAt(loaded.image.At(5 * pageSize - 1)), "---p");
    EXPECT_EQ(ProtectionAt(loaded.image.At(5 * pageSize)), "r--p");
    EXPECT_EQ(ProtectionAt(loaded.image.At(6 * pageSize)), "---p");
}

TEST(MachOImage, IsUnmappedWithItsOwner) {
    const std::uint8_t* place = nullptr;
    {
        const Loaded loaded(PlainFile());
        place = loaded.image.At(0);
        ASSERT_NE(ProtectionAt(place), "");
    }
    EXPECT_EQ(ProtectionAt(place), "");
}

// What a small file claims costs nothing until it is used.
TEST(MachOImage, TakesLargeEmptySegmentsLightly) {
    MadeFile made = PlainFile();
    made.segments[1].size = largestImage - pageSize;
    const std::uint64_t before = ResidentBytes();
    const Loaded loaded(made);
    EXPECT_LT(ResidentBytes(), before + largestImage / 4);
    EXPECT_EQ(ProtectionAt(loaded.image.At(largestImage - 1)), "rw-p");
}

}  // namespace
}  // namespace workbench::macho
