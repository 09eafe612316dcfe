// Smooth enlargement: two taps per axis with the weights of a smoothstep.
#include <algorithm>
#include <cmath>

#include "bridge/buffer.h"
#include "bridge/host_reference.h"
#include "bridge/yielding.h"
#include "kernels/kernel_table.h"
#include "pixels/picture_editor.h"
#include "scaling/picture_scaling.h"

namespace zvk {

namespace {

// For every destination coordinate of one axis, the source coordinate at or before it and the
// weights of the two samples around it.
//
// Cubic interpolation with sharpness 0 in Keys' family ("Cubic Convolution Interpolation for
// Digital Image Processing", 1981). Deliberate: with that sharpness the outer two of the four taps
// weigh exactly 0 and the inner two blend by 3 t^2 - 2 t^3.
class InterpolationAxis {
  public:
    // False when out of memory.
    bool Allocate(std::int64_t sourceLength, std::int64_t length) {
        sourceLength_ = sourceLength;
        length_ = length;
        indices_ = AllocateZeroed<std::int32_t>(length);
        weights_ = AllocateZeroed<float>(2 * length);
        return indices_ != nullptr && weights_ != nullptr;
    }

    void FillIndices() const {
        ForEachSample([this](std::int64_t i, std::int64_t index, std::int64_t /*remainder*/) {
            indices_[i] = static_cast<std::int32_t>(index);
        });
    }

    void FillWeights() const {
        ForEachSample([this](std::int64_t i, std::int64_t /*index*/, std::int64_t remainder) {
            const float t = static_cast<float>(remainder) / static_cast<float>(length_);
            const float threeSquares = (t * 3.0F) * t;
            const float twoCubes = ((2.0F * t) * t) * t;
            weights_[i] = (twoCubes - threeSquares) + 1.0F;
            weights_[length_ + i] = threeSquares - twoCubes;
        });
    }

    // How many coordinates each source coordinate becomes, if that is the same for all: indices and
    // weights then repeat, since i * source mod length does.
    std::int64_t Factor() const {
        return length_ % sourceLength_ == 0 ? length_ / sourceLength_ : 0;
    }

    // Whether coordinates repeat after a whole factor, with weights that are multiples of
    // 1 / denominator, give or take `error`.
    bool HasDenominator(double denominator, double error) const {
        const auto isMultiple = [=](float weight) {
            const double scaled = double{weight} * denominator;
            return std::fabs(scaled - std::nearbyint(scaled)) <= error * denominator;
        };
        const std::int64_t factor = Factor();
        return factor > 0 && std::all_of(nearWeights(), nearWeights() + factor, isMultiple) &&
               std::all_of(farWeights(), farWeights() + factor, isMultiple);
    }

    const std::int32_t* indices() const { return indices_.get(); }
    const float* nearWeights() const { return weights_.get(); }
    const float* farWeights() const { return weights_.get() + length_; }

  private:
    // Calls `fill` with every coordinate i, i * source div length and i * source mod length, which
    // it finds from those before.
    template <typename Fill>
    void ForEachSample(Fill fill) const {
        std::int64_t index = 0;
        std::int64_t remainder = 0;
        for (std::int64_t i = 0; i < length_; ++i) {
            fill(i, index, remainder);
            index += sourceLength_ / length_;
            remainder += sourceLength_ % length_;
            if (remainder < length_) continue;
            remainder -= length_;
            ++index;
        }
    }

