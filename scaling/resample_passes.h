// The two passes of the resampler over attached editors: the kernels' rows, led by the editors'
// layouts and row rule.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "bridge/buffer.h"
#include "kernels/box_average.h"
#include "kernels/pixel_rows.h"
#include "pixels/picture_editor.h"
#include "scaling/bounded_table.h"
#include "scaling/contributions.h"
#include "scaling/fixed_table.h"

namespace zvk {

// The pass along the rows. Where memory for the vector kernels is short, the definition serves.
class RowPass {
  public:
    // `lists`, of which there is at least one, must outlive the pass.
    RowPass(const PictureReader& reader, std::span<const ContributionList> lists);

    // Whether rows can be resampled right into the writer's picture, faster than into rows that are
    // then copied there.
    bool CanWriteTo(const PictureWriter& writer) const;

    // Resamples the reader's rows that `sources` names, at most `kernels::rowsAveraged` of them,
    // into the rows from `y` on of the picture of a writer that this can be done for. A picture in
    // no known format receives no pixels.
    void Write(std::span<const std::int32_t> sources, std::int64_t y,
               const PictureWriter& writer) const;

    // Resamples the reader's rows from `first` to before `last` into their places in `rows`. A
    // picture in no known format leaves them as they are, and zeros read as black.
    void Run(std::int64_t first, std::int64_t last, const kernels::PixelRows& rows);

  private:
    static constexpr std::int32_t neighbourCount = 3;

    bool IsCopy() const;
    bool PrepareNeighbours();
    bool PrepareBoxes();
    bool PrepareKernels();
    void CopyRows(std::int64_t first, std::int64_t last, const kernels::PixelRows& rows) const;
    void BlendNeighbours(std::int64_t first, std::int64_t last,
                         const kernels::PixelRows& rows) const;
    kernels::RowAveraging Averaging() const;
    void AverageRows(std::int64_t first, std::int64_t last, const kernels::PixelRows& rows) const;
    void AverageInto(std::span<const std::int32_t> sources, std::int64_t y,
                     const PictureWriter& writer) const;
    const std::uint8_t* RowAhead(std::int64_t y) const;
    void RunKernels(std::int64_t first, std::int64_t last, const kernels::PixelRows& rows);

    const PictureReader& reader_;
    std::span<const ContributionList> lists_;
    std::optional<ChannelOrder> order_;
    FixedTable fixed_;
    // Room for the layout of the rows in work.
    Buffer<std::uint8_t> layout_;
    // The wholes of the weights that every pixel and those beside it have.
    std::array<float, neighbourCount> neighbourWeights_{};
    std::int32_t neighbourDenominator_ = 0;
    // Where boxes start that have all one length.
    Buffer<std::int32_t> boxStarts_;
    std::int64_t boxLength_ = 0;
    bool copiesRows_;
    bool blendsNeighbours_;
    bool averagesBoxes_;
    bool useKernels_;
};

// Copies a row of pixels in the given order into row `y` of the writer's picture, at most `width`
// of them. A picture in no known format receives no pixels.
void CopyRow(std::int64_t y, const std::uint8_t* pixels, const ChannelOrder& order,
             std::int64_t width, const PictureWriter& writer);

// Rows `first` to before `last`.
struct RowRange {
    std::int64_t first;
    std::int64_t last;
};

// The pass down the columns, one row of the result at a time.
class ColumnPass {
  public:
    // `lists` must outlive the pass. Rows are `width` pixels in the reader's order.
    ColumnPass(const PictureReader& reader, std::span<const ContributionList> lists,
               std::int64_t width);

    // How many of `rowCount` rows must be kept at once to write all rows in order, if rows are
    // made in blocks.
    std::int64_t RowsAtHand(std::int64_t rowCount) const;

    // The rows that are needed to write the row or rows from `y` on that are best written together,
    // and those after them.
    RowRange RowsFor(std::int64_t y) const;

    // Blends the rows that list `y` names into row `y` of the writer's picture, at most `width`
    // pixels. A picture in no known format receives no pixels. Rows are written in order, and each
    // of `rows` stays as it is while it is needed.
    void WriteRow(std::int64_t y, const kernels::PixelRows& rows, std::int64_t width,
                  const PictureWriter& writer) {
        Write(y, 1, rows, width, writer);
    }

    // Does the same for the row or rows from `y` on that are best written together, and returns how
    // many they were.
    int WriteRows(std::int64_t y, const kernels::PixelRows& rows, std::int64_t width,
                  const PictureWriter& writer);

    // The one row whose bytes row `y` of the picture has, if there is one.
    std::optional<std::int32_t> CopiedRow(std::int64_t y) const {
        return useKernels_ ? bounded_.CopiedRow(y)
                           : CopiedPixel(lists_[static_cast<std::size_t>(y)]);
    }

  private:
    void Write(std::int64_t y, int count, const kernels::PixelRows& rows, std::int64_t width,
               const PictureWriter& writer);
    void PrepareNumbers(std::int64_t width);
    void WidenRows(std::int64_t y, const kernels::PixelRows& rows, std::int64_t width);

    std::span<const ContributionList> lists_;
    ChannelOrder rowOrder_;
    BoundedTable bounded_;
    bool useKernels_;
    // Where rows are needed often, they are kept as numbers too.
    Buffer<float> numbers_;
    kernels::NumberRows numberRows_{};
    std::int64_t widened_ = 0;
};

}  // namespace zvk
