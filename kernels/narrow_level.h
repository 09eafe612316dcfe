// What the levels with sixteen-byte vectors are made of.
#pragma once

#include "kernels/box_average_body.h"
#include "kernels/compositing_body.h"
#include "kernels/four_doubles_sse2.h"
#include "kernels/prefetching.h"
#include "kernels/row_lanes_sse.h"
#include "kernels/row_words_body.h"
#include "kernels/words_sse.h"

namespace zvk::kernels {
namespace {

template <typename Vectors>
struct NarrowLevel {
    using Simd = Vectors;
    using Narrow = Vectors;
    using Rows = RowWords<RowLanePair<Vectors>>;
    using FourDoubles = FourDoublesSse2;
    using Words = WordPair<Vectors>;
    using Pixels = PixelPicker<Vectors>;
    using Reach = NearReach;
    using ShortBoxes = ShortBoxAverager<Vectors>;
};

}  // namespace
}  // namespace zvk::kernels
