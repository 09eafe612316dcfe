// What was measured, and the ratios that follow from it. Filled by the measurement, read by the
// reports.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "benchmarks/offer.h"
#include "benchmarks/picture_kinds.h"

namespace bench {

/// Seconds per call, sorted, never empty.
struct Times {
    std::vector<double> sorted;

    /// The time below which the given part of the times lies.
    double Quantile(double part) const;
    double Median() const { return Quantile(0.5); }
};

/// An offer and its times.
struct Entrant {
    std::string name;
    Kinship kinship = Kinship::Neighbour;
    std::string reason;
    Level level = Level::Baseline;
    std::optional<double> difference;  // from our picture, mean of bytes; if checked
    Times times;
};

/// All entrants of a job on one kind of picture.
struct Contest {
    PictureKind kind = PictureKind::Noise;
    std::vector<Entrant> entrants;  // our builds one behind the other, the lowest level first
    std::vector<Entrant> rematch;   // our builds by themselves, if it took one

    const Entrant* Find(const std::string& name) const;

    /// Whether one of our builds is slower than the one before it.
    bool HasSlowerLevel() const;

    /// The fastest of those that count for a level: without AVX-512 for levels below it.
    const Entrant* FastestPeer(Level level) const;
};

struct Outcome {
    Job job;
    std::vector<Contest> contests;
};

/// What became of one of our levels in a job, over all kinds of pictures: the worst of each.
struct Standing {
    std::optional<double> ratio;  // to the fastest peer; nothing where none counts
    std::string peer;             // the one in that ratio
    double copies = 0;            // time in memcpys of the job's bytes
    double seconds = 0;
};

/// Nothing where the level was not measured.
std::optional<Standing> StandingOf(const Outcome& outcome, const std::string& level);

/// The ratio that a level is to reach, for those that have a goal.
std::optional<double> GoalOf(const Goal& goal, const std::string& level);

/// By how much a time may exceed what is aimed for, since clocks and caches are noisy.
double Allowance(double seconds);

/// Whether a standing reaches the ratio that is a goal. Where no peer counts, the fastest one known
/// stands in for it.
bool Reaches(const Standing& standing, double ratio, double fastestKnown);

/// A sentence for each of our builds that was slower than the one before it, with what the rematch
/// says of it.
std::vector<std::string> SlowerThanLevelBelow(const std::vector<Outcome>& outcomes);

}  // namespace bench
