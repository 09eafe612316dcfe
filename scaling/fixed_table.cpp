// Fixed-point weights and their bounds.
//
// Let w be a list's weights, W their sum, x = w / W, A = sum |x|, n the number of weights and c the
// channels, which are at most 255. The definition truncates v = sum(c w) / W + 0.5, formed in
// double; its roundings, and those of x here, stay below e = (n + 8) 2^-52 (255 A + 1).
//
// The coarse digit of x is the nearest multiple q of 2^-shift, and r = x - q is known exactly. So
// v lies between sum(c q) + 0.5 + 255 sum(min(r, 0)) - e and sum(c q) + 0.5 + 255 sum(max(r, 0)) +
// e. The fine digit is the nearest multiple of 2^-(shift + fineShift) to r, and what it leaves
// bounds v in the same way. Digits are chosen so short that no sum of products reaches 2^31.
//
// As words, a coarse digit of more than 16 bits is low + 2^16 high with a signed low part. No low
// part is greater than its digit, and so no 2^16 high greater than twice that: sums of either stay
// below 2^31 where those of the digits stay below 2^30, and the bounds look at the whole digit
// alone. As bytes, a coarse digit is low + 2^8 middle + 2^16 high with signed bytes; their sums are
// put together modulo 2^32, so that it is enough if those of whole digits stay below 2^31, both
// ends of the interval included. Those of digits before rounding stay 2^23 below it; rounding adds
// 255 n / 2 at most, the bias 2^22 and as much, the slack as much: less than 2^23 with n up to
// 8192.
#include "scaling/fixed_table.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <numeric>

#include "kernels/resampling.h"
#include "scaling/contributions.h"

namespace zvk {

namespace {

using kernels::FixedList;

constexpr double greatestChannel = 255.0;
constexpr double greatestMagnitude = 64.0;
constexpr std::int64_t longestFixed = 8192;

// The nearest whole number, within 32 bits.
std::int32_t RoundToNearest(double value) {
    return static_cast<std::int32_t>(value + std::copysign(0.5, value));
}

// The sum of the magnitudes of normalised weights, and the greatest of them.
struct Magnitudes {
    double sum = 0.0;
    double greatest = 0.0;

    explicit Magnitudes(const ContributionList& list) {
        for (const Contribution& entry : EntriesOf(list)) {
            const double magnitude = std::fabs(double{entry.weight} / list.weightSum);
            sum += magnitude;
            greatest = std::max(greatest, magnitude);
        }
    }
};

// What a shift must be reduced by for sums of magnitudes of 1 and more.
int ExponentOf(const Magnitudes& magnitudes) {
    int exponent = 0;
    std::frexp(magnitudes.sum, &exponent);
    return std::max(exponent, 0);
}

// The longest shift up to this one with which no digit is greater than that.
int ReduceShift(int shift, const Magnitudes& magnitudes, double greatestDigit) {
    while (std::ldexp(magnitudes.greatest, shift) > greatestDigit)
        --shift;
    return shift;
}

// What all remainders of one sign can add up to.
struct Remainders {
    double below = 0.0;
    double above = 0.0;

    // Without branches: signs follow no pattern.
    void Add(double remainder) {
        const double magnitude = std::fabs(remainder);
        below += greatestChannel / 2.0 * (remainder - magnitude);
        above += greatestChannel / 2.0 * (remainder + magnitude);
    }

    bool AreZero() const { return below == 0.0 && above == 0.0; }
};

// An interval of whole numbers that holds [remainders.below - error, remainders.above + error].
struct WholeInterval {
    std::int32_t begin;
    std::int32_t length;