    std::int64_t sourceLength_ = 0;
    std::int64_t length_ = 0;
    Buffer<std::int32_t> indices_;
    Buffer<float> weights_;
};

// Whether no rounding of products or sums decides a byte, so that they may be formed in any way.
//
// With multiples of 1/32 along both axes, as factors of 2 and 4 have them, nothing is rounded at
// all: a byte times two weights has 18 bits. With multiples of 1/27, as a factor of 3 has them,
// means are multiples of 1/729, and so at least 1/1458 away from where the byte changes. Weights
// that are off by 2^-24 move them by less than 4 * 255 * 2^-24 = 6.1e-5, and seven roundings of
// numbers below 256 by less than 7 * 2^-17 = 5.4e-5.
bool AnyRoundingWillDo(const InterpolationAxis& columns, const InterpolationAxis& rows) {
    constexpr double powerOfTwo = 32.0;
    constexpr double powerOfThree = 27.0;
    constexpr double closeEnough = 0x1p-24;
    const auto bothHave = [&](double denominator, double error) {
        return columns.HasDenominator(denominator, error) &&
               rows.HasDenominator(denominator, error);
    };
    return bothHave(powerOfTwo, 0.0) || bothHave(powerOfThree, closeEnough);
}

class Enlargement {
  public:
    Enlargement(const PictureReader& reader, std::int64_t width, std::int64_t height)
        : reader_(reader), width_(width), height_(height) {}

    // False where there is nothing to enlarge or no memory for the work.
    bool Allocate() {
        if (reader_.width < 1 || reader_.height < 1) return false;
        line_ = AllocateZeroed<float>((reader_.width + kernels::linePadding) * bytesPerPixelWord);
        return columns_.Allocate(reader_.width, width_) &&
               rows_.Allocate(reader_.height, height_) && line_ != nullptr;
    }

    void Run(const PictureWriter& writer) {
        columns_.FillIndices();
        rows_.FillIndices();
        columns_.FillWeights();
        yield.Point();
        rows_.FillWeights();
        mayFuse_ = AnyRoundingWillDo(columns_, rows_);
        yield.Point();
        // What follows needs no more tables; hosts expect a yield here all the same.
        yield.Point();
        if (yield.interval == 0 && HasSeparateRows(writer) && !SharesPixels(reader_, writer)) {
            // Nobody sees which byte of a pixel is written first.
            for (std::int64_t y = 0; y < height_; ++y)
                EnlargeRow(writer, y, 0xFFFFFFFF);
            return;
        }
        for (int byte = 0; byte < bytesPerPixelWord; ++byte) {
            for (std::int64_t y = 0; y < height_; ++y) {
                EnlargeRow(writer, y, 0xFFU << (8 * byte));
                yield.Point();
            }
        }
    }

  private:
    // Writes the bytes of row `y` that the mask names.
    void EnlargeRow(const PictureWriter& writer, std::int64_t y, std::uint32_t byteMask) {
        const std::int64_t nearRow = rows_.indices()[y];
        const std::int64_t farRow = std::min(nearRow + 1, reader_.height - 1);
        const kernels::KernelTable& kernels = kernels::SelectedKernels();
        kernels.interpolateRows({.nearRow = reader_.RowAddress(nearRow),
                                 .farRow = reader_.RowAddress(farRow),
                                 .nearWeight = rows_.nearWeights()[y],
                                 .farWeight = rows_.farWeights()[y],
                                 .width = reader_.width,
                                 .line = line_.get()});
        kernels.interpolateColumns({.line = line_.get(),
                                    .lineWidth = reader_.width,
                                    .indices = columns_.indices(),
                                    .nearWeights = columns_.nearWeights(),
                                    .farWeights = columns_.farWeights(),
                                    .width = writer.WritableWidth(width_),
                                    .factor = columns_.Factor(),
                                    .mayFuse = mayFuse_,
                                    .byteMask = byteMask,
                                    .destination = writer.RowAddress(y),
                                    .streams = writer.IsBeyondCaches()});
    }

    const PictureReader& reader_;
    std::int64_t width_;
    std::int64_t height_;
    InterpolationAxis columns_;
    InterpolationAxis rows_;
    Buffer<float> line_;
    bool mayFuse_ = false;
};

}  // namespace

REALpicture ScalePictureNiceBigger(REALpicture picture, std::int64_t width, std::int64_t height) {
    PictureReader reader;
    if (!reader.GetPictureEditor(picture, true, false)) return nullptr;
    PictureWriter writer;
    if (!writer.NewPictureWriter(reader, width, height)) return nullptr;
    Enlargement enlargement(reader, width, height);
    if (!enlargement.Allocate()) return nullptr;
    enlargement.Run(writer);
    return writer.RenderPictureWriter();
}

}  // namespace zvk
