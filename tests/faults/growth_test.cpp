// Ten thousand calls in one process: nothing grows, neither in the plugin nor in the host.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <iostream>

#include "tests/faults/fault_calls.h"

namespace contract {
namespace {

constexpr int fewCalls = 500;
constexpr int manyCalls = 5000;

void Call(Session& session, Scene scene, int number) {
    const auto methods = static_cast<int>(MethodCall::Draw) + 1;
    const FaultCase faultCase{scene, static_cast<MethodCall>(number % methods)};
    const Step nothing = [](Session&, const CasePictures&) {};
    EXPECT_TRUE(RunCase(session, faultCase, nothing, nothing).picture.has_value());
    // Else the watch would remember the size of every request.
    session.allocations().GrantAll();
}

class ManyCalls : public ::testing::TestWithParam<Scene> {};

TEST_P(ManyCalls, KeepNoMoreMemoryThanFew) {
    HostSettings settings = SettingsOf(GetParam());
    // Guarded pictures are mapped, not allocated, and would not count.
    settings.guardPages = false;
    Session session(settings);
    int number = 0;
    for (; number < fewCalls; ++number)
        Call(session, GetParam(), number);
    const std::size_t blocks = session.allocations().LiveBlocks();
    const std::size_t bytes = mallinfo2().uordblks;
    for (; number < manyCalls; ++number)
        Call(session, GetParam(), number);
    EXPECT_EQ(session.allocations().LiveBlocks(), blocks);
    // Sanitizers have an allocator of their own, which says nothing here and reports leaks itself.
    if (bytes == 0) return;
    const std::size_t after = mallinfo2().uordblks;
    std::cout << manyCalls << " calls, " << bytes << " bytes in use after the first " << fewCalls
              << ", " << after << " at the end\n";
    // The host's tables of objects grow and shrink by themselves; what a call kept would add up.
    constexpr std::size_t leastPerCall = 8;
    EXPECT_LT(after, bytes + leastPerCall * (manyCalls - fewCalls));
}

INSTANTIATE_TEST_SUITE_P(Runtimes, ManyCalls,
                         ::testing::Values(Scene::DesktopMask, Scene::ConsoleMask));

}  // namespace
}  // namespace contract
