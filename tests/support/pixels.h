// Pixels for contract tests: numbered random content, pictures as the references see them, and a
// comparison that shows expected and found side by side.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "tests/reference/image.h"
#include "workbench/pictures/picture.h"

namespace contract {

/// Random numbers from a seed: the same seed gives the same case on every machine.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// A word of random bits.
    std::uint32_t Word() { return static_cast<std::uint32_t>(engine_() >> 32U); }

    /// A number from `lowest` to `highest`, both included.
    std::int64_t Between(std::int64_t lowest, std::int64_t highest);

    /// A number from 0 up to, not including, 1.
    double Fraction() { return static_cast<double>(engine_() >> 11U) * 0x1p-53; }

  private:
    std::mt19937_64 engine_;
};

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
