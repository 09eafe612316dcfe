// What the levels with AVX2 and more are made of; `Vectors` are their widest, `Layout` is how they
// lay out rows, `PixelTurns` has pixels of those vectors take turns, and `Fours` averages boxes
// that begin four pixels apart.
#pragma once

#include "kernels/four_doubles_avx2.h"
#include "kernels/prefetching.h"
#include "kernels/wide_boxes_avx2.h"
#include "kernels/words_avx2.h"

namespace zvk::kernels {
namespace {

template <typename Vectors, typename Layout, typename PixelTurns, typename Fours>
struct WideLevel {
    using Simd = Vectors;
    using Narrow = Sse41;
    using Rows = Layout;
    using FourDoubles = FourDoublesAvx2;
    using Words = WideWords;
    using Pixels = WidePixelPicker;
    using Reach = FarReach;
    using ShortBoxes = WideBoxAverager<Fours>;
    using Turns = PixelTurns;
};

}  // namespace
}  // namespace zvk::kernels
