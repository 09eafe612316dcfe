// The walk through the trie of exports.
#include "workbench/macho/exports.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tests/workbench/macho_maker.h"

namespace workbench::macho {
namespace {

std::optional<std::uint64_t> Find(const MadeBytes& trie, std::string_view symbol) {
    File file{};
    file.exports = trie;
    return ExportedAddress(file, symbol);
}

std::string ErrorOf(const MadeBytes& trie, std::string_view symbol) {
    try {
        Find(trie, symbol);
    } catch (const MachOError& error) {
        return error.what();
    }
    return "no error";
}

// A trie whose only symbol, _a, is exported so.
MadeBytes TrieWith(const MadeBytes& exported) {
    return Joined(
        {{0, 1}, Text("_a"), Unsigned(6), Joined({Unsigned(exported.size()), exported, {0}})});
}

TEST(MachOExports, AreFoundByTheirWholeNames) {
    const MadeBytes trie = TrieOf({{"_one", 0x10}, {"_two", 0x123456}, {"other", 3}});
    EXPECT_EQ(Find(trie, "_one"), 0x10U);
    EXPECT_EQ(Find(trie, "_two"), 0x123456U);
    EXPECT_EQ(Find(trie, "other"), 3U);
    for (const char* symbol : {"", "_", "_on", "_one1", "one", "_three"})
        EXPECT_EQ(Find(trie, symbol), std::nullopt) << symbol;
    EXPECT_EQ(Find({}, "_one"), std::nullopt);
}

TEST(MachOExports, MayShareTheBeginningsOfTheirNames) {
    const MadeBytes trie = Joined({{0, 1},
                                   Text("_a"),
                                   {6},  // at 0
                                   {2, 0, 0x21, 2},
                                   Text("b"),
                                   {16},
                                   Text("c"),
                                   {20},               // at 6
                                   {2, 0, 0x22, 0},    // at 16
                                   {2, 0, 0x23, 0}});  // at 20
    EXPECT_EQ(Find(trie, "_a"), 0x21U);
    EXPECT_EQ(Find(trie, "_ab"), 0x22U);
    EXPECT_EQ(Find(trie, "_ac"), 0x23U);
    EXPECT_EQ(Find(trie, "_ad"), std::nullopt);
    EXPECT_EQ(Find(trie, "_abc"), std::nullopt);
}

TEST(MachOExports, ThatAreNoAddressesAreNotFound) {
    EXPECT_EQ(Find(TrieWith({0x00, 0x21}), "_a"), 0x21U);
    EXPECT_EQ(Find(TrieWith({0x04, 0x21}), "_a"), 0x21U);               // a weak definition
    EXPECT_EQ(Find(TrieWith({0x01, 0x21}), "_a"), std::nullopt);        // thread-local
    EXPECT_EQ(Find(TrieWith({0x02, 0x21}), "_a"), std::nullopt);        // a number
    EXPECT_EQ(Find(TrieWith({0x08, 0x01, 0x00}), "_a"), std::nullopt);  // another library's
    EXPECT_EQ(Find(TrieWith({0x10, 0x21, 0x22}), "_a"), std::nullopt);  // chosen at run time
}

TEST(MachOExports, OfDamagedTriesAreErrors) {
    const std::string end = "it ends within its exports";
    // A child behind the end, and far behind it.
    EXPECT_EQ(ErrorOf(Joined({{0, 1}, Text("_a"), Unsigned(6)}), "_a"), end);
    EXPECT_EQ(ErrorOf(Joined({{0, 1}, Text("_a"), Unsigned(7)}), "_a"), end);
    EXPECT_EQ(ErrorOf(Joined({{0, 1}, Text("_a"), Unsigned(~std::uint64_t{0})}), "_a"), end);
    // What is exported is larger than the trie, or so large that adding to it comes round.
    EXPECT_EQ(ErrorOf({9, 1, 'a', 0, 0}, "_a"), end);
    EXPECT_EQ(ErrorOf(Joined({Unsigned(~std::uint64_t{0} - 8), {1, 'a', 0, 0}}), "_a"), end);
    EXPECT_EQ(ErrorOf({0}, "_a"), end);
    EXPECT_EQ(ErrorOf({0, 1}, "_a"), "it ends within a name");
    EXPECT_EQ(ErrorOf({0, 1, '_'}, "_a"), "it ends within a name");
    EXPECT_EQ(ErrorOf({0, 1, '_', 0}, "_a"), end);
    EXPECT_EQ(ErrorOf(Joined({{0, 1}, Text("_a"), MadeBytes(10, 0x80), {0}}), "_a"),
              "a number in its exports has more than 64 bits");
}

TEST(MachOExports, CutOffAnywhereAreAnErrorOrNotThere) {
    const MadeBytes whole = TrieOf({{"_one", 0x10}, {"_two", 0x123456}});
    for (std::size_t size = 1; size + 1 < whole.size(); ++size) {
        const MadeBytes trie(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_NE(ErrorOf(trie, "_two"), "no error") << size;
    }
}

TEST(MachOExports, InCirclesComeToAnEnd) {
    // Every edge leads back to the root.
    const MadeBytes circle = Joined({{0, 1}, Text("a"), {0}});
    EXPECT_EQ(Find(circle, std::string(100000, 'a')), std::nullopt);
    EXPECT_EQ(Find(circle, "aab"), std::nullopt);
    // An edge without a letter would never.
    EXPECT_EQ(Find(Joined({{0, 1}, Text(""), {0}}), "a"), std::nullopt);
}

}  // namespace
}  // namespace workbench::macho
