// The method ScalingZVK: two-pass resampling with one of seven filters, always along the rows
// first. It never raises; what cannot be done gives nil.
#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "bridge/buffer.h"
#include "bridge/host_reference.h"
#include "bridge/picture_methods.h"
#include "bridge/yielding.h"
#include "kernels/kernel_table.h"
#include "pixels/picture_editor.h"
#include "scaling/contributions.h"
#include "scaling/resample_filters.h"
#include "scaling/resample_passes.h"

namespace zvk {

namespace {

// Whether the image between the passes can be made at all. Deliberate: where its size in bytes is
// a multiple of 2^32 there is none, however much memory there is. The height is an attached
// picture's, which has at most 31 bits.
bool IsPossibleIntermediate(std::int64_t width, std::int64_t height) {
    if (width > std::numeric_limits<std::int32_t>::max()) return false;
    return (std::uint64_t{bytesPerPixelWord} * static_cast<std::uint64_t>(width) *
                static_cast<std::uint64_t>(height) &
            0xFFFFFFFFU) != 0;
}

// Pixels between the passes, in the reader's order.
class IntermediateImage {
  public:
    // Makes room for `rowCount` rows of `width` black pixels; false when out of memory.
    bool Allocate(std::int64_t width, std::int64_t rowCount) {
        const std::int64_t stride = width * bytesPerPixelWord;
        if (rowCount > (std::numeric_limits<std::int64_t>::max() - kernels::rowPadding) / stride) {
            return false;
        }
        pixels_ = AllocateZeroed<std::uint8_t>(stride * rowCount + kernels::rowPadding);
        rows_ = {.places = pixels_.get(),
                 .stride = stride,
                 .capacity = static_cast<std::int32_t>(rowCount)};
        return pixels_ != nullptr;
    }

    const kernels::PixelRows& rows() const { return rows_; }

  private:
    Buffer<std::uint8_t> pixels_;
    kernels::PixelRows rows_{};
};

// The tables and both passes, for one filter.
template <typename Filter>
class ResampleEngine {
  public:
    ResampleEngine(PictureReader& reader, std::int64_t width, std::int64_t height,
                   YieldData& yielding)
        : reader_(reader), width_(width), height_(height), yielding_(yielding) {}

    // Makes the picture in `result`, which stays empty if it cannot be created. False if the call
    // ends at once for want of memory. The reader is released either way by the caller.
    bool Run(PictureWriter& writer, PictureReference& result) {
        if (height_ > std::numeric_limits<std::int32_t>::max()) return false;
        if (!IsPossibleIntermediate(width_, reader_.height)) return false;
        Outcome outcome = Outcome::NotServed;
        if (yielding_.interval == 0) outcome = RunAtOnce(writer);
        if (outcome == Outcome::NotServed) outcome = RunBetweenYields(writer);
        if (outcome == Outcome::OutOfMemory) return false;
        if (writer.picture == nullptr) return true;
        yielding_.Point();
        result = PictureReference(writer.RenderPictureWriter());
        yielding_.Point();
        return true;
    }

  private:
    enum class Outcome : std::uint8_t {
        Done,         // also where the picture could not be created
        OutOfMemory,  // the call ends at once
        NotServed,    // only the other way leads on
    };

    // The whole of each pass between the points where the host may look.
    Outcome RunBetweenYields(PictureWriter& writer) {
        if (!intermediate_.Allocate(width_, reader_.height) || !rowTable_.Allocate(width_)) {
            return Outcome::OutOfMemory;
        }
        yielding_.Point();
        const auto rowLists =
            ComputeContributions<Filter, Axis::Horizontal>(reader_.width, rowTable_, width_);
        yielding_.Point();
        RowPass(reader_, rowLists).Run(0, reader_.height, intermediate_.rows());
        rowTable_.Clear();
        yielding_.Point();
        // The array of the row pass serves again unless it is too short.
        if (height_ > width_ && !rowTable_.Allocate(height_)) return Outcome::OutOfMemory;
        const auto columnLists =
            ComputeContributions<Filter, Axis::Vertical>(reader_.height, rowTable_, height_);
        yielding_.Point();
        if (writer.picture == nullptr && !writer.NewPictureWriter(reader_, width_, height_)) {
            return Outcome::Done;
        }
        ColumnPass columnPass(reader_, columnLists, width_);
        for (std::int64_t y = 0; y < height_; ++y) {
            columnPass.WriteRow(y, intermediate_.rows(), width_, writer);
            yielding_.Point();
        }
        return Outcome::Done;
    }

