// What a contender offers for a job: how it does it, and whether it is the same job.
// Peers and our own levels give lists of these; the measurement runs them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks/job.h"
#include "benchmarks/result.h"
#include "benchmarks/scene.h"

namespace bench {

/// Instruction sets, each including those before it.
enum class Level : std::uint8_t { Baseline, Sse41, Avx2, Avx512 };

enum class Kinship : std::uint8_t {
    Ours,
    SameJob,    // the same picture within rounding; counted, checked on noise
    SameWork,   // other weights at the same cost; counted, checked on gradients
    Neighbour,  // shown, not counted
    Yardstick,  // no picture at all
};

constexpr bool Counts(Kinship kinship) {
    return kinship == Kinship::SameJob || kinship == Kinship::SameWork;
}

/// Does the job once, everything included that a single call needs: tables, working memory and
/// the creation of the result.
using Work = std::function<std::unique_ptr<Result>()>;

struct Offer {
    std::string name;
    Kinship kinship = Kinship::Neighbour;
    std::string reason;                         // why it counts, or why it does not; one phrase
    Level level = Level::Avx2;                  // the most that it makes use of
    std::function<Work(const Scene&)> prepare;  // not timed; the scene outlives the work
    std::optional<double> difference = std::nullopt;  // from our picture, mean of bytes; if checked
};

/// A library's offers for a job; none where it has nothing like it.
using Peer = std::vector<Offer> (*)(const Job& job);

}  // namespace bench
