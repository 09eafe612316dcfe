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
    // Makes one fixed-point list per contribution list of an axis with `sourceLength` pixels; false
    // when out of memory.
    bool Build(std::span<const ContributionList> exact, std::int64_t sourceLength);

    const kernels::FixedList* lists() const { return lists_.get(); }

    // How many pixels of a row the lists name, those with a weight of 0 included. It may be a few
    // more than the source has.
    std::int64_t readLength() const { return readLength_; }

  private:
    Buffer<kernels::FixedList> lists_;
    Buffer<std::int16_t> digits_;
    std::int64_t readLength_ = 0;
};

}  // namespace zvk