    // Nobody looks: rows are resampled just before they are blended, so that few are kept and stay
    // in the cache. It needs memory of its own, and a picture whose rows share none with each
    // other or with the source; without them the other way serves, which must not fail for it.
    Outcome RunAtOnce(PictureWriter& writer) {
        if (Filter::keepsPixels && width_ == reader_.width && height_ == reader_.height) {
            return RunCopy(writer);
        }
        if (!rowTable_.Allocate(width_)) return Outcome::OutOfMemory;
        if (!columnTable_.Allocate(height_)) {
            return height_ > width_ ? Outcome::OutOfMemory : Outcome::NotServed;
        }
        if (!writer.NewPictureWriter(reader_, width_, height_)) return Outcome::Done;
        if (SharesPixels(reader_, writer) || !HasSeparateRows(writer)) return Outcome::NotServed;
        const auto rowLists =
            ComputeContributions<Filter, Axis::Horizontal>(reader_.width, rowTable_, width_);
        const auto columnLists =
            ComputeContributions<Filter, Axis::Vertical>(reader_.height, columnTable_, height_);
        RowPass rowPass(reader_, rowLists);
        ColumnPass columnPass(reader_, columnLists, width_);
        if (!intermediate_.Allocate(width_, columnPass.RowsAtHand(reader_.height))) {
            return Outcome::NotServed;
        }
        const bool needsNoRows = rowPass.CanWriteTo(writer);
        std::int64_t done = 0;
        for (std::int64_t y = 0; y < height_;) {
            if (needsNoRows && columnPass.CopiedRow(y)) {
                y += WriteCopied(y, rowPass, columnPass, writer);
                continue;
            }
            const RowRange needed = columnPass.RowsFor(y);
            if (needed.last > done) {
                const std::int64_t first = std::max(done, needed.first);
                done = std::min(RoundUp(needed.last - first) + first, reader_.height);
                rowPass.Run(first, done, intermediate_.rows());
            }
            y += columnPass.WriteRows(y, intermediate_.rows(), width_, writer);
        }
        return Outcome::Done;
    }

    // Writes rows of the result that have the bytes of one row between the passes each, from `y` on
    // and as many as are done at once; returns how many.
    std::int64_t WriteCopied(std::int64_t y, const RowPass& rowPass, const ColumnPass& columnPass,
                             const PictureWriter& writer) const {
        std::array<std::int32_t, kernels::rowsAveraged> sources{};
        std::size_t count = 0;
        for (std::int64_t end = y; end < height_ && count < sources.size(); ++end) {
            const auto source = columnPass.CopiedRow(end);
            if (!source) break;
            sources[count++] = *source;
        }
        rowPass.Write(std::span(sources).first(count), y, writer);
        return static_cast<std::int64_t>(count);
    }

    // Every pixel gives its own bytes, so that no tables are needed.
    Outcome RunCopy(PictureWriter& writer) {
        if (!writer.NewPictureWriter(reader_, width_, height_)) return Outcome::Done;
        if (SharesPixels(reader_, writer)) return Outcome::NotServed;
        for (std::int64_t y = 0; y < height_; ++y)
            CopyRow(y, reader_.RowAddress(y), reader_.Order(), width_, writer);
        return Outcome::Done;
    }

    // Rows are resampled in blocks.
    static std::int64_t RoundUp(std::int64_t rowCount) {
        const std::int64_t block = kernels::RowsAtOnce(kernels::SelectedKernels().rowLayout);
        return (rowCount + block - 1) / block * block;
    }

    PictureReader& reader_;
    std::int64_t width_;
    std::int64_t height_;
    YieldData& yielding_;
    IntermediateImage intermediate_;
    ContributionTable rowTable_;
    ContributionTable columnTable_;
};

template <typename Filter>
bool Resample(PictureReader& reader, std::int64_t width, std::int64_t height, YieldData& yielding,
              PictureWriter& writer, PictureReference& result) {
    return ResampleEngine<Filter>(reader, width, height, yielding).Run(writer, result);
}

// The resamplers of modes 1 to 7, in order.
constexpr std::array resamplers = {
    Resample<TriangleFilter>, Resample<BoxFilter>,      Resample<Lanczos3Filter>,
    Resample<Lanczos8Filter>, Resample<MitchellFilter>, Resample<BicubicFilter>,
    Resample<Cubic6Filter>,
};

}  // namespace

REALpicture PictureScalingZVK(REALpicture picture, REALinteger mode, REALinteger width,
                              REALinteger height, REALinteger yieldInterval) {
    if (width <= 0 || picture == nullptr || height <= 0) return nullptr;
    if (mode < 1 || mode > static_cast<REALinteger>(resamplers.size())) return nullptr;
    const auto resample = resamplers[static_cast<std::size_t>(mode - 1)];

    YieldData yielding{.interval = yieldInterval, .last = 0};
    PictureReference result;
    PictureWriter writer;
    {
        PictureReader reader;
        if (!reader.GetPictureEditor(picture, true, false)) return nullptr;
        if (!resample(reader, width, height, yielding, writer, result)) return nullptr;
    }
    yielding.Point();
    return result.Release();
}

}  // namespace zvk
