// Every request of the plugin for memory is refused in turn, by itself and with all that follow,
// during every method on every kind of picture: no crash, nothing lost, and a result that the
// method gives when memory is short.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iostream>
#include <vector>

#include "tests/faults/fault_calls.h"
#include "tests/support/pixels.h"

namespace contract {
namespace {

enum class Refusal { One, AllFromThere };

// How many columns and rows of `found` are black, if all else is as in `expected`; a great number
// if something else differs.
std::int64_t BlackLines(const reference::Image& expected, const reference::Image& found) {
    constexpr std::int64_t tooMany = 1'000'000;
    if (expected.width != found.width || expected.height != found.height) return tooMany;
    const std::uint32_t black = reference::EncodeOpaque({}, found.format);
    std::vector<bool> columnIsBlack(static_cast<std::size_t>(found.width), true);
    std::vector<bool> rowIsBlack(static_cast<std::size_t>(found.height), true);
    for (std::int64_t y = 0; y < found.height; ++y) {
        for (std::int64_t x = 0; x < found.width; ++x) {
            if (found.At(x, y) == black) continue;
            columnIsBlack[static_cast<std::size_t>(x)] = false;
            rowIsBlack[static_cast<std::size_t>(y)] = false;
        }
    }
    for (std::int64_t y = 0; y < found.height; ++y) {
        for (std::int64_t x = 0; x < found.width; ++x) {
            const bool isLost = columnIsBlack[static_cast<std::size_t>(x)] ||
                                rowIsBlack[static_cast<std::size_t>(y)];
            if (!isLost && found.At(x, y) != expected.At(x, y)) return tooMany;
        }
    }
    const std::int64_t columns = std::ranges::count(columnIsBlack, true);
    const std::int64_t rows = std::ranges::count(rowIsBlack, true);
    // Where all columns are black, so are all rows.
    if (columns == found.width) return std::min(columns, rows);
    return columns + rows;
}

// The outcomes of a case with all memory that is asked for, and of the fast method in its place
// where it is a smooth one.
struct Expected {
    Outcome full;
    Outcome fast;
};

Expected ExpectedOf(const FaultCase& faultCase) {
    FaultCase fast = faultCase;
    if (fast.call == MethodCall::Smooth) fast.call = MethodCall::Fast;
    if (fast.call == MethodCall::ImageAndMaskSmooth) fast.call = MethodCall::ImageAndMaskFast;
    return {WithoutFaults(faultCase), WithoutFaults(fast)};
}

// Whether the outcome is one that the method gives when `refused` requests were refused.
bool IsAllowed(const FaultCase& faultCase, const Expected& expected, const Outcome& found,
               std::uint64_t refused) {
    const auto& [full, fast] = expected;
    if (!found.sourceIsUnchanged) return false;
    if (!found.picture) return true;
    if (found.picture == full.picture && found.mask == full.mask) return true;
    switch (faultCase.call) {
        case MethodCall::ScalingReducing:
        case MethodCall::ScalingEnlarging:
        case MethodCall::ScalingWithYields:
        case MethodCall::ScalingToOnePixel:
        case MethodCall::ScalingToSameSize:
            return BlackLines(*full.picture, *found.picture) <= static_cast<std::int64_t>(refused);
        case MethodCall::Blur:
        case MethodCall::BlurWithYields:
            return IsBlank(*found.picture);
        case MethodCall::Smooth:
            return found.picture == fast.picture;
        case MethodCall::ImageAndMaskSmooth:
            // Both are scaled by one method; a mask that cannot be scaled is left out.
            return (found.picture == full.picture || found.picture == fast.picture) &&
                   (!found.mask || (found.picture == fast.picture && found.mask == fast.mask));
        default:
            return false;
    }
}

// Returns how many requests were refused in all.
std::uint64_t RefuseInTurn(const FaultCase& faultCase, Refusal refusal) {
    const Expected expected = ExpectedOf(faultCase);
    EXPECT_TRUE(expected.full.picture.has_value());
    std::uint64_t refusedInAll = 0;
    for (std::uint64_t request = 1;; ++request) {
        Session session(SettingsOf(faultCase.scene));
        std::uint64_t refused = 0;
        const auto arm = [&](Session& armed, const CasePictures&) {
            refusal == Refusal::One ? armed.allocations().FailOnly(request)
                                    : armed.allocations().FailFrom(request);
        };
        const auto disarm = [&](Session& armed, const CasePictures&) {
            refused = armed.allocations().Refused();
            armed.allocations().GrantAll();
        };
        const Outcome found = RunCase(session, faultCase, arm, disarm);
        if (refused == 0) {
            EXPECT_EQ(found.picture, expected.full.picture) << "without a refusal";
            return refusedInAll;
        }
        refusedInAll += refused;
        EXPECT_TRUE(IsAllowed(faultCase, expected, found, refused))
            << faultCase << ": request " << request << " refused, " << refused << " in all";
    }
}

class AllocationFaults : public ::testing::TestWithParam<FaultCase> {
  protected:
    static void TearDownTestSuite() { std::cout << refusedInAll << " requests refused\n"; }

    static inline std::uint64_t refusedInAll = 0;
};

TEST_P(AllocationFaults, GiveAResultOfShortMemoryAndLoseNothing) {
    const FaultCase& faultCase = GetParam();
    const std::uint64_t one = RefuseInTurn(faultCase, Refusal::One);
    const std::uint64_t all = RefuseInTurn(faultCase, Refusal::AllFromThere);
    refusedInAll += one + all;
    const bool asksForMemory = faultCase.call != MethodCall::Draw &&
                               faultCase.call != MethodCall::Fast &&
                               faultCase.call != MethodCall::ScalingToSameSize &&
                               faultCase.call != MethodCall::ImageAndMaskFast;
    EXPECT_EQ(one > 0, asksForMemory);
}

INSTANTIATE_TEST_SUITE_P(Methods, AllocationFaults, ::testing::ValuesIn(AllFaultCases()),
                         ::testing::PrintToStringParamName());

TEST(AllocationFaultsAtStart, LeaveAPluginThatRegistersAllMethodsOrNone) {
    for (const bool onlyOne : {true, false}) {
        for (std::uint64_t request = 1;; ++request) {
            Session session(Desktop(), [&](Session& starting) {
                onlyOne ? starting.allocations().FailOnly(request)
                        : starting.allocations().FailFrom(request);
            });
            const std::size_t methods = session.host().Methods().size();
            EXPECT_TRUE(methods == 0 || methods == 5) << "request " << request;
            if (session.RefusedWhileLoading() == 0) break;
        }
    }
}

}  // namespace
}  // namespace contract
