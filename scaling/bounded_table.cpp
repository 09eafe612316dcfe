// Normalised weights and their error bounds.
//
// Let w be a list's weights, W their sum, A = sum |w / W|, n the number of weights and u = 2^-24.
// The definition truncates v = sum(c w) / W + 0.5, formed in double, with products rounded to
// single precision down a column. The kernels form t = bias + sum(c fl(w / W)) in single precision.
// They differ by at most
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
#include <limits>

#include "scaling/contributions.h"

namespace zvk {

namespace {

using kernels::BoundedList;

constexpr double unitRoundoff = 0x1p-24;

// How far the kernels' sum and the definition's may lie apart.
double ErrorBound(double magnitude, std::int32_t count) {
    return (count + 8.0) * unitRoundoff * (255.0 * magnitude + 1.0);
}

bool IsPowerOfTwo(double value) {
    int exponent = 0;
    return value > 0.0 && std::frexp(value, &exponent) == 0.5;
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

// How many source coordinates a list spans.
std::int32_t SpanOf(const ContributionList& list) {
    if (list.count == 0) return 0;
    return list.entries[list.count - 1].pixel - list.entries[0].pixel + 1;
}

void FillBounded(BoundedList& bounded, const ContributionList& list, float* weights) {
    bounded = {.weights = weights,
               .exact = &list,
               .first = list.count == 0 ? 0 : list.entries[0].pixel,
               .count = SpanOf(list),
               .bias = 0.0F,
               .slack = 0.0F};
    if (list.count == 0) return;
    double magnitude = 0.0;
    for (const Contribution& entry :
         std::span(list.entries, static_cast<std::size_t>(list.count))) {
        const double weight = double{entry.weight} / list.weightSum;
        magnitude += std::fabs(weight);
        weights[entry.pixel - bounded.first] = static_cast<float>(weight);
    }
    if (magnitude <= greatestMagnitude && bounded.count <= longestBounded) {
        SetBounds(bounded, list, magnitude);
    } else {
        LeaveOpen(bounded);
    }
}

}  // namespace

bool BoundedTable::Build(std::span<const ContributionList> exact) {
    std::int64_t weightCount = 1;
    for (const ContributionList& list : exact)
        weightCount += SpanOf(list);
    const auto length = static_cast<std::int64_t>(exact.size());
    lists_ = AllocateZeroed<BoundedList>(length);
    firstNeeded_ = AllocateZeroed<std::int32_t>(length);
    weights_ = AllocateZeroed<float>(weightCount);
    if (lists_ == nullptr || firstNeeded_ == nullptr || weights_ == nullptr) return false;

    float* weights = weights_.get();
    BoundedList* bounded = lists_.get();
    for (const ContributionList& list : exact) {
        FillBounded(*bounded, list, weights);
        weightCount_ += bounded->count;
        weights += SpanOf(list);
        ++bounded;
    }
    FindSpans(exact);
    return true;
}

// A list may begin before the one before it, where that one's outer weights are exactly 0. Spans
// follow the exact lists, which the definition reads.
void BoundedTable::FindSpans(std::span<const ContributionList> exact) {
    std::int32_t first = std::numeric_limits<std::int32_t>::max();
    for (std::size_t index = exact.size(); index-- > 0;) {
        const ContributionList& list = exact[index];
        if (list.count > 0) first = std::min(first, list.entries[0].pixel);
        firstNeeded_[index] = first;
    }
    std::int64_t end = 0;
    for (std::size_t index = 0; index < exact.size(); ++index) {
        const ContributionList& list = exact[index];
        if (list.count == 0) continue;
        end = std::max<std::int64_t>(end, list.entries[list.count - 1].pixel + 1);
        longestSpan_ = std::max(longestSpan_, end - firstNeeded_[index]);
    }
    sourceSpan_ = std::max<std::int64_t>(end - first, 0);
}

}  // namespace zvk
