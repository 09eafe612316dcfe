// Ownership of the lists and their entries.
#include "scaling/contributions.h"

namespace zvk {

ContributionTable::~ContributionTable() {
    Clear();
}

bool ContributionTable::Allocate(std::int64_t length) {
    Clear();
    lists_.reset();
    lists_ = AllocateZeroed<ContributionList>(length);
    length_ = lists_ == nullptr ? 0 : length;
    return lists_ != nullptr;
}

void ContributionTable::Clear() {
    for (ContributionList& list : Lists(length_)) {
        if (block_ == nullptr) std::free(list.entries);
        list = {};
    }
    block_.reset();
}

// The product does not overflow: all lists have eighteen entries for every pixel of the longer side
// at most, and that is below 2^31.
void ContributionTable::Reserve(std::int64_t length, std::int64_t capacity) {
    block_ = AllocateZeroed<Contribution>(length * capacity);
    capacity_ = capacity;
}

bool ContributionTable::GiveRoom(ContributionList& list) {
    list.entries = block_ != nullptr ? block_.get() + (&list - lists_.get()) * capacity_
                                     : AllocateZeroed<Contribution>(capacity_).release();
    return list.entries != nullptr;
}

// Let x be the normalised weights. Where |x - 1| for one of them and |x| for all others add up to
// less than 2^-10, the weighted mean of bytes lies less than 0.25 from that one's byte, whatever
// the others are. The definition's roundings are far smaller, and it adds 0.5 before it truncates.
std::optional<std::int32_t> CopiedPixel(const ContributionList& list) {
    const std::span entries = EntriesOf(list);
    const double sum = list.weightSum;
    const double allowance = 0x1p-10 * std::fabs(sum);
    const auto own = std::find_if(entries.begin(), entries.end(), [=](const Contribution& entry) {
        return std::fabs(entry.weight - sum) < allowance;
    });
    if (own == entries.end()) return std::nullopt;
    double others = 0.0;
    for (const Contribution& entry : entries)
        others += std::fabs(double{entry.weight});
    others -= std::fabs(double{own->weight});
    if (!(std::fabs(own->weight - sum) + others < allowance)) return std::nullopt;
    return own->pixel;
}

bool IsPlainMean(const ContributionList& list) {
    if (list.count < 1 || list.weightSum != static_cast<float>(list.count)) return false;
    if (list.entries[list.count - 1].pixel - list.entries[0].pixel != list.count - 1) return false;
    return std::all_of(list.entries, list.entries + list.count,
                       [](const Contribution& entry) { return entry.weight == 1.0F; });
}

// Let g be that number, W the sum of weights and T = sum(n c). The definition's sum is g T,
// exactly, and divided by W it is T / d times 1 + e with |e| < 10^-5: too little to reach a half
// from any other multiple of 1 / d. On a half it is not below it, since g d is not below W, and
// neither is it when it is rounded.
std::int32_t HalfUpDenominator(const ContributionList& list, std::int32_t greatest) {
    const std::span entries = EntriesOf(list);
    const auto weighsLess = [](const Contribution& left, const Contribution& right) {
        return left.weight < right.weight;
    };
    const auto least = std::min_element(entries.begin(), entries.end(), weighsLess);
    if (least == entries.end() || !(least->weight > 0.0F)) return 0;
    const double unit = least->weight;
    double denominator = 0.0;
    for (const Contribution& entry : entries) {
        const double whole = std::nearbyint(entry.weight / unit);
        if (whole * unit != entry.weight) return 0;
        denominator += whole;
    }
    const double surplus = denominator * unit - list.weightSum;
    if (!(surplus >= 0.0 && surplus < 1e-5 * list.weightSum)) return 0;
    return denominator > greatest ? 0 : static_cast<std::int32_t>(denominator);
}

// Every product is a multiple of the last place of the least weight m, which is more than m 2^-24,
// and no sum reaches 2^53 of them.
bool AddsExactly(const ContributionList& list) {
    if (list.count == 0) return true;
    double least = std::fabs(double{list.entries[0].weight});
    double sum = 0.0;
    for (std::int32_t index = 0; index < list.count; ++index) {
        const double magnitude = std::fabs(double{list.entries[index].weight});
        least = std::min(least, magnitude);
        sum += magnitude;
    }
    return 256.0 * sum <= 0x1p29 * least;
}

bool HaveSameWeights(const ContributionList& list, const ContributionList& other) {
    if (list.count != other.count || list.weightSum != other.weightSum) return false;
    if (list.count == 0) return true;
    const std::int32_t shift = other.entries[0].pixel - list.entries[0].pixel;
    return std::equal(list.entries, list.entries + list.count, other.entries,
                      [shift](const Contribution& left, const Contribution& right) {
                          return left.weight == right.weight && left.pixel + shift == right.pixel;
                      });
}

bool IsPowerOfTwo(double value) {
    int exponent = 0;
    return std::frexp(value, &exponent) == 0.5;
}

// Where all normalised weights are multiples of 1 / q and q is odd, so are the means, and the
// nearest to a half is 0.5 / q away. What the weights deviate from that counts 255 times at most.
double DistanceFromHalves(const ContributionList& list) {
    const std::span entries = EntriesOf(list);
    for (int denominator = 3; denominator <= greatestOddDenominator; denominator += 2) {
        double distance = 0.5 / denominator;
        for (const Contribution& entry : entries) {
            const double scaled = double{entry.weight} / list.weightSum * denominator;
            distance -= 255.0 / denominator * std::fabs(scaled - std::nearbyint(scaled));
            if (!(distance > 0.0)) break;
        }
        if (distance > 0.0) return distance;
    }
    return 0.0;
}

}  // namespace zvk
