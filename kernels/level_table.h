// The kernel table of one level, made of the bodies. Included by the files that are compiled for
// one level each; everything here is internal to each of them.
#pragma once

#include "kernels/box_average_body.h"
#include "kernels/box_blur_body.h"
#include "kernels/column_blending_body.h"
#include "kernels/compositing_body.h"
#include "kernels/copying_body.h"
#include "kernels/factor_interpolation_body.h"
#include "kernels/interpolation_body.h"
#include "kernels/kernel_table.h"
#include "kernels/long_blur_body.h"
#include "kernels/opaque_body.h"
#include "kernels/planar_interpolation_body.h"
#include "kernels/row_resampling_body.h"

namespace zvk::kernels {
namespace {

// What a level is made of: `Simd` are its widest vectors, `Narrow` its sixteen-byte ones, `Rows`
// lays out rows, `FourDoubles` four numbers in double precision, `Words` sixteen numbers of 16
// bits, `Pixels` takes boxes of one pixel, `ShortBoxes` averages those of two to four, and `Reach`
// requests rows for what is bound by memory where vectors are wide. Where the widest can permute,
// `Turns` has their pixels take turns.
template <typename Level>
consteval KernelTable TableOf(InstructionSet level) {
    using Simd = typename Level::Simd;
    using Narrow = typename Level::Narrow;
    using FourDoubles = typename Level::FourDoubles;
    using Words = typename Level::Words;
    constexpr auto interpolateRows = [] {
        if constexpr (Simd::canPermute)
            return InterpolateRowsToPlanes<Simd>;
        else
            return InterpolateRowsInVectors<Simd>;
    }();
    constexpr auto interpolateColumns = [] {
        if constexpr (Simd::canPermute)
            return InterpolateColumnsOfPlanes<Simd, typename Level::Turns>;
        else
            return InterpolateColumnsInVectors<Simd>;
    }();
    return {.instructionSet = level,
            .rowLayout = Level::Rows::layout,
            .resampleRows = ResampleRows<typename Level::Rows, FourDoubles>,
            .blendRows = BlendRows<Simd, FourDoubles>,
            .widenRow = WidenRow<Simd>,
            .averageRows =
                AverageRowsInVectors<Narrow, typename Level::Pixels, typename Level::ShortBoxes>,
            .interpolateRows = interpolateRows,
            .interpolateColumns = interpolateColumns,
            .addToColumnSums = AddRowToColumnSums,
            .blurColumns = BlurColumnsInVectors<Words, typename Level::Reach>,
            .blurRows = BlurRowsInVectors<Words>,
            .addToLongSums = AddToLongSums,
            .blurColumnsLong = BlurColumnsLong<Narrow, FourDoubles>,
            .blurRowLong = BlurRowLong<Narrow, FourDoubles>,
            .drawWeightedRow = DrawWeightedRow<Narrow, FourDoubles>,
            .drawPlainRows = DrawPlainRows<Words>,
            .copyRow = CopyRow<Simd, Narrow>,
            .makeRowsOpaque = MakeRowsOpaque<Simd, Narrow>};
}

}  // namespace
}  // namespace zvk::kernels
