// Contribution tables in fixed point, as the kernels along the rows read them, with the proof of
// what they settle.
#pragma once

#include <cstdint>
#include <span>

#include "bridge/buffer.h"
#include "kernels/fixed_list.h"

namespace zvk {

// The fixed-point lists of one axis. It refers to the contribution lists that it was made from.
class FixedTable {
  public:
    // Makes one fixed-point list per contribution list; false when out of memory.
    bool Build(std::span<const ContributionList> exact);

    const kernels::FixedList* lists() const { return lists_.get(); }

    // Behind the last pixel that a list names.
    std::int64_t end() const { return end_; }

  private:
    Buffer<kernels::FixedList> lists_;
    Buffer<std::int16_t> digits_;
    std::int64_t end_ = 0;
};

}  // namespace zvk
