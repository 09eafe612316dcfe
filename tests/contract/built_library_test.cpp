// The built plugin file itself: what it exports, what it needs to be loaded, and how it imports
// the platform's functions. Read from the file's own tables.
#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace contract {
namespace {

using ::testing::ElementsAre;
using ::testing::IsSubsetOf;

#ifdef __SANITIZE_ADDRESS__
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

struct Symbol {
    std::string name;
    unsigned char binding;
    bool isDefined;
};

class ElfFile {
  public:
    explicit ElfFile(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
        header_ = At<Elf64_Ehdr>(0);
        if (std::memcmp(header_.e_ident, ELFMAG, SELFMAG) != 0 ||
            header_.e_ident[EI_CLASS] != ELFCLASS64) {
            throw std::runtime_error("not a 64-bit ELF file: " + path);
        }
    }

    // Symbols that the dynamic linker sees.
    std::vector<Symbol> DynamicSymbols() const {
        const Elf64_Shdr section = SectionOfType(SHT_DYNSYM);
        const Elf64_Shdr names = Section(section.sh_link);
        std::vector<Symbol> symbols;
        for (std::size_t at = sizeof(Elf64_Sym); at < section.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = At<Elf64_Sym>(section.sh_offset + at);
            symbols.push_back({TextAt(names.sh_offset + symbol.st_name),
                               static_cast<unsigned char>(ELF64_ST_BIND(symbol.st_info)),
                               symbol.st_shndx != SHN_UNDEF});
        }
        return symbols;
    }

    std::vector<std::string> NeededLibraries() const {
        const Elf64_Shdr section = SectionOfType(SHT_DYNAMIC);
        const Elf64_Shdr names = Section(section.sh_link);
        std::vector<std::string> libraries;
        for (std::size_t at = 0; at < section.sh_size; at += sizeof(Elf64_Dyn)) {
            const auto entry = At<Elf64_Dyn>(section.sh_offset + at);
            if (entry.d_tag == DT_NEEDED) {
                libraries.push_back(TextAt(names.sh_offset + entry.d_un.d_val));
            }
        }
        return libraries;
    }

  private:
    template <typename T>
    T At(std::size_t offset) const {
        T value;
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof value) {
            throw std::runtime_error("the file ends within a table");
        }
        std::memcpy(&value, bytes_.data() + offset, sizeof value);
        return value;
    }

    std::string TextAt(std::size_t offset) const {
        const std::size_t end = bytes_.find('\0', offset);
        return bytes_.substr(offset, end - offset);
    }

    Elf64_Shdr Section(std::size_t index) const {
        return At<Elf64_Shdr>(header_.e_shoff + index * header_.e_shentsize);
    }

    Elf64_Shdr SectionOfType(Elf64_Word type) const {
        for (std::size_t index = 0; index < header_.e_shnum; ++index) {
            const Elf64_Shdr section = Section(index);
            if (section.sh_type == type) return section;
        }
        throw std::runtime_error("the file has no such section");
    }

    std::string bytes_;
    Elf64_Ehdr header_{};
};

TEST(BuiltLibrary, ExportsItsEntryPointAlone) {
    std::vector<std::string> exported;
    for (const Symbol& symbol : ElfFile(ZVK_PLUGIN).DynamicSymbols()) {
        if (symbol.isDefined) exported.push_back(symbol.name);
    }
    EXPECT_THAT(exported, ElementsAre("REALPluginMain"));
}

TEST(BuiltLibrary, NeedsTheRuntimesOfCAndCPlusPlusAlone) {
    if (isSanitized) GTEST_SKIP() << "a sanitized library needs the sanitizers' runtimes too";
    const std::set<std::string> runtimes = {"libc.so.6", "libm.so.6", "libgcc_s.so.1",
                                            "libstdc++.so.6", "ld-linux-x86-64.so.2"};
    EXPECT_THAT(ElfFile(ZVK_PLUGIN).NeededLibraries(), IsSubsetOf(runtimes));
}

TEST(BuiltLibrary, ImportsThePlatformsFunctionsWeakly) {
    const std::set<std::string> platformFunctions = {"CGBitmapContextGetData",
                                                     "CGBitmapContextGetWidth",
                                                     "CGBitmapContextGetHeight",
                                                     "CGBitmapContextGetBytesPerRow",
                                                     "CGBitmapContextGetBitsPerPixel",
                                                     "CGBitmapContextGetAlphaInfo",
                                                     "TickCount",
                                                     "AudioGetCurrentHostTime",
                                                     "AudioConvertHostTimeToNanos"};
    std::set<std::string> weakImports;
    for (const Symbol& symbol : ElfFile(ZVK_PLUGIN).DynamicSymbols()) {
        if (!symbol.isDefined && platformFunctions.contains(symbol.name)) {
            EXPECT_EQ(symbol.binding, STB_WEAK) << symbol.name;
            weakImports.insert(symbol.name);
        }
    }
    EXPECT_EQ(weakImports, platformFunctions);
}

}  // namespace
}  // namespace contract
