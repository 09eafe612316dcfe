// Plugins in the format of macOS as the workbench loads, runs and refuses them.
#include "workbench/macho/macho_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/workbench/macho_maker.h"
#include "tests/workbench/memory_map.h"
#include "tests/workbench/temporary_folder.h"
#include "workbench/plugins/open_plugin.h"

namespace workbench {
namespace {

using macho::MadeBytes;
using macho::MadeFile;
using macho::PlainFile;
using testing::StartsWith;

class MachOLibraries : public testing::Test {
  protected:
    std::filesystem::path Write(const MadeBytes& bytes,
                                const std::string& name = "plugin.dylib") const {
        std::filesystem::path file = folder_ / name;
        std::ofstream stream(file, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.data()),
                     static_cast<std::streamsize>(bytes.size()));
        if (!stream.flush()) throw std::runtime_error("cannot write " + file.string());
        return file;
    }

    std::filesystem::path Write(const MadeFile& made,
                                const std::string& name = "plugin.dylib") const {
        return Write(made.Bytes(), name);
    }

    static std::string ErrorOf(const std::filesystem::path& file) {
        try {
            OpenPlugin(file);
        } catch (const PluginError& error) {
            return error.what();
        }
        return "no error";
    }

    // The reason that is given for a file that cannot be loaded.
    std::string ReasonFor(const MadeBytes& bytes) const {
        const std::filesystem::path file = Write(bytes);
        const std::string start = "cannot load the plugin " + file.string() + ": ";
        const std::string error = ErrorOf(file);
        return error.starts_with(start) ? error.substr(start.size()) : error;
    }
    std::string ReasonFor(const MadeFile& made) const { return ReasonFor(made.Bytes()); }

    TemporaryFolder folder_;
};

// The entry points of the made libraries count their calls.
std::int64_t CallEntry(const PluginLibrary& library) {
    std::int64_t (*entry)() = nullptr;
    const PluginLibrary::Entry own = library.EntryPoint();
    std::memcpy(&entry, &own, sizeof entry);
    return entry();
}

// The memory at an address of the library's image.
std::uint8_t* At(const PluginLibrary& library, std::uint64_t address) {
    return reinterpret_cast<std::uint8_t*>(library.EntryPoint()) - macho::entryAddress + address;
}

std::int64_t CounterOf(const PluginLibrary& library) {
    std::int64_t counter = 0;
    std::memcpy(&counter, At(library, macho::dataAddress), sizeof counter);
    return counter;
}

TEST_F(MachOLibraries, AreCalledAtTheirEntryPoint) {
    const auto library = OpenPlugin(Write(PlainFile()));
    EXPECT_EQ(CallEntry(*library), macho::counterAtStart + 1);
    EXPECT_EQ(CallEntry(*library), macho::counterAtStart + 2);
}

TEST_F(MachOLibraries, CallTheirImports) {
    const MachOLibrary library(Write(PlainFile()));
    using Length = std::size_t (*)(const char* text);
    const auto length = reinterpret_cast<Length>(At(library, macho::lengthAddress));
    EXPECT_EQ(length("four"), 4U);
}

std::size_t AlwaysSeven(const char* /*text*/) {
    return 7;
}

TEST_F(MachOLibraries, HaveSlotsForTheirImports) {
    const MachOLibrary library(Write(PlainFile()));
    const std::vector<void**> slots = library.ImportSlots("strlen");
    ASSERT_EQ(slots.size(), 1U);
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(slots[0]), At(library, macho::lengthSlot));
    EXPECT_EQ(library.ImportSlots("memcpy").size(), 1U);
    EXPECT_TRUE(library.ImportSlots("strle").empty());
    EXPECT_TRUE(library.ImportSlots("_strlen").empty());
    EXPECT_TRUE(library.ImportSlots("").empty());

    *slots[0] = reinterpret_cast<void*>(AlwaysSeven);
    using Length = std::size_t (*)(const char* text);
    EXPECT_EQ(reinterpret_cast<Length>(At(library, macho::lengthAddress))("four"), 7U);
}

TEST_F(MachOLibraries, StartAfreshWhenLoadedAgain) {
    const std::filesystem::path file = Write(PlainFile());
    for (int i = 0; i < 3; ++i) {
        const auto library = OpenPlugin(file);
        EXPECT_EQ(CallEntry(*library), macho::counterAtStart + 1);
    }
}

TEST_F(MachOLibraries, AreGoneWhenUnloaded) {
    auto library = OpenPlugin(Write(PlainFile()));
    const void* const place = At(*library, 0);
    EXPECT_EQ(ProtectionAt(place), "r-xp");
    library.reset();
    EXPECT_EQ(ProtectionAt(place), "");
}

