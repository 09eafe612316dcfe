// The golden cases: a fixed list. A case keeps its number for good; new cases go to the end.
#pragma once

#include <vector>

#include "tests/golden/golden_case.h"

namespace golden {

/// All cases, numbered from 1.
const std::vector<Case>& AllCases();

}  // namespace golden
