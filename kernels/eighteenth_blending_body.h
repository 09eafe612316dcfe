// The vector body of the pass down the columns for lists of 1/18, 16/18 and 1/18, which are those
// of the Mitchell filter where a picture keeps its height; compiled once per instruction set.
//
// Exactness: one in eighteen sums of whole multiples is an exact half, which only the roundings of
// the definition's products decide. So its products are formed, in single precision, and added up
// without any more rounding. With 1/18 they are whole in units of 2^-27, but for that of 1, which
// is odd in units of 2^-28; with 16/18, the same number times sixteen, they are sixteen times as
// much.
//
// Let b be the middle one as with 1/18, and a and c the others. The three lowest bits of their sum
// are below any half and may go: floor((16 b + a + c) / 8) = 2 b + floor((a + c) / 8), since 2 b is
// whole. Of a and c the whole parts will do: fractions are halves, and two of them only come with
// two products of 1.
#pragma once

#include <utility>

#include "kernels/column_vectors.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

inline constexpr float eighteenth = 1.0F / 18.0F;
inline constexpr float eighteenthInUnits = eighteenth * 0x1p27F;

// A half in the sums, which are in units of 2^-24.
inline constexpr std::int32_t halfInSums = 1 << 23;

// The product of a byte and 1/18, rounded as the definition rounds it, in units of 2^-27.
constexpr double EighteenthOf(int byte) {
    return double{static_cast<float>(byte) * eighteenthInUnits};
}

constexpr std::int64_t WholeEighteenthOf(int byte) {
    return static_cast<std::int64_t>(EighteenthOf(byte));
}

// What the exactness of the sums rests upon.
consteval bool EighteenthsAddUp() {
    for (int byte = 0; byte <= 255; ++byte) {
        const double product = EighteenthOf(byte);
        const double surplus = product - static_cast<double>(WholeEighteenthOf(byte));
        if (surplus != (byte == 1 ? 0.5 : 0.0)) return false;
        if (byte != 1 && WholeEighteenthOf(byte) == WholeEighteenthOf(1)) return false;
    }
    const std::int64_t greatest = WholeEighteenthOf(255);
    const std::int64_t twoOnes = WholeEighteenthOf(1) + WholeEighteenthOf(1);
    return greatest < std::int64_t{1} << 31 && (twoOnes + 1) / 8 == twoOnes / 8 &&
           2 * greatest + (greatest + greatest) / 8 + halfInSums < std::int64_t{1} << 32;
}
static_assert(EighteenthsAddUp());

// Whether each of a job's lists is such a one, and begins one row below the one before it. Other
// weights are 0.
template <int rowCount>
bool AreInEighteenths(const ColumnBlending& job) {
    for (int row = 0; row < rowCount; ++row) {
        const BoundedList& list = job.lists[row];
        if (list.decision != Decision::InTwoSums || list.count != rowCount + 2) return false;
        for (int tap = 0; tap < list.count; ++tap) {
            const float weight = tap == row || tap == row + 2 ? eighteenth
                                 : tap == row + 1             ? 16 * eighteenth
                                                              : 0.0F;
            if (list.weights[tap] != weight) return false;
        }
    }
    return true;
}

template <typename Simd, typename Reader, int rowCount>
class EighteenthBlender {
  public:
    explicit EighteenthBlender(const ColumnBlending& job)
        : job_(job), reader_(job), asWritten_(job.order) {
        for (int tap = 0; tap < tapCount; ++tap)
            rows_[tap] = reader_.rows().Row(job.lists->first + tap);
    }

    void Run() const {
        ForEachPart<Simd>(
            job_, [this](std::int64_t offset, auto store)
                      __attribute__((always_inline)) { this->Blend(offset, store); });
    }

  private:
    using Bytes = typename Simd::Bytes;
    static constexpr int tapCount = rowCount + 2;

    template <typename Store>
    [[gnu::always_inline]] void Blend(std::int64_t offset, Store store) const {
        Bytes means[rowCount][colourCount];
        Repeat<colourCount>([&](auto colour) {
            Bytes products[tapCount];
            Repeat<tapCount>([&](auto tap) {
                const auto numbers = reader_.Load(Reader::PlaceIn(rows_[tap], offset), colour);
                products[tap] =
                    Simd::ToNumbers(Simd::Multiply(numbers, Simd::Broadcast(eighteenthInUnits)));
            });
            Repeat<rowCount>([&](auto row) {
                means[row][colour] = Mean(products[row], products[row + 1], products[row + 2]);
            });
        });
        Repeat<rowCount>([&](auto row) __attribute__((always_inline)) {
            const auto& colours = means[row];
            store(row,
                  asWritten_(Simd::PackNumbers({colours[0], colours[1], colours[2], colours[2]})));
        });
    }

    // The rounded mean of three rows, of which the whole parts of products with 1/18 are given.
    static Bytes Mean(Bytes above, Bytes own, Bytes below) {
        const Bytes one = Simd::Repeat32(static_cast<std::int32_t>(WholeEighteenthOf(1)));
        const Bytes half = Simd::Repeat32(halfInSums);
        const Bytes outer = Simd::template ShiftNumbers<3>(Simd::AddNumbers(above, below));
        // Twice the product of 1 is one more than twice its whole part.
        const Bytes twice = Simd::AddOneWhereEqual(Simd::AddNumbers(own, own), own, one);
        const Bytes sum = Simd::AddNumbers(Simd::AddNumbers(outer, half), twice);
        return Simd::template ShiftNumbers<24>(sum);
    }

    const ColumnBlending& job_;
    Reader reader_;
    decltype(std::declval<const Reader&>().rows().Row(0)) rows_[tapCount];
    typename Simd::ColourArrangement asWritten_;
};

}  // namespace
}  // namespace zvk::kernels
