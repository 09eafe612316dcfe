// Normalised weights and their error bounds.
//
// Let w be a list's weights, W their sum, A = sum |w / W|, n the number of weights and u = 2^-24.
// The definition truncates v = sum(c w) / W + 0.5, formed in double, with products rounded to
// single precision down a column. The kernels form t = bias + sum(c fl(w / W)) in single precision.
// They differ by at most, and each from the true mean by less,
//   255 A u          from rounding the weights,
//   255 A u          from rounding the definition's products,
//   255 A u          from rounding the kernels' products where they are not fused,
//   (n + 5) u M      from rounding the kernels' sums, M = 255 A + 1 bounding every partial sum,
// and by far less from the definition's own roundings in double, so (n + 8) u M bounds it all as
// long as it is small itself: terms of higher order and a bias that takes part in M stay below the
// slack of whole multiples taken above while n u is below 2^-10. Longer lists settle nothing.
#include "scaling/bounded_table.h"

#include <algorithm>
#include <cmath>

#include "kernels/quotient.h"
#include "scaling/contributions.h"

namespace zvk {

namespace {

using kernels::BoundedList;
using kernels::Decision;
using kernels::Quotient;

constexpr double unitRoundoff = 0x1p-24;

// How far the kernels' sum and the definition's may lie apart.
double ErrorBound(double magnitude, std::int32_t count) {
    return (count + 8.0) * unitRoundoff * (255.0 * magnitude + 1.0);
}

double MagnitudeOf(const ContributionList& list) {
    double magnitude = 0.0;
    for (const Contribution& entry : EntriesOf(list))
        magnitude += std::fabs(double{entry.weight} / list.weightSum);
    return magnitude;
}

// Whether both the definition and the kernels compute the list's sums without rounding: all
// normalised weights are multiples of one power of two q, and no sum reaches 2^24 q.
bool IsExact(const ContributionList& list, double magnitude) {
    if (!IsPowerOfTwo(list.weightSum)) return false;
    constexpr double finest = 0x1p14;
    if ((256.0 * magnitude + 1.0) * finest > 0x1p24) return false;
    return std::all_of(list.entries, list.entries + list.count, [&](const Contribution& entry) {
        const double scaled = double{entry.weight} / list.weightSum * finest;
        return scaled == std::trunc(scaled);
    });
}

// Chooses bias and slack such that the kernels' interval holds the definition's byte.
void SetBounds(BoundedList& bounded, const ContributionList& list, double magnitude) {
    const double error = ErrorBound(magnitude, bounded.count);
    if (IsExact(list, magnitude)) {
        bounded.bias = 0.5F;
        bounded.slack = 0.0F;
        return;
    }
    // Half a step above the value, where no rounding reaches the next multiple.
    const double step = 0.5 / bounded.count;
    if (bounded.count == list.count && IsPlainMean(list) && error < step / 2) {
        bounded.bias = static_cast<float>(0.5 + step / 2);
        bounded.slack = 0.0F;
        return;
    }
    // The error bounds how far either value lies from the true mean, which keeps away from halves.
    if (error < DistanceFromHalves(list)) {
        bounded.bias = 0.5F;
        bounded.slack = 0.0F;
        return;
    }
    bounded.bias = static_cast<float>(0.5 - error);
    bounded.slack = static_cast<float>(2.0 * error);
}

// Nothing is settled where the weights do not normalise to numbers of a reasonable size or are too
// many: the interval is all bytes.
void LeaveOpen(BoundedList& bounded) {
    bounded.count = 0;
    bounded.bias = -1.0F;
    bounded.slack = 257.0F;
}

constexpr double greatestMagnitude = 64.0;
constexpr std::int32_t longestBounded = 4096;

// Whether the definition's products add up without rounding in two sums. The first has units of
// 2^-12 and stays within 255 * 3.9 + 0.5 + 8 * 2^-13 < 2^10 of the middle of a range where these
// are the last place. Of each product, 2^-13 at most is left, and that is a multiple of the last
// place of its weight: up to 8 of these are at most 2^-10, which has 24 bits if that place is 2^-34
// or more. Normalising by a power of two rounds nothing, since nothing here is subnormal.
bool FitsTwoSums(const ContributionList& list) {
    constexpr std::int32_t most = 8;
    constexpr float least = 0x1p-11F;
    constexpr double greatest = 3.9;
    if (list.count > most || !IsPowerOfTwo(list.weightSum)) return false;
    if (MagnitudeOf(list) > greatest) return false;
    return std::all_of(list.entries, list.entries + list.count, [&](const Contribution& entry) {
        return std::fabs(entry.weight / list.weightSum) >= least;
    });
}

// Whether all normalised weights are multiples of one fraction so large that sums are exact halves
// again and again, as those of the cubics are where a picture is enlarged three times.
bool MakesManyHalves(const ContributionList& list) {
    constexpr double denominator = 324.0;
    return std::all_of(list.entries, list.entries + list.count, [&](const Contribution& entry) {
        const double scaled = double{entry.weight} / list.weightSum * denominator;
        return std::fabs(scaled - std::nearbyint(scaled)) < 1e-3;
    });
}

Decision DecisionFor(const ContributionList& list) {
    if (!FitsTwoSums(list)) return Decision::ByBounds;
    return MakesManyHalves(list) ? Decision::InTwoSums : Decision::ByTwoSums;
}

// Whether all normalised weights are multiples of 1 / denominator, none negative.
bool HasDenominator(const ContributionList& list, std::int32_t denominator, double tolerance) {
    return std::all_of(list.entries, list.entries + list.count, [&](const Contribution& entry) {
        const double scaled = double{entry.weight} / list.weightSum * denominator;
        return scaled >= 0.0 && std::fabs(scaled - std::nearbyint(scaled)) <= tolerance;
    });
}

// The denominator of a list that is settled without slack. Such a list is exact, a plain mean, or
// has an odd denominator and so no halves to decide; its weights deviate from multiples so little
// that their bytes are those of the multiples: 32 weights by 1e-5 each, times 255, make 0.09 of a
// step, and a half is half a step away. Powers of two are tried in ascending order, so that some
// multiple is odd and none is the denominator itself, which for 128 would not fit a signed byte.
std::int32_t DenominatorOf(const ContributionList& list) {
    constexpr double closeEnough = 1e-5;
    if (list.count > kernels::mostWholes) return 0;
    if (IsPlainMean(list)) return list.count;
    for (std::int32_t denominator = 2; denominator <= kernels::greatestDenominator;
         denominator *= 2) {
        if (HasDenominator(list, denominator, 0.0)) return denominator;
    }
    if (!(DistanceFromHalves(list) > 0.0)) return 0;
    for (std::int32_t denominator = 3; denominator <= greatestOddDenominator; denominator += 2) {
        if (HasDenominator(list, denominator, closeEnough)) return denominator;
    }
    return 0;
}

consteval bool AllDenominatorsHaveAQuotient() {
    constexpr std::int32_t greatest =
        std::max({kernels::mostWholes, kernels::greatestDenominator, greatestOddDenominator});
    for (std::int32_t denominator = 2; denominator <= greatest; ++denominator) {
        if (!Quotient::Exists(denominator, denominator / 2)) return false;
    }
    return true;
}
static_assert(AllDenominatorsHaveAQuotient());

// Has a list served in whole numbers, if it can be. `weights` are its own.
void ServeInWholes(BoundedList& bounded, const ContributionList& list, float* weights) {
    const std::int32_t denominator = DenominatorOf(list);
    if (denominator < 2 || bounded.count > kernels::mostWholes) return;
    // Sums of channels times wholes stay below 2^15 only if the wholes add up to the denominator.
    // They do: the weights' sum, rounded as it is, divides them.
    float sum = 0.0F;
    for (std::int32_t tap = 0; tap < bounded.count; ++tap)
        sum += std::nearbyint(weights[tap] * static_cast<float>(denominator));
    if (sum != static_cast<float>(denominator)) return;
    for (std::int32_t tap = 0; tap < bounded.count; ++tap)
        weights[tap] = std::nearbyint(weights[tap] * static_cast<float>(denominator));
    bounded.decision = Decision::InWholes;
    bounded.denominator = denominator;
}

// Chooses the units in which the definition's products add up closely.
//
// Before they are rounded, their magnitudes add up to less than 2^21 units. Sums of units begin at
// 3 2^22. With half a unit more for each of at most `longestBounded` products they stay within 2^22
// of that, where a unit is the last place of single precision: they are exact, and what is left of
// a product is exact and half a unit at most.
//
// The rows of a list are in two runs at most, since there are places for all of them, and so each
// of two sums takes up to n / 2 + 1 of n entries. With m one more than that, each rounding of what
// is left is less than m 2^-25 units, and those of both sums together are less than m^2 2^-24. What
// m counts too much makes n 2^-24 units and more of that; the roundings in double, the definition's
// included, make about n 2^-32.
void SetAnchor(BoundedList& bounded, const ContributionList& list, double magnitude) {
    if (list.entries[list.count - 1].pixel - list.entries[0].pixel != list.count - 1) return;
    constexpr int greatestExponent = 64;
    int exponent = 0;
    std::frexp(255.0 * magnitude * list.weightSum, &exponent);
    if (std::abs(exponent) > greatestExponent) return;
    const double unit = std::ldexp(1.0, exponent - 21);
    const double longest = list.count / 2.0 + 2.0;
    bounded.anchor = static_cast<float>(0x3p22 * unit);
    bounded.closeError = static_cast<float>(longest * longest * 0x1p-24 * unit);
}

// Chooses how the bytes of a list whose bounds are set are decided. `weights` are its own.
void SetDecision(BoundedList& bounded, const ContributionList& list, double magnitude,
                 float* weights) {
    if (bounded.slack == 0.0F) return ServeInWholes(bounded, list, weights);
    bounded.decision = DecisionFor(list);
    if (bounded.decision == Decision::ByBounds) SetAnchor(bounded, list, magnitude);
}

// Has two neighbouring lists name the same rows where serving both together pays: those that only
// one of them names are few, and sums that settle the one are not in vain for the other. Returns
// whether they do.
bool Join(RowSpan& span, RowSpan& next) {
    if (span.count() == 0 || next.count() == 0) return false;
    const std::int32_t first = std::min(span.first, next.first);
    const std::int32_t end = std::max(span.end, next.end);
    const std::int64_t longest = std::max(span.count(), next.count());
    if (end - first > longest + std::max<std::int64_t>(longest / 4, 1)) return false;
    if (span.copied >= 0 || next.copied >= 0) return false;
    if (span.makesManyHalves != next.makesManyHalves) return false;
    span.first = next.first = first;
    span.end = next.end = end;
    return true;
}

// Whether two lists lie alike within the rows that they are to name.
bool LieAlike(const ContributionList& list, const RowSpan& span, const ContributionList& other,
              const RowSpan& otherSpan) {
    if (list.count == 0 || other.count == 0) return false;
    return span.count() == otherSpan.count() &&
           list.entries[0].pixel - span.first == other.entries[0].pixel - otherSpan.first;
}

void FillBounded(BoundedList& bounded, const ContributionList& list, const RowSpan& span,
                 float* weights) {
    bounded = {.weights = weights,
               .exact = &list,
               .first = span.first,
               .count = span.count(),
               .bias = 0.0F,
               .slack = 0.0F,
               .addsExactly = AddsExactly(list),
               .decision = Decision::ByBounds,
               .denominator = 0,
               .anchor = 0.0F,
               .closeError = 0.0F};
    if (list.count == 0) return;
    const double magnitude = MagnitudeOf(list);
    for (const Contribution& entry : EntriesOf(list)) {
        weights[entry.pixel - bounded.first] =
            static_cast<float>(double{entry.weight} / list.weightSum);
    }
    if (magnitude <= greatestMagnitude && bounded.count <= longestBounded) {
        SetBounds(bounded, list, magnitude);
        SetDecision(bounded, list, magnitude, weights);
    } else {
        LeaveOpen(bounded);
    }
}

}  // namespace

bool BoundedTable::Build(std::span<const ContributionList> exact) {
    listCount_ = std::ssize(exact);
    lists_ = AllocateZeroed<BoundedList>(listCount_);
    spans_ = AllocateZeroed<RowSpan>(listCount_);
    if (lists_ == nullptr || spans_ == nullptr) return false;
    FindSpans(exact);
    JoinNeighbours();
    std::int64_t length = 1;
    for (std::int64_t index = 0; index < listCount_; ++index)
        length += spans_[index].count();
    weights_ = AllocateZeroed<float>(length);
    if (weights_ == nullptr) return false;

    float* weights = weights_.get();
    for (std::size_t index = 0; index < exact.size(); ++index) {
        const ContributionList& list = exact[index];
        const RowSpan& span = spans_[static_cast<std::ptrdiff_t>(index)];
        BoundedList& bounded = lists_[static_cast<std::ptrdiff_t>(index)];
        const std::size_t twin = FindTwin(exact, index, [&](std::size_t other) {
            return LieAlike(exact[other], spans_[static_cast<std::ptrdiff_t>(other)], list, span);
        });
        if (twin != index) {
            bounded = lists_[static_cast<std::ptrdiff_t>(twin)];
            bounded.exact = &list;
            bounded.first = span.first;
        } else {
            FillBounded(bounded, list, span, weights);
            weights += span.count();
        }
        if (bounded.decision != Decision::InWholes) weightCount_ += bounded.count;
    }
    MeasureSpans();
    return true;
}

// The rows that each list names by itself.
void BoundedTable::FindSpans(std::span<const ContributionList> exact) {
    RowSpan* span = spans_.get();
    for (const ContributionList& list : exact) {
        span->copied = CopiedPixel(list).value_or(-1);
        span->makesManyHalves = DecisionFor(list) == Decision::InTwoSums;
        if (list.count > 0) {
            span->first = list.entries[0].pixel;
            span->end = list.entries[list.count - 1].pixel + 1;
        }
        ++span;
    }
}

void BoundedTable::JoinNeighbours() {
    for (std::int64_t index = 0; index + 1 < listCount_; ++index)
        index += Join(spans_[index], spans_[index + 1]) ? 1 : 0;
}

bool BoundedTable::SharesRows(std::int64_t index) const {
    if (index + 1 >= listCount_) return false;
    const BoundedList& list = lists_[index];
    const BoundedList& next = lists_[index + 1];
    return list.count > 0 && list.first == next.first && list.count == next.count &&
           IsInWholes(index) == IsInWholes(index + 1) &&
           spans_[index].makesManyHalves == spans_[index + 1].makesManyHalves;
}

// A list may begin before the one before it, where that one's outer weights are exactly 0.
void BoundedTable::MeasureSpans() {
    std::int32_t end = 0;
    for (std::int64_t index = 0; index < listCount_; ++index)
        end = std::max(end, spans_[index].end);
    std::int32_t first = end;
    for (std::int64_t index = listCount_; index-- > 0;) {
        RowSpan& span = spans_[index];
        if (span.end > 0) first = std::min(first, span.first);
        span.firstFromHere = first;
    }
    sourceSpan_ = end - first;
    end = 0;
    for (std::int64_t index = 0; index < listCount_; ++index) {
        end = std::max(end, spans_[index].end);
        longestSpan_ = std::max<std::int64_t>(longestSpan_, end - spans_[index].firstFromHere);
    }
}

}  // namespace zvk
