// Loops over a few constants. Included by the vector bodies; internal to each file that is compiled
// for a level.
#pragma once

#include <type_traits>
#include <utility>

namespace zvk::kernels {
namespace {

// Calls `step` with 0 to `count` - 1 as constants, so that vectors named by them stay in registers.
template <int count, typename Step>
[[gnu::always_inline]] inline void Repeat(Step step) {
    [&]<int... index>(std::integer_sequence<int, index...>) __attribute__((always_inline)) {
        (step(std::integral_constant<int, index>()), ...);
    }
    (std::make_integer_sequence<int, count>());
}

}  // namespace
}  // namespace zvk::kernels
