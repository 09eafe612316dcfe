// What a contender made, in whatever object its library keeps it.
// Made and released inside the measured time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "benchmarks/job.h"

namespace bench {

/// Colours of a picture as bytes red, green, blue; made for comparisons only.
struct Raster {
    Size size;
    std::vector<std::uint8_t> bytes;
};

class Result {
  public:
    Result() = default;
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
    virtual ~Result() = default;

    /// The colours, copied.
    virtual Raster Colours() const = 0;
};

}  // namespace bench
