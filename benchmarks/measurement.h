// Times all offers of a job in turn, again and again, so that whatever disturbs the machine
// disturbs all of them alike.
#pragma once

#include <vector>

#include "benchmarks/offer.h"
#include "benchmarks/outcome.h"

namespace bench {

/// How much time to spend.
struct Effort {
    double secondsPerOffer = 0;  // on one kind of picture; at least one round is run
    int mostRounds = 0;
};

/// Times every offer on the scene's pictures. A call ends when its result is
/// released again.
std::vector<Entrant> Measure(const Scene& scene, const std::vector<Offer>& offers,
                             const Effort& effort);

}  // namespace bench
