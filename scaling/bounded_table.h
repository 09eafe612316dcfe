// Contribution tables in the form that the vector kernels read, with the proof of what they settle.
#pragma once

#include <cstdint>
#include <span>

#include "bridge/buffer.h"
#include "kernels/bounded_list.h"

namespace zvk {

// The bounded lists of one axis. It refers to the contribution lists that it was made from.
class BoundedTable {
  public:
    // Makes one bounded list per contribution list; false when out of memory.
    bool Build(std::span<const ContributionList> exact);

    const kernels::BoundedList* lists() const { return lists_.get(); }

    // How many weights all lists have together.
    std::int64_t weightCount() const { return weightCount_; }

    // How many source rows lie between the first and the last that is needed.
    std::int64_t sourceSpan() const { return sourceSpan_; }

    // The least `first` among the lists from index on: what lies before it is not read any more.
    std::int32_t FirstNeededFrom(std::int64_t index) const { return firstNeeded_[index]; }

    // How many source rows must be at hand at once to go through the lists in order.
    std::int64_t longestSpan() const { return longestSpan_; }

  private:
    void FindSpans(std::span<const ContributionList> exact);

    Buffer<kernels::BoundedList> lists_;
    Buffer<std::int32_t> firstNeeded_;
    Buffer<float> weights_;
    std::int64_t weightCount_ = 0;
    std::int64_t sourceSpan_ = 0;
    std::int64_t longestSpan_ = 0;
};

}  // namespace zvk
