// The list of cases: complete, and right by the slow statement of the arithmetic.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <variant>

#include "tests/golden/case_list.h"
#include "tests/golden/expectation.h"
#include "tests/golden/list_file.h"
#include "tests/golden/run.h"

namespace golden {
namespace {

TEST(Cases, AreNumberedFromOne) {
    int number = 0;
    for (const Case& item : AllCases())
        EXPECT_EQ(item.number, ++number);
    EXPECT_GE(number, 300);
}

TEST(Cases, AreAllDifferent) {
    std::map<std::string, int> numbers;
    for (const Case& item : AllCases()) {
        const auto [entry, isNew] = numbers.emplace(Describe(item), item.number);
        EXPECT_TRUE(isNew) << item.number << " is " << entry->second << ": " << entry->first;
    }
}

TEST(Cases, HaveEveryLayoutContentAndMode) {
    std::set<int> sources;
    std::set<int> made;
    std::set<Content> contents;
    std::set<int> modes;
    std::set<std::size_t> calls;
    for (const Case& item : AllCases()) {
        sources.insert(item.layouts.source);
        made.insert(item.layouts.made);
        contents.insert(item.content);
        calls.insert(item.call.index());
        if (const auto* const call = std::get_if<Resampling>(&item.call)) modes.insert(call->mode);
    }
    EXPECT_EQ(sources, (std::set{1, 2, 3, 4, 5, 6, 8}));
    EXPECT_EQ(made, (std::set{1, 2, 3, 4, 5, 6, 8}));
    EXPECT_EQ(contents.size(), 4U);
    EXPECT_EQ(calls.size(), std::variant_size_v<Call>);
    EXPECT_EQ(modes, (std::set{1, 2, 3, 4, 5, 6, 7}));
}

TEST(Cases, SaySinWhereTheWeightsComeFromIt) {
    for (const Case& item : AllCases()) {
        const std::string text = Describe(item);
        const bool lanczos = text.starts_with("ScalingZVK(3,") || text.starts_with("ScalingZVK(4,");
        EXPECT_EQ(text.ends_with(", sin"), lanczos) << text;
    }
}

// One pass over all cases: a process for each would take longer than the cases do.
TEST(Cases, GiveWhatTheReferenceExpectsAndWhatTheListSays) {
    const std::map<int, ListEntry> list = ReadList(ZVK_GOLDEN_LIST);
    EXPECT_EQ(list.size(), AllCases().size());
    for (const Case& item : AllCases()) {
        const Outcome outcome = RunCase(item, ZVK_PLUGIN);
        const Results expected = Expected(item, outcome.inputs);
        EXPECT_EQ(outcome.failure, "") << item.number << ": " << Describe(item) << outcome.report;
        EXPECT_EQ(outcome.yields != 0, item.yield != 0) << item.number << ": " << Describe(item);
        EXPECT_TRUE(outcome.results == expected)
            << item.number << ": " << Describe(item) << "\nexpected " << Checksum(expected)
            << ", found " << Checksum(outcome);
        EXPECT_EQ(list.at(item.number).checksum, Checksum(expected)) << item.number;
    }
}

}  // namespace
}  // namespace golden
