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
// A coarse digit of more than 16 bits is low + 2^16 high with a signed low part. No low part is
// greater than its digit, and so no 2^16 high greater than twice that: sums of either stay below
// 2^31 where those of the digits stay below 2^30, and the bounds look at the whole digit alone.
#include "scaling/fixed_table.h"

#include <algorithm>
#include <cmath>

#include "kernels/resampling.h"
#include "scaling/contributions.h"

namespace zvk {

namespace {

using kernels::FixedList;

constexpr double greatestDigit = 32767.0;
constexpr double greatestChannel = 255.0;

// With these, sums of channels times coarse digits stay below 2^30.
constexpr int longestShift = 21;
constexpr double greatestMagnitude = 64.0;
constexpr std::int64_t longestFixed = 8192;

// With these, sums of channels times fine digits, at most half of 2^fineShift, stay below 2^31.
constexpr std::int64_t longestWithFullDigit = 512;
constexpr std::int32_t fullFineShift = 15;
constexpr std::int32_t shortFineShift = 11;

double RoundToNearest(double value) {
    return std::floor(value + 0.5);
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

// The shortest shift with which a list is seldom open: for a third of the pixels, of eight rows of
// noise each. Remainders are a quarter on average, channels at most 255, and there are 24 colours.
int SeldomOpenShift(std::int32_t count) {
    constexpr double colours = 24.0;
    constexpr double seldom = 0.35;
    const double slack = 0.25 * greatestChannel * count;
    int exponent = 0;
    std::frexp(slack * colours / seldom, &exponent);
    return exponent;
}

// The longest shift for which coarse digits have 16 bits, or the shortest with which a list is
// seldom open where that is longer, as far as sums allow.
int ShiftFor(const Magnitudes& magnitudes, std::int32_t count) {
    int exponent = 0;
    std::frexp(magnitudes.sum, &exponent);
    const int longest = longestShift - std::max(exponent, 0);
    int shift = longest;
    while (std::ldexp(magnitudes.greatest, shift) > greatestDigit)
        --shift;
    return std::max(shift, std::min(longest, SeldomOpenShift(count)));
}

// What all remainders of one sign can add up to.
struct Remainders {
    double below = 0.0;
    double above = 0.0;

    void Add(double remainder) {
        below += greatestChannel * std::min(remainder, 0.0);
        above += greatestChannel * std::max(remainder, 0.0);
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

// Where the digits of a list's weights lie, all zeros so far.
struct Digits {
    std::int16_t* low;
    std::int16_t* fine;
    std::int16_t* high;
};

// Stores a weight's coarse digit in two parts, of which the low one is signed.
void StoreCoarseDigit(double digit, std::int32_t place, const Digits& digits) {
    constexpr std::int32_t unit = 1 << kernels::highDigitShift;
    const auto whole = static_cast<std::int32_t>(digit);
    const std::int32_t high = (whole + unit / 2) >> kernels::highDigitShift;
    digits.high[place] = static_cast<std::int16_t>(high);
    digits.low[place] = static_cast<std::int16_t>(whole - high * unit);
}

// Has a list name the pairs of weights from the first to the last that has a high part.
void SetHighDigits(FixedList& fixed, const std::int16_t* high) {
    std::int32_t first = 0;
    std::int32_t end = fixed.count;
    while (first < end && high[first] == 0 && high[first + 1] == 0)
        first += 2;
    while (end > first && high[end - 1] == 0 && high[end - 2] == 0)
        end -= 2;
    fixed.high = high + first;
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

void FillDigits(FixedList& fixed, const Digits& digits) {
    const ContributionList& exact = *fixed.exact;
    fixed.low = digits.low;
    fixed.fine = digits.fine;
    fixed.shift = 1;
    fixed.addsExactly = AddsExactly(exact);
    fixed.mirrored = kernels::notMirrored;
    if (exact.count == 0) return;
    const Magnitudes magnitudes(exact);
    if (!(magnitudes.sum <= greatestMagnitude) || fixed.count == 0) {
        LeaveOpen(fixed);
        return;
    }
    fixed.shift = ShiftFor(magnitudes, exact.count);
    fixed.fineShift = fixed.count <= longestWithFullDigit ? fullFineShift : shortFineShift;
    Remainders belowCoarse;
    Remainders belowFine;
    const double coarseScale = std::ldexp(1.0, fixed.shift);
    const double fineScale = std::ldexp(1.0, fixed.fineShift);
    for (const Contribution& entry : EntriesOf(exact)) {
        const double scaled = double{entry.weight} / exact.weightSum * coarseScale;
        const double digit = RoundToNearest(scaled);
        belowCoarse.Add(scaled - digit);
        const double scaledRest = (scaled - digit) * fineScale;
        const double fineDigit = RoundToNearest(scaledRest);
        belowFine.Add(scaledRest - fineDigit);
        const std::int32_t place = entry.pixel - fixed.first;
        StoreCoarseDigit(digit, place, digits);
        digits.fine[place] = static_cast<std::int16_t>(fineDigit);
    }
    SetHighDigits(fixed, digits.high);
    fixed.mirrored = MirroredOf(exact, fixed.first, fixed.count);
    const double error = (exact.count + 8.0) * 0x1p-52 * (greatestChannel * magnitudes.sum + 1.0);
    SetCoarseBounds(fixed, belowCoarse, error * coarseScale);
    // As with one digit: the definition sums up multiples of one unit, less than 2^53 of them.
    if (belowFine.AreZero() && IsPowerOfTwo(exact.weightSum)) return;
    const WholeInterval interval(belowFine, error * coarseScale * fineScale);
    fixed.fineBias = interval.begin;
    fixed.fineSlack = interval.length;
}

// The pixels that a list's weights are for: whole pairs, and none for a list that is too long.
struct PairSpan {
    std::int32_t first = 0;
    std::int32_t count = 0;

    explicit PairSpan(const ContributionList& list) {
        if (list.count == 0) return;
        const std::int32_t begin = list.entries[0].pixel / 2 * 2;
        const std::int64_t end = std::int64_t{list.entries[list.count - 1].pixel} / 2 * 2 + 2;
        if (end - begin > longestFixed) return;
        first = begin;
        count = static_cast<std::int32_t>(end - begin);
    }
};

// Makes the fixed-point list of a list, with digits from `digits` on; returns their end.
std::int16_t* Fill(const ContributionList& list, std::int16_t* digits, FixedList& fixed) {
    const PairSpan span(list);
    const std::ptrdiff_t count = span.count;
    fixed.exact = &list;
    fixed.first = span.first;
    fixed.count = span.count;
    if (list.count > 0) fixed.end = list.entries[list.count - 1].pixel + 1;
    FillDigits(fixed, {.low = digits, .fine = digits + count, .high = digits + 2 * count});
    return digits + 3 * count;
}

// Makes a twin's fixed-point list that of a list: the digits are the same.
void MoveTo(const ContributionList& list, FixedList& fixed) {
    if (list.count > 0) {
        const std::int32_t shift = list.entries[0].pixel - fixed.exact->entries[0].pixel;
        fixed.first += shift;
        fixed.end += shift;
    }
    fixed.exact = &list;
}

// Digits are kept by pairs of pixels: whether a list begins with the second of one.
bool BeginsWithinPair(const ContributionList& list) {
    return list.count > 0 && list.entries[0].pixel % 2 != 0;
}

}  // namespace

bool FixedTable::Build(std::span<const ContributionList> exact) {
    std::int64_t weightCount = 0;
    for (const ContributionList& list : exact)
        weightCount += PairSpan(list).count;
    lists_ = AllocateZeroed<FixedList>(std::ssize(exact));
    digits_ = AllocateZeroed<std::int16_t>(3 * weightCount + 1);
    if (lists_ == nullptr || digits_ == nullptr) return false;

    std::int16_t* digits = digits_.get();
    for (std::size_t index = 0; index < exact.size(); ++index) {
        const ContributionList& list = exact[index];
        FixedList& fixed = lists_[static_cast<std::ptrdiff_t>(index)];
        const std::size_t twin = FindTwin(exact, index, [&](std::size_t other) {
            return BeginsWithinPair(exact[other]) == BeginsWithinPair(list);
        });
        if (twin != index) {
            fixed = lists_[static_cast<std::ptrdiff_t>(twin)];
            MoveTo(list, fixed);
        } else {
            digits = Fill(list, digits, fixed);
        }
        end_ = std::max(end_, std::int64_t{fixed.end});
    }
    return true;
}

}  // namespace zvk
