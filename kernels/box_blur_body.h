// The vector body of the blur, compiled once per instruction set.
//
// Exactness: whole numbers throughout. Sums of a box whose bytes add up to less than 2^16 are held
// in 16 bits; what leaves and enters is exact in them even where it wraps in between. Quotients are
// exact by the condition that `Quotient` states.
#pragma once

#include "kernels/blur_blocks.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

template <typename Words>
class ColumnBlurrer {
  public:
    explicit ColumnBlurrer(const ColumnBlurring& job)
        : job_(job),
          divide_(job.quotient),
          arrange_(job.sourceOrder, job.order),
          isArranged_(job.sourceOrder == job.order) {}

    void Run() const {
        std::int64_t x = 0;
        for (; x + pixelsPerGroup <= job_.width; x += pixelsPerGroup) {
            BlurGroup(x, [](const std::uint8_t* pixels) { return Sse2::LoadAll(pixels); });
        }
        const auto rest = static_cast<std::size_t>((job_.width - x) * bytesPerPixelWord);
        if (rest == 0) return;
        BlurGroup(x, [rest](const std::uint8_t* pixels) {
            std::uint8_t bytes[Sse2::byteCount] = {};
            __builtin_memcpy(bytes, pixels, rest);
            return Sse2::LoadAll(bytes);
        });
    }

  private:
    static constexpr std::int64_t pixelsPerGroup = 4;

    template <typename LoadPixels>
    void BlurGroup(std::int64_t x, LoadPixels loadPixels) const {
        const std::int64_t offset = x * bytesPerPixelWord;
        Words sums = Words::Load(job_.sums + offset);
        __m128i rows[blurRowsAtOnce];
        for (int row = 0; row < blurRowsAtOnce; ++row) {
            // The fourth byte of a block means nothing.
            const __m128i means = divide_(sums).ToBytes();
            rows[row] = isArranged_ ? means : arrange_(means);
            const auto leaving = Words::FromBytes(loadPixels(job_.leaving[row] + offset));
            const auto entering = Words::FromBytes(loadPixels(job_.entering[row] + offset));
            sums = sums + (entering - leaving);
        }
        sums.Store(job_.sums + offset);
        __m128i columns[pixelsPerGroup];
        Sse2::Transpose(rows, columns);
        for (int column = 0; column < pixelsPerGroup; ++column)
            Sse2::StoreAll(job_.block + (x + column) * blockColumnBytes, columns[column]);
    }

    // Copied: through a reference, its fields would be read again after every byte that is stored.
    const ColumnBlurring job_;
    typename Words::Divider divide_;
    typename Words::Arrangement arrange_;
    bool isArranged_;
};

template <typename Words>
class RowBlurrer {
  public:
    explicit RowBlurrer(const RowBlurring& job)
        : job_(job), divide_(job.quotient), arrange_(job.sourceOrder, job.order) {}

    void Run() {
        sums_ = FirstBox();
        // Where the box lies inside the row its ends need no clamping.
        const std::int64_t inside = Least(job_.radius, job_.width);
        const std::int64_t insideEnd = Least(job_.sourceWidth - job_.radius - 1, job_.width);
        const auto clamped = [this](std::int64_t x) { return Clamped(x); };
        const auto unclamped = [this](std::int64_t x) { return ColumnAt(x - job_.radius); };
        std::int64_t x = WriteColumns(0, inside, clamped);
        x = WriteColumns(x, insideEnd, unclamped);
        WriteColumns(x, job_.width, clamped);
        if (job_.streams) EndStream();
    }

  private:
    // The pixels that leave and enter a box.
    struct Ends {
        const std::uint8_t* leaving;
        const std::uint8_t* entering;
    };

    static std::int64_t Least(std::int64_t left, std::int64_t right) {
        return left < right ? left : right;
    }

    const std::uint8_t* Column(std::int64_t x) const { return job_.block + x * blockColumnBytes; }

    Ends Clamped(std::int64_t x) const {
        const std::int64_t last = job_.sourceWidth - 1;
        const std::int64_t leaving = x - job_.radius;
        return {Column(leaving < 0 ? 0 : leaving), Column(Least(x + job_.radius + 1, last))};
    }

    Ends ColumnAt(std::int64_t leaving) const {
        const std::uint8_t* column = Column(leaving);
        return {column, column + (2 * std::int64_t{job_.radius} + 1) * blockColumnBytes};
    }

    static Words Load(const std::uint8_t* column) {
        return Words::FromBytes(Sse2::LoadAll(column));
    }

    // The sums of the box around the first column; its edge stands for all that lies beyond.
    Words FirstBox() const {
        const std::int64_t last = job_.sourceWidth - 1;
        const std::int64_t inside = Least(job_.radius, last);
        Words sums = Load(Column(0)).Times(job_.radius + 1);
        for (std::int64_t x = 1; x <= inside; ++x)
            sums = sums + Load(Column(x));
        const auto beyond = static_cast<std::int32_t>(job_.radius - inside);
        return sums + Load(Column(last)).Times(beyond);
    }

    // Writes the columns from `x` to before `end`, if there are any; returns the next one.
    template <typename EndsAt>
    [[gnu::always_inline]] std::int64_t WriteColumns(std::int64_t x, std::int64_t end,
                                                     EndsAt endsAt) {
        constexpr int group = 4;
        for (; x + group <= end; x += group) {
            const __m128i columns[group] = {Step(endsAt(x)), Step(endsAt(x + 1)),
                                            Step(endsAt(x + 2)), Step(endsAt(x + 3))};
            __m128i rows[blurRowsAtOnce];
            Sse2::Transpose(columns, rows);
            for (int row = 0; row < job_.rowCount; ++row) {
                std::uint8_t* const place = job_.destinations[row] + x * bytesPerPixelWord;
                job_.streams ? Sse2::Stream(place, rows[row]) : Sse2::StoreAll(place, rows[row]);
            }
        }
        for (; x < end; ++x) {
            alignas(16) std::uint8_t pixels[blockColumnBytes];
            Sse2::StoreAll(pixels, Step(endsAt(x)));
            for (int row = 0; row < job_.rowCount; ++row) {
                __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord,
                                 pixels + row * bytesPerPixelWord, bytesPerPixelWord);
            }
        }
        return x;
    }

    // The means of the box, which then moves on.
    __m128i Step(const Ends& ends) {
        const __m128i means = arrange_(divide_(sums_).ToBytes());
        sums_ = sums_ + (Load(ends.entering) - Load(ends.leaving));
        return means;
    }

    const RowBlurring job_;  // copied, as above
    typename Words::Divider divide_;
    typename Words::Arrangement arrange_;
    Words sums_{};
};

inline void AddRowToColumnSums(const ColumnSumming& job) {
    const auto times = static_cast<std::uint16_t>(job.times);
    for (std::int64_t index = 0; index < job.width * bytesPerPixelWord; ++index) {
        job.sums[index] = static_cast<std::uint16_t>(job.sums[index] + times * job.row[index]);
    }
}

template <typename Words>
void BlurColumnsInVectors(const ColumnBlurring& job) {
    ColumnBlurrer<Words>(job).Run();
}

template <typename Words>
void BlurRowsInVectors(const RowBlurring& job) {
    RowBlurrer<Words>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
