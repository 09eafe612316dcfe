// The vector body of the blur, compiled once per instruction set.
//
// Exactness: whole numbers throughout. Sums of a box whose bytes add up to less than 2^16 are held
// in 16 bits; what leaves and enters is exact in them even where it wraps in between. Quotients are
// exact by the condition that `Quotient` states.
#pragma once

#include "kernels/blur_blocks.h"
#include "kernels/prefetching.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Four pixels of each of four sets, one pixel of each set side by side.
template <typename Words>
struct Transposed {
    using Pixels = typename Words::Pixels;

    // The first ones in the lower half, the third ones in the upper one; then the others.
    Pixels even;
    Pixels odd;

    explicit Transposed(const Words (&sets)[4])
        : Transposed(Words::Pack(sets[0], sets[1]), Words::Pack(sets[2], sets[3])) {}

    template <typename Arrangement>
    void Arrange(const Arrangement& arrange) {
        even = arrange(even);
        odd = arrange(odd);
    }

    // Calls `store` with each place and the pixels there.
    template <typename Store>
    void ForEach(Store store) const {
        store(0, Words::Lower(even));
        store(1, Words::Lower(odd));
        store(2, Words::Upper(even));
        store(3, Words::Upper(odd));
    }

  private:
    Transposed(Pixels left, Pixels right)
        : even(Words::template EverySecond<0>(left, right)),
          odd(Words::template EverySecond<1>(left, right)) {}
};

template <typename Words, typename Reach>
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
            FetchAhead(x);
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

    // Requests one of the rows ahead, in turn: all of them by the time that a cache line is done.
    void FetchAhead(std::int64_t x) const {
        static_assert(blurRowsAtOnce * pixelsPerGroup * bytesPerPixelWord == cacheLine);
        Reach::Request(job_.ahead[x / pixelsPerGroup % blurRowsAtOnce] + x * bytesPerPixelWord);
    }

    template <typename LoadPixels>
    void BlurGroup(std::int64_t x, LoadPixels loadPixels) const {
        const std::int64_t offset = x * bytesPerPixelWord;
        Words sums = Words::Load(job_.sums + offset);
        Words means[blurRowsAtOnce];
        for (int row = 0; row < blurRowsAtOnce; ++row) {
            means[row] = divide_(sums);
            const auto leaving = Words::FromBytes(loadPixels(job_.leaving[row] + offset));
            const auto entering = Words::FromBytes(loadPixels(job_.entering[row] + offset));
            sums = sums + (entering - leaving);
        }
        sums.Store(job_.sums + offset);
        Transposed columns(means);
        // The fourth byte of a block means nothing.
        if (!isArranged_) columns.Arrange(arrange_);
        columns.ForEach([&](int column, __m128i pixels) {
            Sse2::StoreAll(job_.block + (x + column) * blockColumnBytes, pixels);
        });
    }

    // Copied: through a reference, its fields would be read again after every byte that is stored.
    const ColumnBlurring job_;
    typename Words::Divider divide_;
    typename Words::PixelArrangement arrange_;
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
            const Words means[group] = {Step(endsAt(x)), Step(endsAt(x + 1)), Step(endsAt(x + 2)),
                                        Step(endsAt(x + 3))};
            ForEachRow(means, [&](int row, __m128i pixels) {
                std::uint8_t* const place = job_.destinations[row] + x * bytesPerPixelWord;
                job_.streams ? Sse2::Stream(place, pixels) : Sse2::StoreAll(place, pixels);
            });
        }
        for (; x < end; ++x) {
            const Words means[group] = {Step(endsAt(x))};
            ForEachRow(means, [&](int row, __m128i pixels) {
                const int first = _mm_cvtsi128_si32(pixels);
                __builtin_memcpy(job_.destinations[row] + x * bytesPerPixelWord, &first,
                                 sizeof first);
            });
        }
        return x;
    }

    // Calls `store` with the pixels of every row that is to be written.
    template <typename Store>
    void ForEachRow(const Words (&columns)[4], Store store) const {
        Transposed rows(columns);
        rows.Arrange(arrange_);
        rows.ForEach([&](int row, __m128i pixels) {
            if (row < job_.rowCount) store(row, pixels);
        });
    }

    // The means of the box, which then moves on.
    Words Step(const Ends& ends) {
        const Words means = divide_(sums_);
        sums_ = sums_ + (Load(ends.entering) - Load(ends.leaving));
        return means;
    }

    const RowBlurring job_;  // copied, as above
    typename Words::Divider divide_;
    typename Words::PixelArrangement arrange_;
    Words sums_{};
};

inline void AddRowToColumnSums(const ColumnSumming& job) {
    const auto times = static_cast<std::uint16_t>(job.times);
    for (std::int64_t index = 0; index < job.width * bytesPerPixelWord; ++index) {
        job.sums[index] = static_cast<std::uint16_t>(job.sums[index] + times * job.row[index]);
    }
}

template <typename Words, typename Reach>
void BlurColumnsInVectors(const ColumnBlurring& job) {
    ColumnBlurrer<Words, Reach>(job).Run();
}

template <typename Words>
void BlurRowsInVectors(const RowBlurring& job) {
    RowBlurrer<Words>(job).Run();
}

}  // namespace
}  // namespace zvk::kernels
