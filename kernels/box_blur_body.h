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
        : job_(job), divide_(job.quotient), arrange_(job.sourceOrder, job.order) {}

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
            rows[row] = arrange_(divide_(sums).ToBytes());
            const auto leaving = Words::FromBytes(loadPixels(job_.leaving[row] + offset));
            const auto entering = Words::FromBytes(loadPixels(job_.entering[row] + offset));
            sums = sums + (entering - leaving);
        }
        sums.Store(job_.sums + offset);
        StoreTransposed(rows, job_.block + x * blockColumnBytes);
    }

    // From four pixels of each row to a pixel of each row for four columns.
    static void StoreTransposed(const __m128i (&rows)[4], std::uint8_t* block) {
        const __m128i low01 = _mm_unpacklo_epi32(rows[0], rows[1]);
        const __m128i low23 = _mm_unpacklo_epi32(rows[2], rows[3]);
        const __m128i high01 = _mm_unpackhi_epi32(rows[0], rows[1]);
        const __m128i high23 = _mm_unpackhi_epi32(rows[2], rows[3]);
        Sse2::StoreAll(block, _mm_unpacklo_epi64(low01, low23));
        Sse2::StoreAll(block + 16, _mm_unpackhi_epi64(low01, low23));
        Sse2::StoreAll(block + 32, _mm_unpacklo_epi64(high01, high23));
        Sse2::StoreAll(block + 48, _mm_unpackhi_epi64(high01, high23));
    }

    const ColumnBlurring& job_;
    typename Words::Divider divide_;
    typename Words::Arrangement arrange_;
};

template <typename Words>
class RowBlurrer {
  public:
    explicit RowBlurrer(const RowBlurring& job)
        : job_(job), divide_(job.quotient), arrange_(job.sourceOrder, job.order) {}

    void Run() const {
        Words sums = FirstBox();
        std::int64_t x = 0;
        // Where the box lies inside the row its ends need no clamping.
        const std::int64_t inside = Least(job_.radius, job_.width);
        const std::int64_t insideEnd = Least(job_.sourceWidth - job_.radius - 1, job_.width);
        for (; x < inside; ++x)
            sums = Step(sums, x, Clamped(x));
        for (; x < insideEnd; ++x)
            sums = Step(sums, x, ColumnAt(x - job_.radius));
        for (; x < job_.width; ++x)
            sums = Step(sums, x, Clamped(x));
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

    Words Step(Words sums, std::int64_t x, const Ends& ends) const {
        alignas(16) std::uint8_t pixels[blockColumnBytes];
        Sse2::StoreAll(pixels, arrange_(divide_(sums).ToBytes()));
        for (int row = 0; row < job_.rowCount; ++row) {
            __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord,
                             pixels + row * bytesPerPixelWord, bytesPerPixelWord);
        }
        return sums + (Load(ends.entering) - Load(ends.leaving));
    }

    const RowBlurring& job_;
    typename Words::Divider divide_;
    typename Words::Arrangement arrange_;
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
