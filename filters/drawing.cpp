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

// The picture that is drawn, and its mask.
class DrawnPicture {
  public:
    // `mask` is null where the picture has none.
    DrawnPicture(const PictureEditor& picture, const PictureEditor* mask)
        : picture_(picture), mask_(mask) {}

    bool IsMasked() const { return mask_ != nullptr; }

    // What holds for every row, without the rows themselves.
    kernels::SourceRows WithoutRows() const {
        return {.above = {},
                .below = {},
                .order = picture_.Order(),
                .width = picture_.width,
                .maskByte = mask_ == nullptr ? std::uint8_t{0} : mask_->Order().red,
                .maskWidth = mask_ == nullptr || mask_->height < 1 ? 0 : mask_->width};
    }

    kernels::PixelRow RowAt(std::int32_t row) const {
        if (row < 0 || row >= picture_.height) return {.pixels = nullptr, .mask = nullptr};
        // A mask of lesser height repeats its first row, as the row rule has it.
        return {.pixels = picture_.RowAddress(row),
                .mask = mask_ == nullptr ? nullptr : mask_->RowAddress(row)};
    }

    std::int64_t Height() const { return picture_.height; }
    std::optional<std::int64_t> RowStep() const { return zvk::RowStep(picture_); }
    // The mask may still share its memory.
    bool LiesApartFrom(const PictureEditor& other) const { return LieApart(picture_, other); }

  private:
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
// whole sets of samples, and the ends between them, each the fastest way that gives the
// definition's bytes.
class RowPainter {
  public:
    // With `mayJoinRows` nothing happens between one row and the next.
    RowPainter(const PictureEditor& destination, const DrawnPicture& drawn, std::int32_t left,
               std::int32_t top, const kernels::SampleWeights& weights, bool mayJoinRows)
        : destination_(destination),
          drawn_(drawn),
          top_(top),
          job_{.source = drawn.WithoutRows(),
               .offset = left,
               .weights = weights,
               .order = destination.Order(),
               .begin = 0,
               .end = 0,
               .destination = nullptr},
          kernels_(kernels::SelectedKernels()) {
        const std::int64_t sourceWidth = job_.source.width;
        touched_ = Within(left, left + sourceWidth + 1);
        whole_ = Within(
            left + std::int64_t{1},
            left + (drawn.IsMasked() ? std::min(sourceWidth, job_.source.maskWidth) : sourceWidth));
        tables_.Fill(weights, drawn.IsMasked());
        if (!drawn.IsMasked()) plain_.emplace(weights);
        if (mayJoinRows && DrawsAllByPlainWeights()) JoinRows();
    }

    // Draws row `y`, and rows below it that are drawn alike; says how many.
    std::int64_t DrawFrom(std::int64_t y) {
        run_.count = joinsRows_ ? RowsAlike(y) : 1;
        const auto row = WrappingSubtract(static_cast<std::int32_t>(y), top_);
        job_.source.above = drawn_.RowAt(WrappingSubtract<std::int32_t>(row, 1));
        job_.source.below = drawn_.RowAt(row);
        job_.destination = destination_.RowAddress(y);
        const bool takesAny =
            job_.source.above.pixels != nullptr || job_.source.below.pixels != nullptr;
        if (SharesMemory()) {
            DrawAsDefined({.begin = 0, .end = destination_.width});
        } else if (!takesAny) {
            MakeOpaque({.begin = 0, .end = destination_.width});
        } else {
            MakeOpaque({.begin = 0, .end = touched_.begin});
            DrawTouched();
            MakeOpaque({.begin = touched_.end, .end = destination_.width});
        }
        return run_.count;
    }

  private:
    // Columns `begin` to before `end`; none where the end is not behind the beginning.
    struct Columns {
        std::int64_t begin;
        std::int64_t end;

        bool AreNone() const { return begin >= end; }
    };

    Columns Within(std::int64_t begin, std::int64_t end) const {
        const std::int64_t first = std::clamp<std::int64_t>(begin, 0, destination_.width);
        return {.begin = first, .end = std::clamp(end, first, destination_.width)};
    }

    bool DrawsAllByPlainWeights() const {
        return plain_ && plain_->withBoth && plain_->withBoth->leftRest &&
               plain_->withBoth->rightRest && job_.source.width > 0;
    }

    // Joins rows if they are evenly spaced and share no memory. Pictures beside each other in one
    // buffer do without: comparing their rows would take longer than joining saves.
    void JoinRows() {
        const auto sourceStep = drawn_.RowStep();
        const auto destinationStep = RowStep(destination_);
        if (!sourceStep || !destinationStep) return;
        run_.sourceStep = *sourceStep;
        run_.destinationStep = *destinationStep;
        joinsRows_ = HasSeparateRows(destination_) && drawn_.LiesApartFrom(destination_);
    }

