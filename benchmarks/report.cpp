// Turns outcomes into tables.
#include "benchmarks/report.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "workbench/reports/text_line.h"

namespace bench {

namespace {

using workbench::Fixed;

// "0.55 (1.4x)": the ratio, and the same in memcpys where the fastest known peer is known.
std::string GoalText(const Goal& goal, double ratio) {
    if (goal.fastestKnown == 0) return Fixed(ratio, 2);
    return Fixed(ratio, 2) + " (" + Fixed(ratio * goal.fastestKnown, 1) + "x)";
}

std::string StandingText(const Standing& standing, const Goal& goals, std::optional<double> goal) {
    const std::string ratio = standing.ratio ? Fixed(*standing.ratio, 2) : "-";
    const bool missed = goal && !Reaches(standing, *goal, goals.fastestKnown);
    return ratio + " (" + Fixed(standing.copies, 1) + "x)" + (missed ? " !" : "  ");
}

// The highest of the levels is the one whose fastest peer is named.
std::string PeerText(const Outcome& outcome, const std::vector<std::string>& levels) {
    const auto standing = StandingOf(outcome, levels.back());
    return standing && standing->ratio ? standing->peer : "none";
}

std::string KinshipText(Kinship kinship) {
    switch (kinship) {
        case Kinship::Ours:
            return "ours";
        case Kinship::SameJob:
            return "counted: same job";
        case Kinship::SameWork:
            return "counted: same work";
        case Kinship::Neighbour:
            return "not counted";
        case Kinship::Yardstick:
            break;
    }
    return "yardstick";
}

std::string Milliseconds(double seconds) {
    return Fixed(seconds * 1e3, 3);
}

}  // namespace

Table GoalTable(const std::vector<Outcome>& outcomes, const std::vector<std::string>& levels) {
    Table table;
    table.head = {"job"};
    for (const std::string& level : levels) {
        if (GoalOf({}, level)) table.head.push_back("goal " + level);
        table.head.push_back(level + "  ");
    }
    table.head.emplace_back("fastest peer");
    for (const Outcome& outcome : outcomes) {
        Table::Row row{NameOf(outcome.job)};
        for (const std::string& level : levels) {
            const auto goal = GoalOf(outcome.job.goal, level);
            if (goal) row.push_back(GoalText(outcome.job.goal, *goal));
            const auto standing = StandingOf(outcome, level);
            row.push_back(standing ? StandingText(*standing, outcome.job.goal, goal) : "");
        }
        row.push_back(PeerText(outcome, levels));
        table.rows.push_back(std::move(row));
    }
    return table;
}

Table ContenderTable(const Contest& contest) {
    std::vector<Entrant> entrants = contest.entrants;
    std::sort(entrants.begin(), entrants.end(), [](const Entrant& left, const Entrant& right) {
        return left.times.Median() < right.times.Median();
    });
    Table table;
    table.head = {"contender", "place", "why", "differs by", "median ms", "middle half", "rounds"};
    table.textColumns = 3;
    for (const Entrant& entrant : entrants) {
        const Times& times = entrant.times;
        table.rows.push_back(
            {entrant.name, KinshipText(entrant.kinship), entrant.reason,
             entrant.difference ? Fixed(*entrant.difference, 2) : "", Milliseconds(times.Median()),
             Milliseconds(times.Quantile(0.25)) + " to " + Milliseconds(times.Quantile(0.75)),
             std::to_string(times.sorted.size())});
    }
    return table;
}

std::vector<std::string> GoalsReached(const std::vector<Outcome>& outcomes,
                                      const std::vector<std::string>& levels) {
    std::vector<std::string> sentences;
    for (const std::string& level : levels) {
        if (!GoalOf({}, level)) continue;
        const auto reached =
            std::count_if(outcomes.begin(), outcomes.end(), [&level](const Outcome& outcome) {
                const Goal& goal = outcome.job.goal;
                const auto standing = StandingOf(outcome, level);
                return standing && Reaches(*standing, *GoalOf(goal, level), goal.fastestKnown);
            });
        sentences.push_back(std::to_string(reached) + " of " + std::to_string(outcomes.size()) +
                            " goals for " + level + " are reached.");
    }
    return sentences;
}

std::vector<std::string> Legend() {
    return {
        "Each figure is our time divided by that of the fastest peer that counts, on the kind of "
        "picture where it is worst; below 1 we are faster. \"-\": no peer here does the job.",
        "In brackets: our time in memcpys that read and write as many bytes as the job must. For "
        "goals, the same of the fastest peer known anywhere.",
        "\"!\" marks a goal that is missed by more than noise: 8 %, or 15 % below 0.6 ms. Where no "
        "peer here does the job, the memcpys decide.",
    };
}

}  // namespace bench