    WholeInterval(const Remainders& remainders, double error)
        : begin(static_cast<std::int32_t>(std::floor(remainders.below - error))),
          length(static_cast<std::int32_t>(std::ceil(remainders.above + error)) - begin) {}
};

// Chooses the bounds of the coarse digit. `error` is in its units.
void SetCoarseBounds(FixedList& fixed, const Remainders& remainders, double error) {
    const ContributionList& exact = *fixed.exact;
    const std::int32_t half = 1 << (fixed.shift - 1);
    // Nothing is rounded: not by the digits, and so neither by the definition, whose sums are short
    // multiples of a power of two.
    if (remainders.AreZero() && IsPowerOfTwo(exact.weightSum)) {
        fixed.bias = half;
        fixed.slack = 0;
        return;
    }
    // Half a step above the value, where nothing reaches the next multiple.
    const double step = std::ldexp(0.5 / exact.count, fixed.shift);
    const double reach = std::max(remainders.above, -remainders.below) + error + 1.0;
    if (reach < step / 2 && IsPlainMean(exact)) {
        fixed.bias = half + static_cast<std::int32_t>(step / 2);
        fixed.slack = 0;
        return;
    }
    // Where means keep away from halves by more than either value lies from them.
    if (reach < std::ldexp(DistanceFromHalves(exact), fixed.shift)) {
        fixed.bias = half;
        fixed.slack = 0;
        return;
    }
    const WholeInterval interval(remainders, error);
    fixed.bias = half + interval.begin;
    fixed.slack = interval.length;
}

// Nothing is settled where the weights do not normalise to numbers of a reasonable size or are too
// many: both intervals hold several bytes.
void LeaveOpen(FixedList& fixed) {
    fixed.first = 0;
    fixed.count = 0;
    fixed.shift = 8;
    fixed.slack = 1 << 16;
    fixed.fineShift = 0;
    fixed.fineSlack = 1 << 16;
}

// Where the digits of a list lie and how they are chosen for kernels that multiply words.
class WordDigits {
  public:
    static constexpr kernels::RowLayout layout = kernels::RowLayout::Words;
    static constexpr std::int64_t bytesPerWeight = 3 * sizeof(std::int16_t);

    // For `count` weights, all zeros so far.
    WordDigits(std::uint8_t* memory, std::int32_t count)
        : low_(reinterpret_cast<std::int16_t*>(memory)),
          fine_(low_ + count),
          high_(fine_ + count) {}

    // The longest shift for which coarse digits have 16 bits, or the shortest with which a list is
    // seldom open where that is longer, as far as sums of channels times digits stay below 2^30.
    static int ShiftFor(const ContributionList& list, const Magnitudes& magnitudes) {
        constexpr int longestShift = 21;
        constexpr double greatestDigit = 32767.0;
        const int longest = longestShift - ExponentOf(magnitudes);
        return std::max(ReduceShift(longest, magnitudes, greatestDigit),
                        std::min(longest, SeldomOpenShift(list.count)));
    }

    // With it, sums of channels times fine digits, at most half of 2^fineShift, stay below 2^31.
    static int FineShiftFor(std::int32_t count) {
        constexpr std::int32_t longestWithFullDigit = 512;
        constexpr int fullFineShift = 15;
        constexpr int shortFineShift = 11;
        return count <= longestWithFullDigit ? fullFineShift : shortFineShift;
    }

    // Stores a weight's coarse digit in two parts, of which the low one is signed, and the fine.
    void Store(std::int32_t place, std::int32_t coarse, std::int32_t fine) const {
        constexpr std::int32_t unit = 1 << kernels::highDigitShift;
        const std::int32_t high = (coarse + unit / 2) >> kernels::highDigitShift;
        high_[place] = static_cast<std::int16_t>(high);
        low_[place] = static_cast<std::int16_t>(coarse - high * unit);
        fine_[place] = static_cast<std::int16_t>(fine);
    }

    // Has a list name its digits.
    void NameIn(FixedList& fixed) const {
        fixed.low = low_;
        fixed.fine = fine_;
        fixed.high = high_ + fixed.highFirst;
    }

    bool HasHigh(std::int32_t place) const { return high_[place] != 0; }

  private:
    // The shortest shift with which a list is seldom open: for a third of the pixels, of eight rows
    // of noise each. Remainders are a quarter on average, channels at most 255, and there are 24
    // colours.
    static int SeldomOpenShift(std::int32_t count) {
        constexpr double colours = 24.0;
        constexpr double seldom = 0.35;
        const double slack = 0.25 * greatestChannel * count;
        int exponent = 0;
        std::frexp(slack * colours / seldom, &exponent);
        return exponent;
    }

