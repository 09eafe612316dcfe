// What plugins are offered is what the linker of plugins is told of.
#include "workbench/macho/imports.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <utility>

namespace workbench::macho {
namespace {

namespace fs = std::filesystem;

// Libraries by their install names, and their symbols.
using Names = std::set<std::pair<std::string, std::string>>;

void AddStub(const fs::path& stub, Names& names) {
    const std::string libraryStart = "install-name:";
    const std::string symbolStart = "      - ";
    std::string library;
    std::ifstream file(stub);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(libraryStart)) {
            const std::size_t begin = line.find('\'') + 1;
            library = line.substr(begin, line.find('\'', begin) - begin);
        } else if (line.starts_with(symbolStart)) {
            EXPECT_TRUE(names.emplace(library, line.substr(symbolStart.size())).second)
                << stub << " names twice " << line;
        }
    }
}

TEST(MachOImports, AreThoseThatPluginsAreLinkedAgainst) {
    Names linked;
    for (const auto& entry : fs::directory_iterator(fs::path(ZVK_SOURCE_DIR) / "cmake/macos")) {
        if (entry.path().extension() == ".tbd") AddStub(entry.path(), linked);
    }
    EXPECT_GT(linked.size(), 30U);
    Names offered;
    for (const Import& import : Imports()) {
        EXPECT_TRUE(offered.emplace(import.library, import.symbol).second)
            << import.symbol << " is offered twice";
    }
    EXPECT_EQ(linked, offered);
}

TEST(MachOImports, AreAllHere) {
    for (const Import& import : Imports()) {
        void* const address = ResolveImport(import.symbol, import.library);
        EXPECT_NE(address, nullptr) << import.symbol;
        EXPECT_EQ(ResolveImport(import.symbol, {}), address) << import.symbol;
    }
}

TEST(MachOImports, AreFoundInTheirLibraryOnly) {
    EXPECT_EQ(ResolveImport("_memcpy", "/usr/lib/libc++.1.dylib"), nullptr);
    EXPECT_EQ(ResolveImport("_memcpy", "/usr/lib/libSystem"), nullptr);
    EXPECT_EQ(ResolveImport("_system", "/usr/lib/libSystem.B.dylib"), nullptr);
    EXPECT_EQ(ResolveImport("_system", {}), nullptr);
    EXPECT_EQ(ResolveImport("memcpy", {}), nullptr);
    EXPECT_EQ(ResolveImport("", {}), nullptr);
}

TEST(MachOImports, MayBeStandIns) {
    using Zero = void (*)(void* memory, std::size_t size);
    const auto zero = reinterpret_cast<Zero>(ResolveImport("___bzero", {}));
    ASSERT_NE(zero, nullptr);
    std::string text = "abcd";
    zero(text.data() + 1, 2);
    EXPECT_EQ(text, std::string("a\0\0d", 4));

    using Now = std::int64_t (*)();
    const auto now =
        reinterpret_cast<Now>(ResolveImport("__ZNSt3__16chrono12steady_clock3nowEv", {}));
    ASSERT_NE(now, nullptr);
    const std::int64_t before = now();
    EXPECT_GE(now(), before);
    EXPECT_GT(before, 0);
}

}  // namespace
}  // namespace workbench::macho
