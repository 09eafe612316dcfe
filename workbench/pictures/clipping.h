// Which destination pixels a drawing touches along one axis, and where each comes from.
// Shared by both ways of drawing; arithmetic only.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace workbench {

/// One axis of a drawing: destination pixels [begin, end) come from source positions.
struct Axis {
    int begin = 0;
    int end = 0;
    double scale = 1.0;   // source pixels per destination pixel
    double offset = 0.0;  // source position of the left edge of destination pixel 0

    bool IsEmpty() const { return end <= begin; }
    int Length() const { return end - begin; }
    bool IsScaled() const { return scale != 1.0; }

    /// The source pixel of a destination pixel, where nothing is scaled.
    int SourceOf(int pixel) const { return pixel + static_cast<int>(offset); }
};

/// The part of an axis that lies in both pictures: `to` and `from` are the rectangles' starts,
/// `toLength` and `fromLength` their lengths, the sizes those of the pictures. A pixel is drawn
/// when its centre falls into the source. All numbers are within 32 bits.
inline Axis Clip(std::int64_t to, std::int64_t toLength, std::int64_t from, std::int64_t fromLength,
                 int toSize, int fromSize) {
    Axis axis;
    if (toLength <= 0 || fromLength <= 0) return axis;
    axis.scale = static_cast<double>(fromLength) / static_cast<double>(toLength);
    axis.offset = static_cast<double>(from) - static_cast<double>(to) * axis.scale;
    const auto pixelAt = [&axis](double position) {
        return std::ceil((position - axis.offset) / axis.scale - 0.5);
    };
    const double first = std::max({0.0, static_cast<double>(to), pixelAt(0.0)});
    const double last = std::min({static_cast<double>(toSize), static_cast<double>(to + toLength),
                                  pixelAt(static_cast<double>(fromSize))});
    if (last <= first) return axis;
    axis.begin = static_cast<int>(first);
    axis.end = static_cast<int>(last);
    return axis;
}

}  // namespace workbench
