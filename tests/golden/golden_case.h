// One case of the golden list: a call of one method on pictures that a seed determines.
// Plain data; made by the list of cases, read by everything else of this folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "tests/golden/content.h"

namespace golden {

struct Size {
    int width;
    int height;

    friend bool operator==(const Size&, const Size&) = default;
};

/// Pixel layouts by number, 1 to 6 or the console's 8. What the host makes is the result, a mask
/// and the receiver of a drawing.
struct Layouts {
    int source;
    int made;
    bool alphaChannel;  // of the source

    friend bool operator==(const Layouts&, const Layouts&) = default;
};

/// ScalingZVK.
struct Resampling {
    int mode;
    Size to;
};

/// ScaleZVK, or ScaleImageAndMaskZVK.
struct Scaling {
    Size to;
    bool antiAlias;
    bool withMask;
};

/// BlurZVK.
struct Blurring {
    double radius;
};

/// DrawPictureFZVK, onto a receiver of its own.
struct Drawing {
    double x;
    double y;
    double alpha;
    Size receiver;
};

using Call = std::variant<Resampling, Scaling, Blurring, Drawing>;

struct Case {
    int number;
    Call call;
    std::int64_t yield;  // the method's last argument
    Layouts layouts;
    Size size;                 // of the source, which a drawing draws
    std::optional<Size> mask;  // of the source
    Content content;
    std::uint64_t seed;
};

/// Whether the weights of the call come from the C library's `sin`.
bool UsesSin(const Case& item);

/// Everything about the case but its number and its checksum, in one line.
std::string Describe(const Case& item);

}  // namespace golden