    std::int16_t* low_;
    std::int16_t* fine_;
    std::int16_t* high_;
};

// The same for kernels that multiply bytes.
class ByteDigits {
  public:
    static constexpr kernels::RowLayout layout = kernels::RowLayout::Bytes;
    static constexpr std::int64_t bytesPerWeight =
        sizeof(kernels::WeightBytes) / kernels::weightsPerGroup;

    ByteDigits(std::uint8_t* memory, std::int32_t count)
        : bytes_(reinterpret_cast<kernels::WeightBytes*>(memory)), count_(count) {}

    // The longest shift for which coarse digits are three signed bytes and sums of channels times
    // digits stay below 2^31, or the shortest with which all weights are whole.
    static int ShiftFor(const ContributionList& list, const Magnitudes& magnitudes) {
        constexpr int longestShift = 23;
        constexpr double greatestDigit = 0x7F7F7F;
        const int longest =
            ReduceShift(longestShift - ExponentOf(magnitudes), magnitudes, greatestDigit);
        return ShortestWholeShift(list, longest);
    }

    // With it, fine digits are at most half of 2^7, which a byte holds with either sign.
    static int FineShiftFor(std::int32_t /*count*/) { return 7; }

    void Store(std::int32_t place, std::int32_t coarse, std::int32_t fine) const {
        constexpr std::int32_t unit = 1 << 8;
        const std::int32_t upper = (coarse + unit / 2) >> 8;
        const std::int32_t high = (upper + unit / 2) >> 8;
        kernels::WeightBytes& bytes = bytes_[place / kernels::weightsPerGroup];
        const std::int32_t index = place % kernels::weightsPerGroup;
        bytes.low[index] = static_cast<std::int8_t>(coarse - upper * unit);
        bytes.middle[index] = static_cast<std::int8_t>(upper - high * unit);
        bytes.high[index] = static_cast<std::int8_t>(high);
        bytes.fine[index] = static_cast<std::int8_t>(fine);
    }

    void NameIn(FixedList& fixed) const {
        fixed.bytes = bytes_;
        fixed.hasLowBytes = std::all_of(bytes_, bytes_ + count_ / kernels::weightsPerGroup,
                                        [](const kernels::WeightBytes& four) {
                                            return AreZero(four.middle) && AreZero(four.high);
                                        });
    }

    bool HasHigh(std::int32_t place) const {
        return bytes_[place / kernels::weightsPerGroup].high[place % kernels::weightsPerGroup] != 0;
    }

  private:
    static bool AreZero(const std::int8_t (&bytes)[kernels::weightsPerGroup]) {
        return std::all_of(std::begin(bytes), std::end(bytes), [](auto byte) { return byte == 0; });
    }

    // The shortest shift with which all of a list's normalised weights are whole, or the longest.
    static int ShortestWholeShift(const ContributionList& list, int longest) {
        if (!IsPowerOfTwo(list.weightSum)) return longest;
        std::uint32_t bits = std::uint32_t{1} << static_cast<std::uint32_t>(longest - 1);
        for (const Contribution& entry : EntriesOf(list)) {
            const double scaled = std::ldexp(double{entry.weight} / list.weightSum, longest);
            const auto whole = static_cast<std::int32_t>(scaled);
            if (whole != scaled) return longest;
            bits |= static_cast<std::uint32_t>(whole);
        }
        return longest - std::countr_zero(bits);
    }

