// The method DrawPictureFZVK: draws one picture onto another at a fractional position, in place.
// Nil pictures raise a host exception; every other failure is a false result.
#include <algorithm>
#include <cmath>
#include <optional>

#include "bridge/host_exceptions.h"
#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "bridge/picture_methods.h"
#include "bridge/yielding.h"
#include "kernels/arithmetic.h"
#include "kernels/compositing.h"
#include "kernels/kernel_table.h"
#include "pixels/picture_editor.h"

namespace zvk {

namespace {

// A position split into whole pixels and a fraction. Where it is out of range or not a number, the
// whole part lies so far off that nothing is drawn.
struct FractionalOffset {
    std::int32_t whole;
    double fraction;

    explicit FractionalOffset(double position)
        : whole(TruncateToInt32(std::floor(position))), fraction(std::fabs(position - whole)) {}
};

// The order of the products is part of the result.
kernels::SampleWeights WeightsAt(double fx, double fy, double alpha) {
    return {.topLeft = (fx * fy) * alpha,
            .topRight = ((1.0 - fx) * fy) * alpha,
            .bottomRight = ((1.0 - fx) * (1.0 - fy)) * alpha,
            .bottomLeft = ((1.0 - fy) * fx) * alpha};
}

// The rows that a destination row takes from: those of the picture drawn and of its mask.
class DrawnPicture {
  public:
    // `mask` is null where the picture has none.
    DrawnPicture(const PictureEditor& picture, const PictureEditor* mask)
        : picture_(picture), mask_(mask) {}

    kernels::SourceRows RowsAround(std::int32_t row) const {
        return {.above = RowAt(WrappingSubtract<std::int32_t>(row, 1)),
                .below = RowAt(row),
                .order = picture_.Order(),
                .width = picture_.width,
                .maskByte = mask_ == nullptr ? std::uint8_t{0} : mask_->Order().red,
                .maskWidth = mask_ == nullptr || mask_->height < 1 ? 0 : mask_->width};
    }

  private:
    kernels::PixelRow RowAt(std::int32_t row) const {
        if (row < 0 || row >= picture_.height) return {.pixels = nullptr, .mask = nullptr};
        // A mask of lesser height repeats its first row, as the row rule has it.
        return {.pixels = picture_.RowAddress(row),
                .mask = mask_ == nullptr ? nullptr : mask_->RowAddress(row)};
    }

    const PictureEditor& picture_;
    const PictureEditor* mask_;
};

// Whether two stretches of bytes have any in common.
bool Overlaps(const std::uint8_t* first, std::int64_t firstSize, const std::uint8_t* second,
              std::int64_t secondSize) {
    const auto from = reinterpret_cast<std::uintptr_t>(first);
    const auto other = reinterpret_cast<std::uintptr_t>(second);
    return second != nullptr && from < other + static_cast<std::uintptr_t>(secondSize) &&
           other < from + static_cast<std::uintptr_t>(firstSize);
}

// Draws rows of one picture over rows of another: the columns that take nothing, those that take
// whole sets of samples, and the borders between them, each the fastest way that gives the
// definition's bytes.
class RowPainter {
  public:
    RowPainter(const PictureEditor& destination, std::int32_t offset,
               const kernels::SampleWeights& weights, bool isMasked)
        : destination_(destination),
          offset_(offset),
          weights_(weights),
          isMasked_(isMasked),
          plain_(isMasked ? std::nullopt : kernels::PlainWeightsFor(weights)) {
        tables_.Fill(weights, isMasked);
    }

    void DrawRow(std::int64_t y, const kernels::SourceRows& source) const {
        kernels::RowDrawing job{.source = source,
                                .offset = offset_,
                                .weights = weights_,
                                .order = destination_.Order(),
                                .begin = 0,
                                .end = destination_.width,
                                .destination = destination_.RowAddress(y)};
        if (SharesMemory(job)) {
            kernels::DrawRow(job);
            return;
        }
        // Up to `whole.begin` and from `whole.end` on, one column takes one half of the samples.
        const Columns touched = Within(offset_, offset_ + source.width + 1);
        const Columns whole =
            Within(offset_ + std::int64_t{1},
                   offset_ + (isMasked_ ? std::min(source.width, source.maskWidth) : source.width));
        if (source.above.pixels == nullptr && source.below.pixels == nullptr) {
            MakeOpaque(job, {0, destination_.width});
            return;
        }
        MakeOpaque(job, {0, touched.begin});
        DrawWhole(job, whole);
        DrawBorder(job, {touched.begin, std::min(whole.begin, touched.end)});
        DrawBorder(job, {std::max(whole.end, touched.begin), touched.end});
        MakeOpaque(job, {touched.end, destination_.width});
    }

