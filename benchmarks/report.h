// The tables of the report, for the terminal and for the written page alike.
#pragma once

#include <string>
#include <vector>

#include "benchmarks/outcome.h"
#include "benchmarks/table.h"

namespace bench {

/// A row per job: the goals, and beside them what each of our levels reached.
Table GoalTable(const std::vector<Outcome>& outcomes, const std::vector<std::string>& levels);

/// A row per contender of a job on one kind of picture, fastest first, with why it counts.
Table ContenderTable(const Contest& contest);

/// "12 of 63 goals for avx2 are reached." for each level with goals.
std::vector<std::string> GoalsReached(const std::vector<Outcome>& outcomes,
                                      const std::vector<std::string>& levels);

/// How to read the goal table, a sentence or two per line.
std::vector<std::string> Legend();

}  // namespace bench
