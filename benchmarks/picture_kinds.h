// The three kinds of pictures that jobs are timed on. They differ in how often sums come out on a
// rounding edge, and in how well a processor predicts what depends on values.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "benchmarks/pixels.h"

namespace bench {

enum class PictureKind : std::uint8_t {
    Noise,     // every byte independent
    Gradient,  // slow ramps, a quarter of a level per pixel
    Flat,      // patches of one colour, black and white among them
};

inline constexpr std::array allKinds{PictureKind::Noise, PictureKind::Gradient, PictureKind::Flat};

/// "noise", "gradient" or "flat".
std::string NameOf(PictureKind kind);

/// Fills the pixels, opaque everywhere. `variation` 0, 1, 2 … gives different pictures of a kind;
/// the same one every time.
void Fill(const Pixels& pixels, PictureKind kind, std::uint32_t variation);

}  // namespace bench
