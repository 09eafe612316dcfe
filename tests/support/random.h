// Random numbers that are the same on every machine: the engine is defined to the bit, and nothing
// of the standard library's distributions, which are not, is used.
#pragma once

#include <cstdint>
#include <random>

namespace contract {

/// Random numbers from a seed: the same seed gives the same case on every machine.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// A word of random bits.
    std::uint32_t Word() { return static_cast<std::uint32_t>(engine_() >> 32U); }

    /// A number from `lowest` to `highest`, both included.
    std::int64_t Between(std::int64_t lowest, std::int64_t highest) {
        const auto range = static_cast<std::uint64_t>(highest - lowest) + 1;
        return lowest + static_cast<std::int64_t>(engine_() % range);
    }

    /// A number from 0 up to, not including, 1.
    double Fraction() { return static_cast<double>(engine_() >> 11U) * 0x1p-53; }

  private:
    std::mt19937_64 engine_;
};

}  // namespace contract
