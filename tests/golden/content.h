// What the pictures of golden cases show. Whole numbers only, so that a seed means the same picture
// on every machine and by every compiler.
#pragma once

#include <cstdint>
#include <string>

#include "tests/golden/pixels.h"

namespace golden {

enum class Content {
    Noise,      // every byte by itself
    Gradient,   // channels that rise and fall slowly: neighbours are equal or one level apart
    Patches,    // rectangles of one colour each, some of them alike
    TwoValued,  // channels of 0 or 255
};

/// "noise", "gradient", "patches" or "two-valued".
std::string NameOf(Content content);

/// What alpha the pixels have.
enum class Alpha {
    Varied,     // any, unrelated to the colours
    Opaque,     // 255
    Perforated  // 255, or 0 where the colours are 0 too
};

/// The picture that a seed determines.
Pixels Paint(Content content, Alpha alpha, int width, int height, std::uint64_t seed);

}  // namespace golden
