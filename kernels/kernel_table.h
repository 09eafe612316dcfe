// The row kernels of one instruction set. Every level gives the bytes of the definition; tests and
// benchmarks name any of them.
#pragma once

#include <cstdint>

#include "kernels/blur_blocks.h"
#include "kernels/bounded_list.h"
#include "kernels/box_average.h"
#include "kernels/channel_order.h"
#include "kernels/compositing.h"
#include "kernels/drawing_weights.h"
#include "kernels/fixed_list.h"
#include "kernels/instruction_set.h"
#include "kernels/interpolation.h"
#include "kernels/long_blur.h"
#include "kernels/pixel_rows.h"
#include "kernels/row_layout.h"

namespace zvk::kernels {

// A job of resampling as many rows side by side as the kernel's layout takes at once; rows may be
// named more than once.
struct RowResampling {
    const std::uint8_t* sources[mostRowsAtOnce];
    // Rows as wide that are read next, if there are any: they are requested and not read.
    const std::uint8_t* ahead[mostRowsAtOnce];
    std::int64_t sourceWidth;  // in pixels
    ChannelOrder order;        // whose fourth byte is the first or the last of a pixel
    const FixedList* lists;    // made for the layout; they name pixels of the sources only
    std::int64_t listCount;
    std::int32_t lead;  // how many places the lists count before the first pixel; 0 with words
    // Room for the layout of the places up to the last that a list names, aligned for vectors.
    std::uint8_t* layout;
    std::uint8_t* destinations[mostRowsAtOnce];
};

// At most this many rows of the result are blended at once.
inline constexpr int rowsBlended = 2;

// A job of blending the rows that lists name into a row each; lists that are served together begin
// at one row, have as many weights, and are all in whole numbers or none of them is. Rows have
// `rowPadding` bytes behind them; those of lists in whole numbers may do without if they are at
// least that long.
struct ColumnBlending {
    PixelRows rows;
    // The colours of the same rows as numbers, or no places at all. They mean nothing where lists
    // are in whole numbers.
    NumberRows numbers;
    // A row as wide as these that is read soon, or null. It is requested meanwhile where lists are
    // in whole numbers.
    const std::uint8_t* ahead;
    ChannelOrder rowOrder;
    const BoundedList* lists;
    int listCount;  // 1 to `rowsBlended`
    ChannelOrder order;
    std::int64_t width;  // in pixels
    std::uint8_t* destinations[rowsBlended];
    bool streams;  // whether the results are stored past the caches
};

// A job of making numbers of a row's colours. The row has `rowPadding` bytes behind it.
struct RowWidening {
    const std::uint8_t* pixels;
    ChannelOrder order;
    std::int64_t width;  // in pixels
    float* numbers;      // as many as `NumberCountOf` says
};

// A job of copying a row's pixels to another order of channels, opaque. The rows share no memory.
struct RowCopying {
    const std::uint8_t* source;
    ChannelOrder sourceOrder;
    std::uint8_t* destination;
    ChannelOrder order;
    std::int64_t width;  // in pixels
    bool streams;        // whether the result is stored past the caches
};

// Rows to be made opaque in their place, evenly spaced and sharing no memory.
struct RowOpaquing {
    std::uint8_t* pixels;  // the first row
    ChannelOrder order;
    std::int64_t width;  // in pixels
    std::int64_t rowCount;
    std::int64_t rowStep;  // bytes from a row to the next
};

// Bytes that are read from a row at once.
inline constexpr std::int64_t rowPadding = 64;

struct KernelTable {
    InstructionSet instructionSet;
    RowLayout rowLayout;
    // Resamples rows along their length. Reads nothing outside the sources' rows and writes
    // exactly `listCount` pixels to each destination.
    void (*resampleRows)(const RowResampling& job);
    // Blends rows into rows of opaque pixels.
    void (*blendRows)(const ColumnBlending& job);
    // Makes numbers of a row's colours.
    void (*widenRow)(const RowWidening& job);
    // Averages blocks of rows.
    void (*averageRows)(const RowAveraging& job);
    // The two steps of smooth enlargement.
    void (*interpolateRows)(const RowInterpolation& job);
    void (*interpolateColumns)(const ColumnInterpolation& job);
    // The steps of the blur on blocks of rows.
    void (*addToColumnSums)(const ColumnSumming& job);
    void (*blurColumns)(const ColumnBlurring& job);
    void (*blurRows)(const RowBlurring& job);
    // The steps of the blur row by row.
    void (*addToLongSums)(const LongSumming& job);
    void (*blurColumnsLong)(const LongColumnBlurring& job);
    void (*blurRowLong)(const LongRowBlurring& job);
    // Fractional drawing over columns whose samples all lie inside the source and its mask, for
    // rows that share no memory with them.
    void (*drawWeightedRow)(const RowDrawing& job, const WeightTables& weights);
    // The same without a mask for a row and those below it, which share no memory with each other,
    // by these weights and not those of the job. Both rows of the source are to be there; one of
    // them may weigh nothing. The columns at the source's ends may be among those drawn, the left
    // one if there is a `leftRest`, the right one if there is a `rightRest`.
    void (*drawPlainRows)(const RowDrawing& first, const PlainWeights& weights, const RowRun& rows);
    // Copies pixels and makes them opaque.
    void (*copyRow)(const RowCopying& job);
    void (*makeRowsOpaque)(const RowOpaquing& job);
};

// The tables of each level; only the levels that the machine offers may be called.
extern const KernelTable baselineKernels;
extern const KernelTable sse41Kernels;
extern const KernelTable avx2Kernels;
extern const KernelTable avx512Kernels;

// The table of a level.
const KernelTable& KernelsOf(InstructionSet level);

// The best table that this machine can run, chosen at first use; a build for one level has that
// level instead.
const KernelTable& SelectedKernels();

}  // namespace zvk::kernels
