// The method BlurZVK: a box blur, down the columns and then along the rows. It never raises; what
// cannot be done gives nil.
#include <algorithm>
#include <cstring>
#include <limits>

#include "bridge/buffer.h"
#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "bridge/picture_methods.h"
#include "bridge/yielding.h"
#include "kernels/arithmetic.h"
#include "kernels/box_blur.h"
#include "kernels/kernel_table.h"
#include "pixels/picture_editor.h"

namespace zvk {

namespace {

constexpr std::int64_t longestSide = 32767;

bool IsBlurrableSide(std::int64_t side) {
    return side >= 1 && side <= longestSide;
}

// Whether sums under a box of this radius stay within 32 bits, all multiples of 256 up to the box
// length included. Deliberate: a greater radius is no error but leaves the new picture as it is.
bool IsPossibleRadius(std::int32_t radius) {
    const std::int64_t boxLength = 2 * std::int64_t{radius} + 1;
    return 256 * boxLength + 256 <= std::numeric_limits<std::int32_t>::max();
}

// Puts the boxes around row 0 by adding rows some times each. The edge rows stand for all that lies
// beyond them.
template <typename AddRow>
void SumFirstBoxes(std::int32_t radius, std::int64_t height, AddRow addRow) {
    const std::int64_t inside = std::min<std::int64_t>(radius, height - 1);
    addRow(0, radius + 1);
    for (std::int64_t y = 1; y <= inside; ++y)
        addRow(y, 1);
    addRow(height - 1, static_cast<std::int32_t>(radius - inside));
}

// Whether the host has handed out a picture as large as was asked for, with memory of its own for
// each row, so that rows may be read and written in another order.
bool HasRowsOfItsOwn(const PictureWriter& destination, const PictureReader& source) {
    return destination.width == source.width && destination.height == source.height &&
           HasSeparateRows(destination) && !SharesPixels(source, destination);
}

// What a blur row by row works with: the radius, the sizes and how pixels are laid out. The
// destination's rows may be shorter than the source's.
struct BlurPlan {
    std::int32_t radius;
    std::int64_t width;
    std::int64_t writableWidth;
    ChannelOrder sourceOrder;
    ChannelOrder order;

    std::int32_t boxLength() const { return 2 * radius + 1; }
};

// The rows of the blur as they are defined. These serve pictures of any size and rows that share
// memory.
class DefinedRows {
  public:
    // False when out of memory.
    bool Allocate(const BlurPlan& plan) {
        red_ = AllocateZeroed<std::int32_t>(plan.width);
        green_ = AllocateZeroed<std::int32_t>(plan.width);
        blue_ = AllocateZeroed<std::int32_t>(plan.width);
        return red_ != nullptr && green_ != nullptr && blue_ != nullptr;
    }

    void Add(const BlurPlan& plan, const std::uint8_t* row, std::int32_t times) {
        kernels::AddToColumns(row, plan.sourceOrder, times, plan.width, Sums());
    }

    void BlurColumns(const BlurPlan& plan, const std::uint8_t* leaving,
                     const std::uint8_t* entering, std::uint8_t* destination) {
        kernels::WriteColumnMeans(Sums(), plan.boxLength(), plan.order, plan.writableWidth,
                                  destination);
        kernels::SlideColumns(leaving, entering, plan.sourceOrder, plan.width, Sums());
    }

    static void BlurRow(const BlurPlan& plan, const std::uint8_t* row, std::uint8_t* destination) {
        kernels::BlurRow(row, plan.sourceOrder, plan.width, plan.radius, plan.order,
                         plan.writableWidth, destination);
    }

  private:
    kernels::ColumnSums Sums() { return {red_.get(), green_.get(), blue_.get()}; }

    Buffer<std::int32_t> red_;
    Buffer<std::int32_t> green_;
    Buffer<std::int32_t> blue_;
};

// The same rows by the vector kernels, for destinations with rows of their own.
class VectorRows {
  public:
    bool Allocate(const BlurPlan& plan) {
        sums_ = AllocateZeroed<std::int32_t>(plan.width * bytesPerPixelWord);
        return sums_ != nullptr;
    }

    void Add(const BlurPlan& plan, const std::uint8_t* row, std::int32_t times) {
        kernels::SelectedKernels().addToLongSums(
            {.row = row, .times = times, .width = plan.width, .sums = sums_.get()});
    }