    // How many rows from `y` on take samples from as many rows.
    std::int64_t RowsAlike(std::int64_t y) const {
        const std::int64_t first = top_;
        const std::int64_t last = first + drawn_.Height();
        for (const std::int64_t next : {first, first + 1, last, last + 1}) {
            if (next > y) return std::min(next, destination_.height) - y;
        }
        return destination_.height - y;
    }

    // The weights of the rows in work.
    const kernels::PlainWeights* PlainWeights() const {
        if (!plain_) return nullptr;
        const auto& weights = job_.source.above.pixels == nullptr   ? plain_->withBelow
                              : job_.source.below.pixels == nullptr ? plain_->withAbove
                                                                    : plain_->withBoth;
        return weights ? &*weights : nullptr;
    }

    // Rows that share memory must be drawn from left to right, pixel by pixel.
    bool SharesMemory() const {
        const std::int64_t size = destination_.width * bytesPerPixelWord;
        const std::int64_t sourceSize = job_.source.width * bytesPerPixelWord;
        const std::int64_t maskSize = job_.source.maskWidth * bytesPerPixelWord;
        const auto sharesMemory = [&](const kernels::PixelRow& row) {
            return Overlaps(job_.destination, size, row.pixels, sourceSize) ||
                   Overlaps(job_.destination, size, row.mask, maskSize);
        };
        return sharesMemory(job_.source.above) || sharesMemory(job_.source.below);
    }

    void MakeOpaque(Columns columns) const {
        if (columns.AreNone()) return;
        kernels_.makeRowsOpaque({.pixels = job_.destination + columns.begin * bytesPerPixelWord,
                                 .order = job_.order,
                                 .width = columns.end - columns.begin,
                                 .rowCount = run_.count,
                                 .rowStep = run_.destinationStep});
    }

    // Up to the first whole set, and behind the last one.
    Columns LeftEnd() const {
        return {.begin = touched_.begin, .end = std::min(whole_.begin, touched_.end)};
    }
    Columns RightEnd() const {
        return {.begin = std::max(whole_.end, touched_.begin), .end = touched_.end};
    }

    Columns SelectColumns(Columns columns) {
        job_.begin = columns.begin;
        job_.end = columns.end;
        return columns;
    }

    void DrawAsDefined(Columns columns) {
        SelectColumns(columns);
        kernels::DrawRow(job_);
    }

    void DrawTouched() {
        const kernels::PlainWeights* const weights = PlainWeights();
        // Without columns there are no ends to take from, though one column is touched.
        if (weights != nullptr && job_.source.width > 0) {
            DrawPlain(*weights);
        } else {
            DrawWeighted();
        }
    }

    // A row that is not there is replaced by the other one, whose samples then weigh nothing.
    void DrawPlain(const kernels::PlainWeights& weights) {
        if (!weights.leftRest) DrawAsDefined(LeftEnd());
        if (!weights.rightRest) DrawAsDefined(RightEnd());
        if (job_.source.above.pixels == nullptr) job_.source.above = job_.source.below;
        if (job_.source.below.pixels == nullptr) job_.source.below = job_.source.above;
        const Columns columns{.begin = weights.leftRest ? touched_.begin : whole_.begin,
                              .end = weights.rightRest ? touched_.end : whole_.end};
        if (!SelectColumns(columns).AreNone()) kernels_.drawPlainRows(job_, weights, run_);
    }

    void DrawWeighted() {
        if (!SelectColumns(whole_).AreNone()) kernels_.drawWeightedRow(job_, tables_);
        DrawAsDefined(LeftEnd());
        DrawAsDefined(RightEnd());
    }

    const PictureEditor& destination_;
    const DrawnPicture& drawn_;
    std::int32_t top_;
    // The first of the rows in work, and the columns; all else holds for the whole picture.
    kernels::RowDrawing job_;
    kernels::RowRun run_{.count = 1, .sourceStep = 0, .destinationStep = 0};
    bool joinsRows_ = false;
    // The columns that take anything, and those that take whole sets of samples.
    Columns touched_{};
    Columns whole_{};
    const kernels::KernelTable& kernels_;
    // Nothing where there is a mask.
    std::optional<kernels::PlainRows> plain_;
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
    RowPainter painter(destination, drawn, left.whole, top.whole, weights, yieldInterval == 0);
    YieldData yielding{.interval = yieldInterval, .last = 0};
    yielding.Point();
    for (std::int64_t row = 0; row < destination.height;) {
        row += painter.DrawFrom(row);
        yielding.Point();
    }
    yielding.Point();
    return 1;
}

}  // namespace zvk