  private:
    // Columns `begin` to before `end`.
    struct Columns {
        std::int64_t begin;
        std::int64_t end;
    };

    Columns Within(std::int64_t begin, std::int64_t end) const {
        const std::int64_t first = std::clamp<std::int64_t>(begin, 0, destination_.width);
        return {first, std::clamp(end, first, destination_.width)};
    }

    // Rows that share memory must be drawn from left to right, pixel by pixel.
    static bool SharesMemory(const kernels::RowDrawing& job) {
        const std::int64_t size = job.end * bytesPerPixelWord;
        const std::int64_t sourceSize = job.source.width * bytesPerPixelWord;
        const std::int64_t maskSize = job.source.maskWidth * bytesPerPixelWord;
        const auto sharesMemory = [&](const kernels::PixelRow& row) {
            return Overlaps(job.destination, size, row.pixels, sourceSize) ||
                   Overlaps(job.destination, size, row.mask, maskSize);
        };
        return sharesMemory(job.source.above) || sharesMemory(job.source.below);
    }

    static void MakeOpaque(const kernels::RowDrawing& job, Columns columns) {
        if (columns.begin >= columns.end) return;
        std::uint8_t* pixels = job.destination + columns.begin * bytesPerPixelWord;
        kernels::SelectedKernels().copyRow({.source = pixels,
                                            .sourceOrder = job.order,
                                            .destination = pixels,
                                            .order = job.order,
                                            .width = columns.end - columns.begin,
                                            .streams = false});
    }

    static void DrawBorder(kernels::RowDrawing job, Columns columns) {
        job.begin = columns.begin;
        job.end = columns.end;
        kernels::DrawRow(job);
    }

    void DrawWhole(kernels::RowDrawing job, Columns columns) const {
        if (columns.begin >= columns.end) return;
        job.begin = columns.begin;
        job.end = columns.end;
        const bool takesAll =
            job.source.above.pixels != nullptr && job.source.below.pixels != nullptr;
        if (takesAll && plain_) {
            kernels::SelectedKernels().drawPlainRow(job, *plain_);
        } else {
            kernels::SelectedKernels().drawWeightedRow(job, tables_);
        }
    }

    const PictureEditor& destination_;
    std::int32_t offset_;
    kernels::SampleWeights weights_;
    bool isMasked_;
    // For rows that take all four samples; the first and the last do not.
    std::optional<kernels::PlainWeights> plain_;
    kernels::WeightTables tables_;
};

}  // namespace

REALboolean DrawPictureF(REALpicture self, REALpicture pic, double x, double y, double alpha,
                         REALinteger yieldInterval) {
    if (self == nullptr) {
        // Deliberate: the picture drawn onto is the one that the message calls the source.
        RaiseException("NilObjectException", "source is nil");
        return 0;
    }
    if (pic == nullptr) {
        RaiseException("NilObjectException", "picture is nil");
        return 0;
    }

    const PictureReference mask(REALGetPictureMask(pic, 0));
    PictureEditor maskEditor;
    PictureEditor destination;
    PictureEditor source;
    // Deliberate: the mask is opened as if it were to be written, which it is not.
    if (mask && !maskEditor.GetPictureEditor(mask.get(), true, true)) return 0;
    if (!destination.GetPictureEditor(self, true, true)) return 0;
    if (!source.GetPictureEditor(pic, true, false)) return 0;

    const FractionalOffset left(x);
    const FractionalOffset top(y);
    const auto weights = WeightsAt(left.fraction, top.fraction, alpha);
    const DrawnPicture drawn(source, mask ? &maskEditor : nullptr);
    const RowPainter painter(destination, left.whole, weights, bool{mask});
    YieldData yielding{.interval = yieldInterval, .last = 0};
    yielding.Point();
    for (std::int64_t row = 0; row < destination.height; ++row) {
        const auto sourceRow = WrappingSubtract(static_cast<std::int32_t>(row), top.whole);
        painter.DrawRow(row, drawn.RowsAround(sourceRow));
        yielding.Point();
    }
    yielding.Point();
    return 1;
}

}  // namespace zvk
