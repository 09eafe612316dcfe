// Memory that is refused to the code under test, whose requests for zeroed memory the linker leads
// here.
#pragma once

namespace zvk::testing {

/// What becomes of memory that is granted before a request is refused. Memory that the code under
/// test keeps on purpose is no leak.
enum class Granted { MustBeGivenBack, MayBeKept };

/// While it lives, the n-th request for zeroed memory since then is refused. One at a time.
class RefusedMemory {
  public:
    explicit RefusedMemory(int request, Granted granted = Granted::MustBeGivenBack);
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
    ~RefusedMemory();

    /// Whether there were as many requests as that.
    bool WasAskedFor() const;
};

}  // namespace zvk::testing
