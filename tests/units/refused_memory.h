// Memory that is refused to the code under test, whose requests for zeroed memory the linker leads
// here.
#pragma once

namespace zvk::testing {

/// While it lives, the n-th request for zeroed memory since then is refused. One at a time.
class RefusedMemory {
  public:
    explicit RefusedMemory(int request);
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
    ~RefusedMemory();

    /// Whether there were as many requests as that.
    bool WasAskedFor() const;
};

}  // namespace zvk::testing
