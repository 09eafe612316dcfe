// The resampler's passes, row by row.
#include "scaling/resample_passes.h"

#include <algorithm>
#include <cstring>

#include "kernels/kernel_table.h"
#include "kernels/resampling.h"

namespace zvk {

RowPass::RowPass(const PictureReader& reader, std::span<const ContributionList> lists)
    : reader_(reader),
      lists_(lists),
      order_(ChannelOrderOf(reader.pixelFormat)),
      copiesRows_(order_ && IsCopy()),
      blendsNeighbours_(order_ && !copiesRows_ && PrepareNeighbours()),
      averagesBoxes_(order_ && !copiesRows_ && !blendsNeighbours_ && PrepareBoxes()),
      useKernels_(order_ && !copiesRows_ && !blendsNeighbours_ && !averagesBoxes_ &&
                  PrepareKernels()) {
}

bool RowPass::IsCopy() const {
    if (std::ssize(lists_) != reader_.width) return false;
    std::int32_t x = 0;
    return std::all_of(lists_.begin(), lists_.end(),
                       [&x](const ContributionList& list) { return CopiedPixel(list) == x++; });
}

// Whether every pixel is blended with the one on either side of it, by the same small wholes, as
// mode 5 does where a picture keeps its width. The outermost pixels need not be.
bool RowPass::PrepareNeighbours() {
    constexpr std::int64_t narrowest = kernels::rowPadding / bytesPerPixelWord + 2;
    const std::int64_t width = std::ssize(lists_);
    if (width != reader_.width || width < narrowest) return false;
    const ContributionList& model = lists_[1];
    if (model.count != neighbourCount) return false;
    neighbourDenominator_ = HalfUpDenominator(model, kernels::greatestDenominator);
    if (neighbourDenominator_ == 0) return false;
    for (std::int32_t x = 1; x < width - 1; ++x) {
        const ContributionList& list = lists_[static_cast<std::size_t>(x)];
        if (!HaveSameWeights(list, model) || list.entries[0].pixel != x - 1 ||
            list.entries[neighbourCount - 1].pixel != x + 1) {
            return false;
        }
    }
    const float least =
        std::min({model.entries[0].weight, model.entries[1].weight, model.entries[2].weight});
    std::transform(model.entries, model.entries + neighbourCount, neighbourWeights_.begin(),
                   [least](const Contribution& entry) { return entry.weight / least; });
    return true;
}

// Whether all pixels are plain means of equally many neighbours, and few of them.
bool RowPass::PrepareBoxes() {
    constexpr std::int32_t longestBox = 8;
    if (lists_[0].count < 1 || lists_[0].count > longestBox) return false;
    const auto isBox = [this](const ContributionList& list) {
        return list.count == lists_[0].count && IsPlainMean(list);
    };
    if (!std::all_of(lists_.begin(), lists_.end(), isBox)) return false;
    boxStarts_ = AllocateZeroed<std::int32_t>(std::ssize(lists_));
    if (boxStarts_ == nullptr) return false;
    std::transform(lists_.begin(), lists_.end(), boxStarts_.get(),
                   [](const ContributionList& list) { return list.entries[0].pixel; });
    boxLength_ = lists_[0].count;
    return true;
}

// Kernels count places in 32 bits, of which they need a few behind the last pixel.
bool RowPass::PrepareKernels() {
    constexpr std::int64_t widest = std::int64_t{1} << 30U;
    if (reader_.width > widest || !fixed_.Build(lists_, kernels::SelectedKernels().rowLayout))
        return false;
    layout_ = AllocateZeroed<std::uint8_t>(kernels::LayoutSizeOf(fixed_.end()));
    return layout_ != nullptr;
}

void RowPass::Run(std::int64_t first, std::int64_t last, const kernels::PixelRows& rows) {
    if (copiesRows_) {
        CopyRows(first, last, rows);
    } else if (blendsNeighbours_) {
        BlendNeighbours(first, last, rows);
    } else if (averagesBoxes_) {
        AverageRows(first, last, rows);
    } else if (useKernels_) {
        RunKernels(first, last, rows);
    } else if (order_) {
        for (std::int64_t y = first; y < last; ++y) {
            kernels::ResampleRow(reader_.RowAddress(y), *order_, lists_, rows.Row(y));
        }
    }
}

void RowPass::CopyRows(std::int64_t first, std::int64_t last,
                       const kernels::PixelRows& rows) const {
    const auto size = static_cast<std::size_t>(reader_.width * bytesPerPixelWord);
    for (std::int64_t y = first; y < last; ++y)
        std::memcpy(rows.Row(y), reader_.RowAddress(y), size);
}

// A row, the same row from its second pixel on, and from its third, are blended like rows that lie
// one below the other.
void RowPass::BlendNeighbours(std::int64_t first, std::int64_t last,
                              const kernels::PixelRows& rows) const {
    const kernels::BoundedList list{.weights = neighbourWeights_.data(),
                                    .exact = &lists_[1],
                                    .first = 0,
                                    .count = neighbourCount,
                                    .bias = 0.0F,
                                    .slack = 0.0F,
                                    .addsExactly = true,
                                    .decision = kernels::Decision::InWholes,
                                    .denominator = neighbourDenominator_,
                                    .anchor = 0.0F,
                                    .closeError = 0.0F};
    const std::int64_t width = std::ssize(lists_);
    kernels::ColumnBlending job{
        .rows = {.places = nullptr, .stride = bytesPerPixelWord, .capacity = neighbourCount},
        .numbers = {},
        .ahead = nullptr,
        .rowOrder = *order_,
        .lists = &list,
        .listCount = 1,
        .order = *order_,
        .width = width - 2,
        .destinations = {},
        .streams = false};
    const std::size_t end = lists_.size() - 1;
    for (std::int64_t y = first; y < last; ++y) {
        std::uint8_t* const source = reader_.RowAddress(y);
        std::uint8_t* const destination = rows.Row(y);
        job.rows.places = source;
        job.ahead = RowAhead(y + 1);
        job.destinations[0] = destination + bytesPerPixelWord;
        kernels::SelectedKernels().blendRows(job);
        kernels::ResampleRow(source, *order_, lists_.first(1), destination);
        kernels::ResampleRow(source, *order_, lists_.subspan(end),
                             destination + (width - 1) * bytesPerPixelWord);
    }
}

// Row y of the source, or the last one.
const std::uint8_t* RowPass::RowAhead(std::int64_t y) const {
    return reader_.RowAddress(std::min<std::int64_t>(y, reader_.height - 1));
}

// A job for the reader's boxes without rows.
kernels::RowAveraging RowPass::Averaging() const {
    return {.sources = {},
            .ahead = {},
            .rowCount = 0,
            .sourceOrder = *order_,
            .sourceWidth = reader_.width,
            .starts = boxStarts_.get(),
            .boxWidth = boxLength_,
            .boxHeight = 1,
            .rounded = true,
            .order = *order_,
            .width = std::ssize(lists_),
            .destinations = {},
            .streams = false};
}

void RowPass::AverageRows(std::int64_t first, std::int64_t last,
                          const kernels::PixelRows& rows) const {
    kernels::RowAveraging job = Averaging();
    for (std::int64_t y = first; y < last; y += job.rowCount) {
        job.rowCount = static_cast<int>(std::min<std::int64_t>(last - y, kernels::rowsAveraged));
        for (int row = 0; row < job.rowCount; ++row) {
            job.sources[row] = reader_.RowAddress(y + row);
            job.ahead[row] = RowAhead(y + job.rowCount + row);
            job.destinations[row] = rows.Row(y + row);
        }
        kernels::SelectedKernels().averageRows(job);
    }
}

// Only single pixels can be stored past the caches.
bool RowPass::CanWriteTo(const PictureWriter& writer) const {
    constexpr std::int64_t cacheLine = 64;
    if (copiesRows_) return true;
    if (!averagesBoxes_) return false;
    if (!writer.IsBeyondCaches()) return true;
    const auto step = RowStep(writer);
    return boxLength_ == 1 && step && *step % cacheLine == 0;
}

void RowPass::Write(std::span<const std::int32_t> sources, std::int64_t y,
                    const PictureWriter& writer) const {
    if (averagesBoxes_) return AverageInto(sources, y, writer);
    for (const std::int32_t source : sources)
        CopyRow(y++, reader_.RowAddress(source), *order_, reader_.width, writer);
}

void RowPass::AverageInto(std::span<const std::int32_t> sources, std::int64_t y,
                          const PictureWriter& writer) const {
    const auto order = ChannelOrderOf(writer.pixelFormat);
    const std::int64_t width = writer.WritableWidth(std::ssize(lists_));
    if (!order || width < 1) return;
    kernels::RowAveraging job = Averaging();
    job.order = *order;
    job.width = width;
    job.streams = writer.IsBeyondCaches();
    for (const std::int32_t source : sources) {
        job.sources[job.rowCount] = reader_.RowAddress(source);
        job.ahead[job.rowCount] = RowAhead(std::int64_t{source} + 1);
        job.destinations[job.rowCount] = writer.RowAddress(y + job.rowCount);
        ++job.rowCount;
    }
    kernels::SelectedKernels().averageRows(job);
}

void RowPass::RunKernels(std::int64_t first, std::int64_t last, const kernels::PixelRows& rows) {
    kernels::RowResampling job{.sources = {},
                               .ahead = {},
                               .sourceWidth = reader_.width,
                               .order = *order_,
                               .lists = fixed_.lists(),
                               .listCount = std::ssize(lists_),
                               .lead = fixed_.lead(),
                               .layout = kernels::AlignedLayout(layout_.get()),
                               .destinations = {}};
    const int rowsAtOnce = kernels::RowsAtOnce(kernels::SelectedKernels().rowLayout);
    for (std::int64_t y = first; y < last; y += rowsAtOnce) {
        for (int row = 0; row < rowsAtOnce; ++row) {
            // Where rows run out the last one is done more than once.
            const std::int64_t index = std::min(y + row, last - 1);
            job.sources[row] = reader_.RowAddress(index);
            job.ahead[row] = RowAhead(index + rowsAtOnce);
            job.destinations[row] = rows.Row(index);
        }
        kernels::SelectedKernels().resampleRows(job);
    }
}

void CopyRow(std::int64_t y, const std::uint8_t* pixels, const ChannelOrder& order,
             std::int64_t width, const PictureWriter& writer) {
    const auto written = ChannelOrderOf(writer.pixelFormat);
    const std::int64_t writableWidth = writer.WritableWidth(width);
    if (!written || writableWidth < 1) return;
    kernels::SelectedKernels().copyRow({.source = pixels,
                                        .sourceOrder = order,
                                        .destination = writer.RowAddress(y),
                                        .order = *written,
                                        .width = writableWidth,
                                        .streams = writer.IsBeyondCaches()});
}

ColumnPass::ColumnPass(const PictureReader& reader, std::span<const ContributionList> lists,
                       std::int64_t width)
    : lists_(lists),
      // What was read as black is black in any order.
      rowOrder_(ChannelOrderOf(reader.pixelFormat).value_or(layouts::console)),
      useKernels_(bounded_.Build(lists)) {
    if (useKernels_) PrepareNumbers(width);
}

// Rows are kept as numbers where each is needed several times and all that are needed at once leave
// room in the second-level cache. Without memory for them nothing changes but the time.
void ColumnPass::PrepareNumbers(std::int64_t width) {
    constexpr std::int64_t fewestUses = 3;
    constexpr std::int64_t mostNumbers = std::int64_t{3} << 16U;
    const std::int64_t stride = kernels::NumberCountOf(width);
    const std::int64_t capacity = bounded_.longestSpan();
    if (bounded_.weightCount() < fewestUses * bounded_.sourceSpan()) return;
    if (capacity < 1 || stride > mostNumbers / capacity) return;
    numbers_ = AllocateZeroed<float>(stride * capacity);
    numberRows_ = {.places = numbers_.get(),
                   .stride = stride,
                   .capacity = static_cast<std::int32_t>(capacity)};
}

// Makes numbers of the rows that list `y` names.
void ColumnPass::WidenRows(std::int64_t y, const kernels::PixelRows& rows, std::int64_t width) {
    if (numbers_ == nullptr) return;
    const RowRange needed = RowsFor(y);
    for (std::int64_t row = std::max(widened_, needed.first); row < needed.last; ++row) {
        kernels::SelectedKernels().widenRow({.pixels = rows.Row(row),
                                             .order = rowOrder_,
                                             .width = width,
                                             .numbers = numberRows_.Row(row)});
    }
    widened_ = std::max(widened_, needed.last);
}

std::int64_t ColumnPass::RowsAtHand(std::int64_t rowCount) const {
    if (!useKernels_) return rowCount;
    const int block = kernels::RowsAtOnce(kernels::SelectedKernels().rowLayout);
    return std::clamp<std::int64_t>(bounded_.longestSpan() + block - 1, 1, rowCount);
}

RowRange ColumnPass::RowsFor(std::int64_t y) const {
    if (useKernels_) return {.first = bounded_.FirstNeededFrom(y), .last = bounded_.EndOf(y)};
    const ContributionList& list = lists_[static_cast<std::size_t>(y)];
    return {.first = 0,
            .last = list.count == 0 ? 0 : std::int64_t{list.entries[list.count - 1].pixel} + 1};
}

int ColumnPass::WriteRows(std::int64_t y, const kernels::PixelRows& rows, std::int64_t width,
                          const PictureWriter& writer) {
    const bool areTwo = useKernels_ && bounded_.SharesRows(y) && !CopiedRow(y) && !CopiedRow(y + 1);
    const int count = areTwo ? kernels::rowsBlended : 1;
    Write(y, count, rows, width, writer);
    return count;
}

void ColumnPass::Write(std::int64_t y, int count, const kernels::PixelRows& rows,
                       std::int64_t width, const PictureWriter& writer) {
    if (const auto row = CopiedRow(y)) return CopyRow(y, rows.Row(*row), rowOrder_, width, writer);
    const auto order = ChannelOrderOf(writer.pixelFormat);
    const std::int64_t writableWidth = writer.WritableWidth(width);
    if (!order || writableWidth < 1) return;
    if (useKernels_) {
        if (!bounded_.IsInWholes(y)) WidenRows(y, rows, width);
        kernels::ColumnBlending job{.rows = rows,
                                    .numbers = numberRows_,
                                    .ahead = nullptr,
                                    .rowOrder = rowOrder_,
                                    .lists = bounded_.lists() + y,
                                    .listCount = count,
                                    .order = *order,
                                    .width = writableWidth,
                                    .destinations = {},
                                    .streams = writer.IsBeyondCaches()};
        for (int row = 0; row < count; ++row)
            job.destinations[row] = writer.RowAddress(y + row);
        kernels::SelectedKernels().blendRows(job);
    } else {
        kernels::ResampleColumns(rows, rowOrder_, lists_[static_cast<std::size_t>(y)], *order,
                                 writableWidth, writer.RowAddress(y));
    }
}

}  // namespace zvk
