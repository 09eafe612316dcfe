// The kernel table of one level, made of the bodies. Included by the files that are compiled for
// one level each; everything here is internal to each of them.
#pragma once

#include "kernels/box_average_body.h"
#include "kernels/box_blur_body.h"
#include "kernels/column_blending_body.h"
#include "kernels/compositing_body.h"
#include "kernels/copying_body.h"
#include "kernels/interpolation_body.h"
#include "kernels/kernel_table.h"
#include "kernels/long_blur_body.h"
#include "kernels/planar_interpolation_body.h"
#include "kernels/row_resampling_body.h"

namespace zvk::kernels {
namespace {

// `Simd` are the level's widest vectors, `Narrow` its sixteen-byte ones, `Taps` sums of taps along
// a row, `Words` sixteen numbers of 16 bits and `Doubles` products in double precision.
template <typename Simd, typename Narrow, typename Taps, typename Words, typename Doubles>
consteval KernelTable TableOf(InstructionSet level) {
    constexpr auto interpolateRows = [] {
        if constexpr (Simd::canPermute)
            return InterpolateRowsToPlanes<Simd>;
        else
            return InterpolateRowsInVectors<Simd>;
    }();
    constexpr auto interpolateColumns = [] {
        if constexpr (Simd::canPermute)
            return InterpolateColumnsOfPlanes<Simd>;
        else
            return InterpolateColumnsInVectors<Simd>;
    }();
    return {.instructionSet = level,
            .resampleRows = ResampleRows<Taps>,
            .blendRows = BlendRows<Simd, Narrow, Taps>,
            .widenRow = WidenRow<Simd>,
            .averageRow = AverageRowInVectors<Narrow>,
            .interpolateRows = interpolateRows,
            .interpolateColumns = interpolateColumns,
            .addToColumnSums = AddRowToColumnSums,
            .blurColumns = BlurColumnsInVectors<Words>,
            .blurRows = BlurRowsInVectors<Words>,
            .addToLongSums = AddToLongSums,
            .blurColumnsLong = BlurColumnsLong<Narrow, typename Taps::DoublePixel>,
            .blurRowLong = BlurRowLong<Narrow, typename Taps::DoublePixel>,
            .drawPlainRow = DrawPlainRow<Words>,
            .drawWeightedRow = DrawWeightedRow<Narrow, Doubles>,
            .copyRow = CopyRow<Simd, Narrow>};
}

}  // namespace
}  // namespace zvk::kernels
