// Fast scaling by blocks of neighbouring pixels.
#include <algorithm>
#include <array>
#include <cmath>

#include "bridge/host_reference.h"
#include "bridge/yielding.h"
#include "kernels/kernel_table.h"
#include "pixels/picture_editor.h"
#include "scaling/picture_scaling.h"

namespace zvk {

namespace {

// Averages rows of one picture into rows of another, a stretch of columns at a time, so that where
// the blocks start can be kept without asking for memory.
class RowAverager {
  public:
    RowAverager(PictureReader& reader, PictureWriter& writer, std::int64_t width,
                std::int64_t height)
        : reader_(reader),
          writer_(writer),
          sharesPixels_(SharesPixels(reader, writer)),
          stepX_(static_cast<double>(reader.width) / static_cast<double>(width)),
          stepY_(static_cast<double>(reader.height) / static_cast<double>(height)),
          width_(writer.WritableWidth(width)),
          job_{.sources = {},
               .ahead = {},
               .rowCount = 0,
               .sourceOrder = reader.Order(),
               .sourceWidth = reader.width,
               .starts = starts_.data(),
               .boxWidth = static_cast<std::int64_t>(std::ceil(stepX_)),
               .boxHeight = static_cast<std::int64_t>(std::ceil(stepY_)),
               .rounded = false,
               .order = writer.Order(),
               .width = 0,
               .destinations = {},
               .streams = false} {}

    // Whether rows may be written side by side.
    bool MayJoinRows() const { return !sharesPixels_ && HasSeparateRows(writer_); }

    // Writes `count` rows from row `y` on, and moves the writer behind them.
    void WriteRows(std::int64_t y, int count) {
        job_.rowCount = count;
        for (int row = 0; row < count; ++row) {
            // Deliberate: the rows below the first of a block are never visited. It counts as often
            // as the block is high, so the result is the average of one row's pixels.
            job_.sources[row] = reader_.SeekRow(SourceRow(y + row));
            job_.ahead[row] = reader_.RowAddress(SourceRow(y + count + row));
            job_.destinations[row] = writer_.rowPointer;
            writer_.NextRow();
        }
        for (std::int64_t x = 0; x < width_; x += longestStretch)
            WriteStretch(x, std::min(longestStretch, width_ - x));
    }

  private:
    static constexpr std::int64_t longestStretch = 4096;

    void WriteStretch(std::int64_t x, std::int64_t count) {
        FindStarts(x, count);
        // A picture that shares memory is read as it has become, pixel by pixel.
        const auto average =
            sharesPixels_ ? kernels::AverageRows : kernels::SelectedKernels().averageRows;
        average(job_);
        for (int row = 0; row < job_.rowCount; ++row)
            job_.destinations[row] += count * bytesPerPixelWord;
    }

    std::int64_t SourceRow(std::int64_t y) const {
        return static_cast<std::int64_t>(static_cast<double>(y) * stepY_);
    }

    // A block ends within the row: only for sides beyond 2^26 could the rounding of the product
    // say otherwise. A stretch has the same starts in every row.
    void FindStarts(std::int64_t x, std::int64_t count) {
        if (firstStart_ == x) return;
        const std::int64_t lastStart = reader_.width - job_.boxWidth;
        for (std::int64_t index = 0; index < count; ++index) {
            const auto start = static_cast<std::int64_t>(static_cast<double>(x + index) * stepX_);
            starts_[static_cast<std::size_t>(index)] =
                static_cast<std::int32_t>(std::min(start, lastStart));
        }
        firstStart_ = x;
        job_.width = count;
    }

    PictureReader& reader_;
    PictureWriter& writer_;
    bool sharesPixels_;
    double stepX_;
    double stepY_;
    std::int64_t width_;
    std::int64_t firstStart_ = -1;
    std::array<std::int32_t, longestStretch> starts_;
    kernels::RowAveraging job_;
};

void AverageRows(PictureReader& reader, PictureWriter& writer, std::int64_t width,
                 std::int64_t height) {
    RowAverager averager(reader, writer, width, height);
    // Nobody sees in which order rows are written where nothing yields between them.
    const bool joinsRows = yield.interval == 0 && averager.MayJoinRows();
    const std::int64_t atOnce = joinsRows ? kernels::rowsAveraged : 1;
    for (std::int64_t y = 0; y < height; y += atOnce) {
        averager.WriteRows(y, static_cast<int>(std::min(atOnce, height - y)));
        yield.Point();
    }
}

}  // namespace

REALpicture ScalePictureFast(REALpicture picture, std::int64_t width, std::int64_t height) {
    PictureReference result;
    PictureReader reader;
    if (reader.GetPictureEditor(picture, true, false)) {
        PictureWriter writer;
        if (writer.NewPictureWriter(reader, width, height)) {
            AverageRows(reader, writer, width, height);
            result = PictureReference(writer.RenderPictureWriter());
        }
    }
    yield.Point();
    return result.Release();
}

}  // namespace zvk