TEST_F(MachOLibraries, AreIndependentOfEachOther) {
    const std::filesystem::path file = Write(PlainFile());
    auto one = OpenPlugin(file);
    const auto other = OpenPlugin(file);
    CallEntry(*one);
    CallEntry(*one);
    EXPECT_EQ(CounterOf(*one), macho::counterAtStart + 2);
    EXPECT_EQ(CounterOf(*other), macho::counterAtStart);
    // Exceptions still find their way through the other when one is gone.
    one.reset();
    EXPECT_EQ(CallEntry(*other), macho::counterAtStart + 1);
    using Caller = void (*)(void (*function)());
    EXPECT_THROW(reinterpret_cast<Caller>(At(*other, macho::callingAddress))([] { throw 1; }), int);
}

TEST_F(MachOLibraries, DoNotNeedTheirFileOnceLoaded) {
    const std::filesystem::path file = Write(PlainFile());
    const auto library = OpenPlugin(file);
    Write(MadeBytes(10000, 0xCC));
    EXPECT_EQ(CallEntry(*library), macho::counterAtStart + 1);
}

TEST_F(MachOLibraries, CannotWriteTheirCode) {
    const auto library = OpenPlugin(Write(PlainFile()));
    EXPECT_DEATH(*At(*library, macho::entryAddress) = 0xC3, "");
}

// A library with initialisers at the addresses that are given. Two of them may lie at 0x200 and
// 0x300; they append a 1 and a 2 to the counter.
MadeFile WithInitialisers(const std::vector<std::uint64_t>& addresses) {
    constexpr std::uint32_t kindOfInitialisers = 0x9;
    MadeFile made = PlainFile();
    MadeBytes& text = made.segments[macho::textSegment].contents;
    macho::Place(text, 0x200, macho::DigitCode(0x200, macho::dataAddress, 1));
    macho::Place(text, 0x300, macho::DigitCode(0x300, macho::dataAddress, 2));
    macho::MadeSegment& data = made.segments[macho::dataSegment];
    MadeBytes pointers;
    for (const std::uint64_t address : addresses)
        pointers = macho::Joined({pointers, macho::Pointer(address)});
    macho::Place(data.contents, macho::spareAddress - macho::dataAddress, pointers);
    data.sections.push_back({.name = "__mod_init_func",
                             .address = macho::spareAddress,
                             .size = pointers.size(),
                             .flags = kindOfInitialisers});
    made.rebase = macho::Joined({Op(macho::RebaseOpcode::SetSegmentAndOffset, macho::dataSegment),
                                 macho::Unsigned(macho::spareAddress - macho::dataAddress),
                                 Op(macho::RebaseOpcode::RebaseManyTimes),
                                 macho::Unsigned(addresses.size())});
    return made;
}

TEST_F(MachOLibraries, RunTheirInitialisersInOrder) {
    EXPECT_EQ(CounterOf(*OpenPlugin(Write(WithInitialisers({})))), 40);
    EXPECT_EQ(CounterOf(*OpenPlugin(Write(WithInitialisers({0x200, 0x300})))), 4012);
    EXPECT_EQ(CounterOf(*OpenPlugin(Write(WithInitialisers({0x300, 0x200, 0x300})))), 40212);
}

// An initialiser whose return would be a fault: where it is refused, nothing before it may have
// run.
TEST_F(MachOLibraries, RunNoInitialisersUnlessAllAreCode) {
    const std::string noCode = "an initialiser of it is no code";
    MadeFile made = WithInitialisers({0x400, macho::dataAddress});
    macho::Place(made.segments[macho::textSegment].contents, 0x400,
                 {0x0F, 0x0B});  // an invalid opcode
    EXPECT_EQ(ReasonFor(made), noCode);
    EXPECT_EQ(ReasonFor(WithInitialisers({3 * macho::pageSize})), noCode);
    made = WithInitialisers({0x200});
    made.rebase.clear();
    EXPECT_EQ(ReasonFor(made), noCode);
    macho::Place(made.segments[macho::dataSegment].contents,
                 macho::spareAddress - macho::dataAddress, macho::Pointer(~std::uint64_t{0}));
    EXPECT_EQ(ReasonFor(made), noCode);
    made = WithInitialisers({0x200});
    made.segments[macho::dataSegment].protection = macho::protectionWrite;
    EXPECT_EQ(ReasonFor(made), "its initialisers cannot be read");
}

TEST_F(MachOLibraries, RunNothingWithoutAnEntryPoint) {
    MadeFile made = WithInitialisers({0x400});
    macho::Place(made.segments[macho::textSegment].contents, 0x400,
                 {0x0F, 0x0B});  // an invalid opcode
    made.exports = macho::TrieOf({{"_other", macho::entryAddress}});
    const std::filesystem::path file = Write(made);
    EXPECT_EQ(ErrorOf(file),
              "the library " + file.string() + " is no plugin: it has no REALPluginMain");
    made.exports.clear();
    EXPECT_EQ(ErrorOf(Write(made)),
              "the library " + file.string() + " is no plugin: it has no REALPluginMain");
}

TEST_F(MachOLibraries, HaveCodeAtTheirEntryPoint) {
    const std::string noCode = "its entry point is no code";
    MadeFile made = PlainFile();
    for (const std::uint64_t address :
         {macho::dataAddress, 3 * macho::pageSize, ~std::uint64_t{0}}) {
        made.exports = macho::TrieOf({{std::string(macho::entrySymbol), address}});
        EXPECT_EQ(ReasonFor(made), noCode) << address;
    }
}

