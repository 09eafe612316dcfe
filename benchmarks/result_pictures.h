// Where the pictures come from that results are written into: the same for our methods and for
// every library that can write into given memory.
#pragma once

#include <cstdint>
#include <map>
#include <utility>

#include "benchmarks/job.h"
#include "workbench/host/host.h"

namespace bench {

enum class ResultMemory : std::uint8_t {
    // The host gives out the same memory again, as it was left: what is timed is the work.
    Recycled,
    // The host allocates, clears and whitens every picture, which can take longer than the work.
    Fresh,
};

/// One at a time; the host must outlive it.
class ResultPictures {
  public:
    ResultPictures(workbench::Host& host, ResultMemory memory);
    ResultPictures(const ResultPictures&) = delete;
    ResultPictures& operator=(const ResultPictures&) = delete;
    ~ResultPictures();

    workbench::Host& TheHost() const { return host_; }

    /// A picture of the host's, with one reference. Throws std::bad_alloc.
    workbench::Held<workbench::Picture> Make(Size size);

    /// What a plugin finds the host's services by: those of the host, except that new pictures come
    /// from here.
    static REALresolver Resolver();

  private:
    // The memory of one size, and the picture that was last given out with it.
    struct Slot {
        workbench::Held<workbench::Picture> owner;
        REALpicture borrower = nullptr;
    };

    workbench::Held<workbench::Picture> MakeFresh(Size size) const;

    workbench::Host& host_;
    ResultMemory memory_;
    std::map<std::pair<int, int>, Slot> slots_;
};

}  // namespace bench
