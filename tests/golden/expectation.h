// What a case has to give, by the slow statement of the arithmetic in tests/reference.
#pragma once

#include "tests/golden/golden_case.h"
#include "tests/golden/run.h"

namespace golden {

/// The results of the case for pictures that are as given before the call.
Results Expected(const Case& item, const Inputs& inputs);

}  // namespace golden
