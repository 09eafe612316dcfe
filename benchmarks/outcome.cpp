// Quantiles, counted peers and ratios. Pure arithmetic on what was measured.
#include "benchmarks/outcome.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "benchmarks/peers/peers.h"
#include "workbench/reports/text_line.h"

namespace bench {

double Times::Quantile(double part) const {
    return sorted[static_cast<std::size_t>(
        std::lround(part * static_cast<double>(sorted.size() - 1)))];
}

const Entrant* Contest::Find(const std::string& name) const {
    const auto found =
        std::find_if(entrants.begin(), entrants.end(),
                     [&name](const Entrant& entrant) { return entrant.name == name; });
    return found == entrants.end() ? nullptr : &*found;
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

std::vector<std::string> SlowerThanLevelBelow(const std::vector<Outcome>& outcomes,
                                              const std::vector<std::string>& levels) {
    std::vector<std::string> sentences;
    for (const Outcome& outcome : outcomes) {
        for (const Contest& contest : outcome.contests) {
            for (std::size_t index = 1; index < levels.size(); ++index) {
                const Entrant* below = contest.Find(levels[index - 1]);
                const Entrant* above = contest.Find(levels[index]);
                if (below == nullptr || above == nullptr) continue;
                const double seconds = below->times.Median();
                const double ratio = above->times.Median() / seconds;
                if (ratio <= Allowance(seconds)) continue;
                sentences.push_back(NameOf(outcome.job) + ", " + NameOf(contest.kind) + ": " +
                                    above->name + " takes " + workbench::Fixed(ratio, 2) +
                                    " times as long as " + below->name + ".");
            }
        }
    }
    return sentences;
}

}  // namespace bench
