// The figure of the written report: every job's ratio to its fastest peer, by level.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "benchmarks/outcome.h"

namespace bench {

/// Writes an SVG image. Jobs without a peer that counts are left out.
void WriteFigure(std::ostream& output, const std::vector<Outcome>& outcomes,
                 const std::vector<std::string>& levels);

}  // namespace bench