    kernels::WeightBytes* bytes_;
    std::int32_t count_;
};

// Has a list name the groups of weights from the first to the last that has a high part.
template <typename Digits>
void SetHighDigits(FixedList& fixed, const Digits& digits) {
    constexpr std::int32_t group = kernels::PixelsAtOnce(Digits::layout);
    const auto hasHigh = [&](std::int32_t first) {
        for (std::int32_t place = first; place < first + group; ++place) {
            if (digits.HasHigh(place)) return true;
        }
        return false;
    };
    std::int32_t first = 0;
    std::int32_t end = fixed.count;
    while (first < end && !hasHigh(first))
        first += group;
    while (end > first && !hasHigh(end - group))
        end -= group;
    fixed.highFirst = first;
    fixed.highCount = end - first;
}

// The sum of half the weights of a list that is its own mirror image within `count` pixels from
// `first` on; else 0. Like all sums of the list's products it is exact.
double MirroredHalf(const ContributionList& list, std::int32_t first, std::int32_t count) {
    double sum = 0.0;
    for (std::int32_t index = 0; index < list.count / 2; ++index) {
        const Contribution& entry = list.entries[index];
        const Contribution& image = list.entries[list.count - 1 - index];
        if (entry.weight != image.weight) return 0.0;
        if (entry.pixel - first != first + count - 1 - image.pixel) return 0.0;
        sum += entry.weight;
    }
    return list.count % 2 == 0 ? sum : 0.0;
}

// Whether sums s of pixels and their mirror images give (s + addend) / 2, all of them.
bool HalvesSums(double half, float weightSum, std::int32_t addend) {
    constexpr std::int32_t greatestSum = 2 * 255;
    for (std::int32_t sum = 0; sum <= greatestSum; ++sum) {
        if (kernels::MeanOf(sum * half, weightSum) != (sum + addend) / 2) return false;
    }
    return true;
}

// How a list halves the sums of pixels and their mirror images, if that is all that it does.
std::int32_t MirroredOf(const ContributionList& list, std::int32_t first, std::int32_t count) {
    if (!AddsExactly(list)) return kernels::notMirrored;
    const double half = MirroredHalf(list, first, count);
    if (half == 0.0) return kernels::notMirrored;
    for (const std::int32_t addend : {0, 1}) {
        if (HalvesSums(half, list.weightSum, addend)) return addend;
    }
    return kernels::notMirrored;
}

// Chooses the digits and bounds of a list whose place is known.
template <typename Digits>
void FillDigits(FixedList& fixed, std::int32_t lead, const Digits& digits) {
    const ContributionList& exact = *fixed.exact;
    fixed.shift = 1;
    fixed.addsExactly = AddsExactly(exact);
    fixed.mirrored = kernels::notMirrored;
    if (exact.count == 0) return;
    const Magnitudes magnitudes(exact);
    if (!(magnitudes.sum <= greatestMagnitude) || fixed.count == 0) {
        LeaveOpen(fixed);
        return;
    }
    fixed.shift = Digits::ShiftFor(exact, magnitudes);
    fixed.fineShift = Digits::FineShiftFor(fixed.count);
    Remainders belowCoarse;
    Remainders belowFine;
    const double coarseScale = std::ldexp(1.0, fixed.shift);
    const double fineScale = std::ldexp(1.0, fixed.fineShift);
    for (const Contribution& entry : EntriesOf(exact)) {
        const double scaled = double{entry.weight} / exact.weightSum * coarseScale;
        const std::int32_t coarse = RoundToNearest(scaled);
        belowCoarse.Add(scaled - coarse);
        const double scaledRest = (scaled - coarse) * fineScale;
        const std::int32_t fine = RoundToNearest(scaledRest);
        belowFine.Add(scaledRest - fine);
        digits.Store(entry.pixel + lead - fixed.first, coarse, fine);
    }
    SetHighDigits(fixed, digits);
    digits.NameIn(fixed);
    fixed.mirrored = MirroredOf(exact, fixed.first - lead, fixed.count);
    const double error = (exact.count + 8.0) * 0x1p-52 * (greatestChannel * magnitudes.sum + 1.0);
    SetCoarseBounds(fixed, belowCoarse, error * coarseScale);
    // As with one digit: the definition sums up multiples of one unit, less than 2^53 of them.
    if (belowFine.AreZero() && IsPowerOfTwo(exact.weightSum)) return;
    const WholeInterval interval(belowFine, error * coarseScale * fineScale);
    fixed.fineBias = interval.begin;
    fixed.fineSlack = interval.length;
}

// The places that a list's weights are for with so many before the first pixel: whole groups.
struct GroupSpan {
    std::int64_t first = 0;
    std::int64_t count = 0;

