// The vector body of smooth enlargement's two steps for vectors whose numbers can be permuted: the
// line is kept as four planes, one for each byte of the pixels.
//
// Exactness: as in interpolation_body.h. Products by 1 and by 0 may be left out, since numbers are
// finite and not negative.
#pragma once

#include "kernels/interpolation.h"
#include "kernels/kernel_table.h"

namespace zvk::kernels {
namespace {

// The planes of a line of `width` pixels, one for each byte, with room for a vector behind each.
template <typename Number>
class PlanesOf {
  public:
    PlanesOf(Number* line, std::int64_t width) : line_(line), stride_(width + linePadding) {}

    Number* operator[](int byte) const { return line_ + byte * stride_; }

  private:
    Number* line_;
    std::int64_t stride_;
};

// The weighted sum of two numbers, to be truncated to a rounded byte.
template <typename Simd, typename Floats = typename Simd::Floats>
Floats BlendRounded(Floats nearNumbers, Floats nearWeights, Floats farNumbers, Floats farWeights) {
    const Floats nearPart = Simd::Multiply(nearNumbers, nearWeights);
    const Floats farPart = Simd::Multiply(farNumbers, farWeights);
    return Simd::Add(Simd::Add(Simd::Broadcast(0.5F), nearPart), farPart);
}

template <typename Simd>
class PlaneWriter {
  public:
    explicit PlaneWriter(const RowInterpolation& job)
        : job_(job),
          planes_(job.line, job.width),
          nearWeight_(Simd::Broadcast(job.nearWeight)),
          farWeight_(Simd::Broadcast(job.farWeight)) {}

    void Run() const {
        // On a row of the source the line is that row.
        if (job_.nearWeight == 1.0F && job_.farWeight == 0.0F) {
            ForEachVector([this](std::int64_t x, auto load) { CopyPixels(x, load(job_.nearRow)); });
        } else {
            ForEachVector([this](std::int64_t x, auto load) {
                BlendPixels(x, load(job_.nearRow), load(job_.farRow));
            });
        }
        // The pixel behind the last is the last.
        for (int byte = 0; byte < bytesPerPixelWord; ++byte) {
            float* const behind = planes_[byte] + job_.width;
            *behind = *(behind - 1);
        }
    }

  private:
    using Bytes = typename Simd::Bytes;

    // Calls `write` with each place in the line where a vector of pixels begins, and with what
    // loads the pixels there from a row.
    template <typename Write>
    void ForEachVector(Write write) const {
        std::int64_t x = 0;
        for (; x + Simd::floatCount <= job_.width; x += Simd::floatCount) {
            const std::int64_t offset = x * bytesPerPixelWord;
            write(x, [=](const std::uint8_t* row) { return Simd::LoadAll(row + offset); });
        }
        if (x < job_.width)
            write(x, [this, x](const std::uint8_t* row) { return LoadRest(row, x); });
    }

    Bytes LoadRest(const std::uint8_t* row, std::int64_t x) const {
        std::uint8_t bytes[Simd::byteCount] = {};
        __builtin_memcpy(bytes, row + x * bytesPerPixelWord,
                         static_cast<std::size_t>((job_.width - x) * bytesPerPixelWord));
        return Simd::LoadAll(bytes);
    }

    void CopyPixels(std::int64_t x, Bytes pixels) const {
        for (int byte = 0; byte < bytesPerPixelWord; ++byte)
            Simd::Store(planes_[byte] + x, Simd::Channel(pixels, byte));
    }

    void BlendPixels(std::int64_t x, Bytes nearPixels, Bytes farPixels) const {
        for (int byte = 0; byte < bytesPerPixelWord; ++byte) {
            const auto nearPart = Simd::Multiply(Simd::Channel(nearPixels, byte), nearWeight_);
            const auto farPart = Simd::Multiply(Simd::Channel(farPixels, byte), farWeight_);
            Simd::Store(planes_[byte] + x, Simd::Add(nearPart, farPart));
        }
    }

    const RowInterpolation job_;
    PlanesOf<float> planes_;
    typename Simd::Floats nearWeight_;
    typename Simd::Floats farWeight_;
};

template <typename Simd>
class PlaneReader {
  public:
    // The job is copied: through a reference, each of its fields would be read again after every
    // byte that is stored.
    explicit PlaneReader(const ColumnInterpolation& job)
        : job_(job), planes_(job.line, job.lineWidth) {}

    void Run() const {
        if (job_.width < Simd::floatCount) {
            for (std::int64_t x = 0; x < job_.width; ++x)
                WritePixel(x);
            return;
        }
        std::int64_t x = 0;
        for (; x + Simd::floatCount <= job_.width; x += Simd::floatCount)
            WritePixels(x);
        // The last vector goes back over pixels that have been written; they come out the same.
        if (x < job_.width) WritePixels(job_.width - Simd::floatCount);
    }

  private:
    using Floats = typename Simd::Floats;

    void WritePixels(std::int64_t x) const {
        const std::int32_t* const indices = job_.indices + x;
        const typename Simd::NeighbourPicker picker(indices);
        const Floats nearWeights = Simd::Load(job_.nearWeights + x);
        const Floats farWeights = Simd::Load(job_.farWeights + x);
        Floats channels[bytesPerPixelWord];
        for (int byte = 0; byte < bytesPerPixelWord; ++byte) {
            Floats nearNumbers;
            Floats farNumbers;
            picker.Pick(planes_[byte], nearNumbers, farNumbers);
            channels[byte] = BlendRounded<Simd>(nearNumbers, nearWeights, farNumbers, farWeights);
        }
        std::uint8_t* destination = job_.destination + x * bytesPerPixelWord;
        auto pixels = Simd::Interleave(channels);
        if (job_.byteMask != 0xFFFFFFFF)
            pixels = Simd::Select(job_.byteMask, pixels, Simd::LoadAll(destination));
        Simd::StoreAll(destination, pixels);
    }

    // One pixel, for rows that are shorter than a vector.
    void WritePixel(std::int64_t x) const {
        float pixels[2 * bytesPerPixelWord];
        for (int byte = 0; byte < bytesPerPixelWord; ++byte) {
            pixels[byte] = planes_[byte][job_.indices[x]];
            pixels[bytesPerPixelWord + byte] = planes_[byte][job_.indices[x] + 1];
        }
        const std::int32_t first = 0;
        InterpolateColumns({.line = pixels,
                            .lineWidth = 1,
                            .indices = &first,
                            .nearWeights = job_.nearWeights + x,
                            .farWeights = job_.farWeights + x,
                            .width = 1,
                            .factor = 0,
                            .mayFuse = false,
                            .byteMask = job_.byteMask,
                            .destination = job_.destination + x * bytesPerPixelWord,
                            .streams = false});
    }

    const ColumnInterpolation job_;
    PlanesOf<const float> planes_;
};

template <typename Simd>
void InterpolateRowsToPlanes(const RowInterpolation& job) {
    PlaneWriter<Simd>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
