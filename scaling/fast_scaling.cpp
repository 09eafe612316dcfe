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
    RowAverager(PictureReader& reader, const PictureWriter& writer, std::int64_t width,
                std::int64_t height)
        : reader_(reader),
          // A picture that shares memory is read as it has become, pixel by pixel.
          averageRow_(SharesPixels(reader, writer) ? kernels::AverageRow
                                                   : kernels::SelectedKernels().averageRow),
          stepX_(static_cast<double>(reader.width) / static_cast<double>(width)),
          stepY_(static_cast<double>(reader.height) / static_cast<double>(height)),
          width_(writer.WritableWidth(width)),
          job_{.source = nullptr,
               .ahead = nullptr,
               .sourceOrder = reader.Order(),
               .sourceWidth = reader.width,
               .starts = starts_.data(),
               .boxWidth = static_cast<std::int64_t>(std::ceil(stepX_)),
               .boxHeight = static_cast<std::int64_t>(std::ceil(stepY_)),
               .rounded = false,
               .order = writer.Order(),
               .width = 0,
               .destination = nullptr} {}

    void WriteRow(std::int64_t y, std::uint8_t* destination) {
        // Deliberate: the rows below the first of a block are never visited. It counts as often
        // as the block is high, so the result is the average of one row's pixels.
        job_.source = reader_.SeekRow(SourceRow(y));
        job_.ahead = reader_.RowAddress(SourceRow(y + 1));
        for (std::int64_t x = 0; x < width_; x += longestStretch) {
            FindStarts(x, std::min(longestStretch, width_ - x));
            job_.destination = destination + x * bytesPerPixelWord;
            averageRow_(job_);
        }
    }

  private:
    static constexpr std::int64_t longestStretch = 4096;

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
    void (*averageRow_)(const kernels::RowAveraging& job);
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
    for (std::int64_t y = 0; y < height; ++y) {
        averager.WriteRow(y, writer.rowPointer);
        writer.NextRow();
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
