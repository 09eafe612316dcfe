// What the levels with AVX2 and more are made of; `Vectors` are their widest, `Layout` is how they
// lay out rows, and `PixelTurns` has pixels of those vectors take turns.
#pragma once

#include "kernels/four_doubles_avx2.h"
#include "kernels/wide_boxes_avx2.h"
#include "kernels/words_avx2.h"

namespace zvk::kernels {
namespace {

template <typename Vectors, typename Layout, typename PixelTurns>
struct WideLevel {
    using Simd = Vectors;
    using Narrow = Sse41;
    using Rows = Layout;
    using FourDoubles = FourDoublesAvx2;
    using Words = WideWords;
    using Pixels = WidePixelPicker;
    using ShortBoxes = WideBoxAverager;
    using Turns = PixelTurns;
};

}  // namespace
}  // namespace zvk::kernels
