// Pixels for contract tests: numbered random content, pictures as the references see them, and a
// comparison that shows expected and found side by side.
#pragma once

#include <string>

#include "tests/reference/image.h"
#include "tests/support/random.h"
#include "workbench/pictures/picture.h"

namespace contract {

/// Fills every pixel with random bits; a console picture's transparency keeps its 7 bits.
void FillRandomly(workbench::Picture& picture, Random& random);

/// Fills every pixel with a random opaque colour.
void FillRandomlyOpaque(workbench::Picture& picture, Random& random);

/// The picture's pixels as they are now.
reference::Image ImageOf(const workbench::Picture& picture);

/// Compares pixel by pixel and checks that nothing behind the rows was written. `parameters` says
/// what was done, so that the case can be run again.
void ExpectPixels(const reference::Image& expected, const workbench::Picture& found,
                  const std::string& parameters);

}  // namespace contract
