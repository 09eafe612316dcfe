// Stores past the caches, which processors let later stores overtake. The kernels that make them do
// not wait for them: between one row and the next that costs a tenth to a fifth of the whole work.
#pragma once

#include <xmmintrin.h>

namespace zvk::kernels {

// Makes everything streamed so far visible in order with what is stored later. To be called before
// anyone else may look at a picture: in a yield, and when it goes back to the host.
inline void EndStreams() {
    _mm_sfence();
}

}  // namespace zvk::kernels