    void BlurColumns(const BlurPlan& plan, const std::uint8_t* leaving,
                     const std::uint8_t* entering, std::uint8_t* destination) {
        kernels::SelectedKernels().blurColumnsLong({.leaving = leaving,
                                                    .entering = entering,
                                                    .sums = sums_.get(),
                                                    .width = plan.width,
                                                    .boxLength = plan.boxLength(),
                                                    .sourceOrder = plan.sourceOrder,
                                                    .order = plan.order,
                                                    .destination = destination});
    }

    static void BlurRow(const BlurPlan& plan, const std::uint8_t* row, std::uint8_t* destination) {
        kernels::SelectedKernels().blurRowLong({.source = row,
                                                .sourceOrder = plan.sourceOrder,
                                                .width = plan.width,
                                                .radius = plan.radius,
                                                .order = plan.order,
                                                .destination = destination});
    }

  private:
    Buffer<std::int32_t> sums_;
};

// One blur from a source into a destination row by row, where the host may look in between.
template <typename Rows>
class RowwiseBlur {
  public:
    RowwiseBlur(const PictureReader& source, PictureWriter& destination, std::int32_t radius,
                YieldData& yielding)
        : source_(source),
          destination_(destination),
          plan_{.radius = radius,
                .width = source.width,
                .writableWidth = destination.WritableWidth(source.width),
                .sourceOrder = source.Order(),
                .order = destination.Order()},
          yielding_(yielding) {}

    // False if the radius is not possible or memory is short.
    bool Allocate() {
        if (!IsPossibleRadius(plan_.radius) || !rows_.Allocate(plan_)) return false;
        rowCopy_ = AllocateZeroed<std::uint8_t>(plan_.width * bytesPerPixelWord);
        return rowCopy_ != nullptr;
    }

    void Run() {
        yielding_.Point();
        BlurColumns();
        BlurRows();
    }

  private:
    void BlurColumns() {
        const std::int64_t height = source_.height;
        const std::int32_t radius = plan_.radius;
        SumFirstBoxes(radius, height, [this](std::int64_t y, std::int32_t times) {
            rows_.Add(plan_, source_.RowAddress(y), times);
        });
        for (std::int64_t y = 0; y < height; ++y) {
            const std::int64_t leaving = std::max<std::int64_t>(y - radius, 0);
            const std::int64_t entering = std::min(y + radius + 1, height - 1);
            rows_.BlurColumns(plan_, source_.RowAddress(leaving), source_.RowAddress(entering),
                              destination_.RowAddress(y));
            yielding_.Point();
        }
    }

    // In place. Deliberate: the copy of a row is decoded with the source's layout although the
    // destination's was used to write it; the two agree wherever hosts give both pictures one kind
    // of memory.
    void BlurRows() {
        for (std::int64_t y = 0; y < source_.height; ++y) {
            std::uint8_t* row = destination_.RowAddress(y);
            std::memcpy(rowCopy_.get(), row,
                        static_cast<std::size_t>(plan_.writableWidth * bytesPerPixelWord));
            rows_.BlurRow(plan_, rowCopy_.get(), row);
            yielding_.Point();
        }
    }

    const PictureReader& source_;
    PictureWriter& destination_;
    BlurPlan plan_;
    YieldData& yielding_;
    Rows rows_;
    Buffer<std::uint8_t> rowCopy_;
};

// The same blur four rows at a time, for when nobody looks in between and the sums fit 16 bits.
class BlockBlur {
  public:
    // The destination has rows of its own.
    BlockBlur(const PictureReader& source, PictureWriter& destination, std::int32_t radius)
        : source_(source),
          destination_(destination),
          radius_(radius),
          width_(source.width),
          height_(source.height) {}

    // Whether sums fit 16 bits.
    static bool Serves(std::int32_t radius) {
        constexpr std::int32_t greatestRadius = 128;
        return radius <= greatestRadius && kernels::Quotient::Exists(2 * radius + 1);
    }

    // False when out of memory.
    bool Allocate() {
        constexpr std::int64_t group = 4;
        const std::int64_t paddedWidth = (width_ + group - 1) / group * group;
        sums_ = AllocateZeroed<std::uint16_t>(paddedWidth * bytesPerPixelWord);
        block_ = AllocateZeroed<std::uint8_t>(paddedWidth * kernels::blockColumnBytes);
        return sums_ != nullptr && block_ != nullptr;
    }

