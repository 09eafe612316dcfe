// Contribution tables in fixed point, as the kernels along the rows read them, with the proof of
// what they settle.
#pragma once

#include <cstdint>
#include <span>

#include "bridge/buffer.h"
#include "kernels/fixed_list.h"
#include "kernels/row_layout.h"

namespace zvk {

// The fixed-point lists of one axis. It refers to the contribution lists that it was made from.
class FixedTable {
  public:
    // Makes one fixed-point list per contribution list, for kernels that lay out rows in this way;
    // false when out of memory. To be called once. Pixels lie below 2^31 - 8.
    bool Build(std::span<const ContributionList> exact, kernels::RowLayout layout);

    const kernels::FixedList* lists() const { return lists_.get(); }

    // How many places lie before the first pixel.
    std::int32_t lead() const { return lead_; }

    // Behind the last place that a list names.
    std::int64_t end() const { return end_; }

  private:
    template <typename Digits>
    bool BuildOf(std::span<const ContributionList> exact);
    void ChooseLead(std::span<const ContributionList> exact, std::int32_t group);

    Buffer<kernels::FixedList> lists_;
    Buffer<std::uint8_t> digits_;
    std::int32_t lead_ = 0;
    std::int64_t end_ = 0;
};

}  // namespace zvk