TEST_F(MachOLibraries, AreRefusedWithTheirNameAndAReason) {
    EXPECT_EQ(ReasonFor(MadeBytes{0xCF, 0xFA, 0xED, 0xFE}), "it ends within its header");
    MadeFile made = PlainFile();
    made.header.magic = macho::magicOfUniversal;
    EXPECT_EQ(ReasonFor(made), "it holds several architectures; take out the one for x86-64");
    made = PlainFile();
    made.bind = macho::BindOf("_none", 1, macho::dataSegment, 8);
    EXPECT_EQ(ReasonFor(made),
              "it imports _none from /usr/lib/libSystem.B.dylib, which is not offered here");
    made = PlainFile();
    made.segments[macho::textSegment].contents.at(macho::framesAddress + 8) = 9;
    EXPECT_EQ(ReasonFor(made), "its frame records are of a kind that is not supported, or damaged");
}

TEST_F(MachOLibraries, AreRefusedInOneLineWhateverTheirNamesHold) {
    MadeFile made = PlainFile();
    made.bind = macho::BindOf("_a\nb\x1b[31m", 1, macho::dataSegment, 8);
    EXPECT_EQ(ReasonFor(made),
              "it imports _a\\nb\\x1b[31m from /usr/lib/libSystem.B.dylib, which is not offered "
              "here");
    made.bind = macho::BindOf(std::string(100000, 'a'), 1, macho::dataSegment, 8);
    EXPECT_LT(ReasonFor(made).size(), 3000U);
}

TEST_F(MachOLibraries, MustBeFilesOfABearableSize) {
    const auto reasonFor = [](const std::filesystem::path& file) -> std::string {
        try {
            const MachOLibrary library(file);
        } catch (const PluginError& error) {
            return error.what();
        }
        return "no error";
    };
    const std::string start = "cannot load the plugin ";
    EXPECT_EQ(reasonFor(folder_ / "none"),
              start + (folder_ / "none").string() + ": it cannot be read");
    EXPECT_EQ(reasonFor(folder_.Path()), start + folder_.Path().string() + ": it cannot be read");
    const std::filesystem::path file = Write(PlainFile());
    std::filesystem::resize_file(file, macho::largestImage + 1);
    EXPECT_EQ(reasonFor(file), start + file.string() + ": it is too large");
}

TEST_F(MachOLibraries, AreKnownByTheirFirstBytes) {
    EXPECT_TRUE(IsMachOFile(Write(MadeBytes{0xCF, 0xFA, 0xED, 0xFE})));
    EXPECT_TRUE(IsMachOFile(Write(MadeBytes{0xCA, 0xFE, 0xBA, 0xBE, 1})));
    EXPECT_FALSE(IsMachOFile(Write(MadeBytes{0xCF, 0xFA, 0xED})));
    EXPECT_FALSE(IsMachOFile(Write(MadeBytes{0x7F, 'E', 'L', 'F'})));
    EXPECT_FALSE(IsMachOFile(Write(MadeBytes{})));
    EXPECT_FALSE(IsMachOFile(folder_ / "none"));
    EXPECT_FALSE(IsMachOFile(folder_.Path()));
    EXPECT_FALSE(IsMachOFile(ZVK_PLUGIN));
}

TEST_F(MachOLibraries, CutOffAnywhereAreRefused) {
    const MadeBytes whole = PlainFile().Bytes();
    constexpr std::size_t magicSize = 4;
    for (std::size_t size = magicSize; size < whole.size(); ++size) {
        const MadeBytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THAT(ReasonFor(bytes), StartsWith("it ends within its ")) << size;
    }
}

// Whether it is loaded or refused, the process goes on, and so do its exceptions.
TEST_F(MachOLibraries, DamagedAnywhereAreLoadedOrRefused) {
    const MadeBytes whole = PlainFile().Bytes();
    int loaded = 0;
    int refused = 0;
    for (std::size_t place = 4; place < whole.size(); ++place) {
        std::vector<std::uint8_t> values{0x00, 0x7F, 0x80, 0xFF};
        for (unsigned bit = 0; bit < 8; ++bit)
            values.push_back(static_cast<std::uint8_t>(whole[place] ^ (1U << bit)));
        for (const std::uint8_t value : values) {
            MadeBytes bytes = whole;
            bytes[place] = value;
            const std::filesystem::path file = Write(bytes);
            try {
                const MachOLibrary library(file);
                EXPECT_THROW(throw 1, int);
                ++loaded;
            } catch (const PluginError& error) {
                EXPECT_THAT(error.what(),
                            testing::AnyOf(StartsWith("cannot load the plugin " + file.string()),
                                           StartsWith("the library " + file.string())));
                ++refused;
            }
        }
    }
    EXPECT_GT(loaded, 100);
    EXPECT_GT(refused, 1000);
}

}  // namespace
}  // namespace workbench
