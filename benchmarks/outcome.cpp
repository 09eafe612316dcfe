// Quantiles, counted peers and ratios. Pure arithmetic on what was measured.
#include "benchmarks/outcome.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "benchmarks/peers/peers.h"
#include "workbench/reports/text_line.h"

namespace bench {

namespace {

bool IsSlowerLevel(const Entrant& below, const Entrant& above) {
    if (above.kinship != Kinship::Ours) return false;
    const double seconds = below.times.Median();
    return above.times.Median() > seconds * Allowance(seconds);
}

std::string Ratio(const Entrant& below, const Entrant& above) {
    return workbench::Fixed(above.times.Median() / below.times.Median(), 2);
}

const Entrant* FindIn(const std::vector<Entrant>& entrants, const std::string& name) {
    const auto found =
        std::find_if(entrants.begin(), entrants.end(),
                     [&name](const Entrant& entrant) { return entrant.name == name; });
    return found == entrants.end() ? nullptr : &*found;
}

// What a rematch says of two builds, if there was one.
std::string Again(const std::vector<Entrant>& rematch, const std::string& below,
                  const std::string& above) {
    const Entrant* const belowAgain = FindIn(rematch, below);
    const Entrant* const aboveAgain = FindIn(rematch, above);
    if (belowAgain == nullptr || aboveAgain == nullptr) return "";
    return "; timed once more, the levels by themselves, " + Ratio(*belowAgain, *aboveAgain) +
           " times (the table has what came first)";
}

}  // namespace

double Times::Quantile(double part) const {
    return sorted[static_cast<std::size_t>(
        std::lround(part * static_cast<double>(sorted.size() - 1)))];
}

const Entrant* Contest::Find(const std::string& name) const {
    return FindIn(entrants, name);
}

bool Contest::HasSlowerLevel() const {
    return std::adjacent_find(entrants.begin(), entrants.end(), IsSlowerLevel) != entrants.end();
}

const Entrant* Contest::FastestPeer(Level level) const {
    const Level most = std::max(level, Level::Avx2);
    const Entrant* fastest = nullptr;
    for (const Entrant& entrant : entrants) {
        if (!Counts(entrant.kinship) || entrant.level > most) continue;
        if (fastest == nullptr || entrant.times.Median() < fastest->times.Median())
            fastest = &entrant;
    }
    return fastest;
}

std::optional<Standing> StandingOf(const Outcome& outcome, const std::string& level) {
    std::optional<Standing> standing;
    for (const Contest& contest : outcome.contests) {
        const Entrant* ours = contest.Find(level);
        if (ours == nullptr) return std::nullopt;
        if (!standing) standing.emplace();
        const double seconds = ours->times.Median();
        standing->seconds = std::max(standing->seconds, seconds);
        standing->copies =
            std::max(standing->copies, seconds / contest.Find(copyName)->times.Median());
        const Entrant* peer = contest.FastestPeer(ours->level);
        if (peer == nullptr) continue;
        const double ratio = seconds / peer->times.Median();
        if (standing->ratio && ratio <= *standing->ratio) continue;
        standing->ratio = ratio;
        standing->peer = peer->name;
    }
    return standing;
}

std::optional<double> GoalOf(const Goal& goal, const std::string& level) {
    if (level == "avx512") return goal.avx512;
    if (level == "avx2") return goal.avx2;
    return std::nullopt;
}

double Allowance(double seconds) {
    constexpr double shortTime = 0.6e-3;
    return seconds < shortTime ? 1.15 : 1.08;
}

bool Reaches(const Standing& standing, double ratio, double fastestKnown) {
    const double most = ratio * Allowance(standing.seconds);
    if (standing.ratio) return *standing.ratio <= most;
    return standing.copies <= most * fastestKnown;
}

std::vector<std::string> SlowerThanLevelBelow(const std::vector<Outcome>& outcomes) {
    std::vector<std::string> sentences;
    for (const Outcome& outcome : outcomes) {
        for (const Contest& contest : outcome.contests) {
            for (std::size_t index = 1; index < contest.entrants.size(); ++index) {
                const Entrant& below = contest.entrants[index - 1];
                const Entrant& above = contest.entrants[index];
                if (!IsSlowerLevel(below, above)) continue;
                sentences.push_back(NameOf(outcome.job) + ", " + NameOf(contest.kind) + ": " +
                                    above.name + " took " + Ratio(below, above) +
                                    " times as long as " + below.name +
                                    Again(contest.rematch, below.name, above.name) + ".");
            }
        }
    }
    return sentences;
}

}  // namespace bench