    void Run() {
        SumFirstBoxes(radius_, height_,
                      [this](std::int64_t y, std::int32_t times) { AddRow(y, times); });
        for (std::int64_t y = 0; y < height_; y += kernels::blurRowsAtOnce) {
            BlurColumns(y);
            BlurRows(y);
        }
    }

  private:
    const std::uint8_t* SourceRow(std::int64_t y) const {
        return source_.RowAddress(std::clamp<std::int64_t>(y, 0, height_ - 1));
    }

    void AddRow(std::int64_t y, std::int32_t times) {
        kernels::SelectedKernels().addToColumnSums(
            {.row = SourceRow(y), .times = times, .width = width_, .sums = sums_.get()});
    }

    void BlurColumns(std::int64_t y) {
        kernels::ColumnBlurring job{.leaving = {},
                                    .entering = {},
                                    .ahead = {},
                                    .sums = sums_.get(),
                                    .width = width_,
                                    .quotient = kernels::Quotient::By(2 * radius_ + 1),
                                    .sourceOrder = source_.Order(),
                                    .order = destination_.Order(),
                                    .block = block_.get()};
        for (int row = 0; row < kernels::blurRowsAtOnce; ++row) {
            job.leaving[row] = SourceRow(y + row - radius_);
            job.entering[row] = SourceRow(y + row + radius_ + 1);
            job.ahead[row] = SourceRow(y + row + radius_ + 1 + kernels::blurRowsAtOnce);
        }
        kernels::SelectedKernels().blurColumns(job);
    }

    // Deliberate: the block is read with the source's layout although it was written with the
    // destination's, as the blur's definition has it.
    void BlurRows(std::int64_t y) {
        const std::int64_t rowCount = std::min<std::int64_t>(kernels::blurRowsAtOnce, height_ - y);
        kernels::RowBlurring job{.block = block_.get(),
                                 .sourceWidth = width_,
                                 .radius = radius_,
                                 .quotient = kernels::Quotient::By(2 * radius_ + 1),
                                 .sourceOrder = source_.Order(),
                                 .order = destination_.Order(),
                                 .width = width_,
                                 .rowCount = static_cast<std::int32_t>(rowCount),
                                 .streams = destination_.IsBeyondCaches(),
                                 .destinations = {}};
        for (int row = 0; row < kernels::blurRowsAtOnce; ++row) {
            job.destinations[row] = destination_.RowAddress(std::min(y + row, height_ - 1));
        }
        kernels::SelectedKernels().blurRows(job);
    }

    const PictureReader& source_;
    PictureWriter& destination_;
    std::int32_t radius_;
    std::int64_t width_;
    std::int64_t height_;
    Buffer<std::uint16_t> sums_;
    Buffer<std::uint8_t> block_;
};

// Blurs the source into the destination, or leaves that as it is where memory is short or the
// radius too great.
void Blur(const PictureReader& source, PictureWriter& destination, std::int32_t radius,
          YieldData& yielding) {
    const auto run = [](auto&& blur) {
        if (blur.Allocate()) blur.Run();
    };
    if (!HasRowsOfItsOwn(destination, source)) {
        run(RowwiseBlur<DefinedRows>(source, destination, radius, yielding));
    } else if (yielding.interval == 0 && BlockBlur::Serves(radius)) {
        run(BlockBlur(source, destination, radius));
    } else {
        run(RowwiseBlur<VectorRows>(source, destination, radius, yielding));
    }
}

// Creates a picture of the given size and attaches `destination` to it. Deliberate: it never has an
// alpha channel, whatever the source has.
bool AttachNewPicture(PictureWriter& destination, std::int64_t width, std::int64_t height) {
    const PictureReference created(REALNewPicture(width, height, 32));
    return created && destination.GetPictureEditor(created.get(), false, true);
}

}  // namespace

REALpicture BlurZVK(REALpicture self, double radius, REALinteger yieldInterval) {
    const std::int32_t wholeRadius = TruncateToInt32(radius);
    if (wholeRadius < 1) return self == nullptr ? nullptr : AddReference(self);

    PictureReader source;
    if (!source.GetPictureEditor(self, true, false)) return nullptr;
    if (!IsBlurrableSide(source.width) || !IsBlurrableSide(source.height)) return nullptr;
    PictureWriter destination;
    if (!AttachNewPicture(destination, source.width, source.height)) return nullptr;

    YieldData yielding{.interval = yieldInterval, .last = 0};
    Blur(source, destination, wholeRadius, yielding);
    yielding.Point();
    return destination.RenderPictureWriter();
}

}  // namespace zvk