    GroupSpan(const ContributionList& list, std::int32_t lead, std::int32_t group) {
        if (list.count == 0) return;
        const std::int64_t last = std::int64_t{list.entries[list.count - 1].pixel} + lead;
        first = (std::int64_t{list.entries[0].pixel} + lead) / group * group;
        count = (last / group + 1) * group - first;
    }
};

// The same, and none for a list that is too long.
struct FixedSpan : GroupSpan {
    FixedSpan(const ContributionList& list, std::int32_t lead, std::int32_t group)
        : GroupSpan(list, lead, group) {
        if (count > longestFixed) first = count = 0;
    }
};

// How many weights the lists have together in such spans.
template <typename Span>
std::int64_t WeightCountOf(std::span<const ContributionList> lists, std::int32_t lead,
                           std::int32_t group) {
    return std::accumulate(
        lists.begin(), lists.end(), std::int64_t{0},
        [&](std::int64_t sum, const auto& list) { return sum + Span(list, lead, group).count; });
}

// Makes a twin's fixed-point list that of a list: the digits are the same.
void MoveTo(const ContributionList& list, FixedList& fixed) {
    if (list.count > 0) {
        const std::int32_t shift = list.entries[0].pixel - fixed.exact->entries[0].pixel;
        if (fixed.count > 0) fixed.first += shift;
        fixed.end += shift;
    }
    fixed.exact = &list;
}

}  // namespace

bool FixedTable::Build(std::span<const ContributionList> exact, kernels::RowLayout layout) {
    return layout == kernels::RowLayout::Words ? BuildOf<WordDigits>(exact)
                                               : BuildOf<ByteDigits>(exact);
}

template <typename Digits>
bool FixedTable::BuildOf(std::span<const ContributionList> exact) {
    constexpr std::int32_t group = kernels::PixelsAtOnce(Digits::layout);
    ChooseLead(exact, group);
    const std::int64_t weightCount = WeightCountOf<FixedSpan>(exact, lead_, group);
    lists_ = AllocateZeroed<FixedList>(std::ssize(exact));
    digits_ = AllocateZeroed<std::uint8_t>(Digits::bytesPerWeight * weightCount + 1);
    if (lists_ == nullptr || digits_ == nullptr) return false;

    // Digits are kept by groups of pixels: the place of a list's first within one.
    const auto placeInGroup = [this](const ContributionList& list) {
        return list.count == 0 ? 0 : (list.entries[0].pixel + lead_) % group;
    };
    std::uint8_t* digits = digits_.get();
    for (std::size_t index = 0; index < exact.size(); ++index) {
        const ContributionList& list = exact[index];
        FixedList& fixed = lists_[static_cast<std::ptrdiff_t>(index)];
        const std::size_t twin = FindTwin(exact, index, [&](std::size_t other) {
            return placeInGroup(exact[other]) == placeInGroup(list);
        });
        if (twin != index) {
            fixed = lists_[static_cast<std::ptrdiff_t>(twin)];
            MoveTo(list, fixed);
        } else {
            const FixedSpan span(list, lead_, group);
            fixed.exact = &list;
            fixed.first = static_cast<std::int32_t>(span.first);
            fixed.count = static_cast<std::int32_t>(span.count);
            if (list.count > 0) fixed.end = list.entries[list.count - 1].pixel + lead_ + 1;
            FillDigits(fixed, lead_, Digits(digits, fixed.count));
            digits += Digits::bytesPerWeight * span.count;
        }
        end_ = std::max(end_, std::int64_t{fixed.end});
    }
    return true;
}

// Lists that all begin within a group have one more of them than those that begin with one. Pairs
// are so short that it is not worth it, and kernels that multiply words know no lead.
void FixedTable::ChooseLead(std::span<const ContributionList> exact, std::int32_t group) {
    if (group == kernels::PixelsAtOnce(kernels::RowLayout::Words)) return;
    std::int64_t least = WeightCountOf<GroupSpan>(exact, 0, group);
    for (std::int32_t lead = 1; lead < group; ++lead) {
        const std::int64_t weightCount = WeightCountOf<GroupSpan>(exact, lead, group);
        if (weightCount >= least) continue;
        least = weightCount;
        lead_ = lead;
    }
}

}  // namespace zvk
