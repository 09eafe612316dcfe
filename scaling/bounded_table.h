// Contribution tables in the form that the vector kernels read, with the proof of what they settle.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "bridge/buffer.h"
#include "kernels/bounded_list.h"

namespace zvk {

// What a list is to name: the rows from `first` to before `end`.
struct RowSpan {
    std::int32_t first;
    std::int32_t end;
    std::int32_t copied;         // the one row whose bytes the list gives; below 0 if there is none
    bool makesManyHalves;        // so that two sums serve it better than bounds, unless it is exact
    std::int32_t firstFromHere;  // the least that it or a later list names

    std::int32_t count() const { return end - first; }
};

// The bounded lists of one axis. It refers to the contribution lists that it was made from.
class BoundedTable {
  public:
    // Makes one bounded list per contribution list; false when out of memory. Neighbouring lists
    // of much the same rows get the same ones, with weights of 0 where they did not have them, so
    // that they can be served together.
    bool Build(std::span<const ContributionList> exact);

    const kernels::BoundedList* lists() const { return lists_.get(); }

    // Whether a list and the next one name the same rows and can be served together.
    bool SharesRows(std::int64_t index) const;

    // Whether a list is served in whole numbers, from bytes.
    bool IsInWholes(std::int64_t index) const {
        return lists_[index].decision == kernels::Decision::InWholes;
    }

    // How many weights all lists have together that are not served in whole numbers.
    std::int64_t weightCount() const { return weightCount_; }

    // How many source rows lie between the first and the last that is needed.
    std::int64_t sourceSpan() const { return sourceSpan_; }

    // The least `first` among the lists from index on: what lies before it is not read any more.
    std::int32_t FirstNeededFrom(std::int64_t index) const { return spans_[index].firstFromHere; }

    // The end of the rows that a list names, also with a weight of 0.
    std::int32_t EndOf(std::int64_t index) const { return spans_[index].end; }

    // The one row whose bytes a list gives, if there is one.
    std::optional<std::int32_t> CopiedRow(std::int64_t index) const {
        const std::int32_t copied = spans_[index].copied;
        return copied < 0 ? std::nullopt : std::optional(copied);
    }

    // How many source rows must be at hand at once to go through the lists in order.
    std::int64_t longestSpan() const { return longestSpan_; }

  private:
    void FindSpans(std::span<const ContributionList> exact);
    void JoinNeighbours();
    void MeasureSpans();

    Buffer<RowSpan> spans_;
    Buffer<kernels::BoundedList> lists_;
    std::int64_t listCount_ = 0;
    Buffer<float> weights_;
    std::int64_t weightCount_ = 0;
    std::int64_t sourceSpan_ = 0;
    std::int64_t longestSpan_ = 0;
};

}  // namespace zvk
