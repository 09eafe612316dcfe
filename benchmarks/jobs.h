// All jobs of the benchmark, in the order of the report.
#pragma once

#include <vector>

#include "benchmarks/job.h"

namespace bench {

std::vector<Job> AllJobs();

}  // namespace bench
