// Whether peers that are to count make the same picture as we do. Looked at before a job is timed;
// a peer that computes something else loses its place, and our levels must not differ at all.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/offer.h"
#include "benchmarks/result_pictures.h"

namespace bench {

/// Runs every offer that is to count, and all of ours, and compares with the first of ours. The
/// mean difference is entered into each; an offer that disagrees becomes a neighbour. Returns a
/// sentence about each of those; throws std::runtime_error if two of our levels differ at all.
std::vector<std::string> CheckAgreement(ResultPictures& results, const Job& job,
                                        std::vector<Offer>& offers);

}  // namespace bench
