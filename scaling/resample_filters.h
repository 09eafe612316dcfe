// The seven reconstruction kernels of ScalingZVK. The resampler is instantiated once for each, so
// that the kernel is inlined where its weights are computed.
//
// Where the sizes are the same, all filters but Mitchell's are 1 at the pixel itself and next to
// nothing at the others, and `keepsPixels` says so.
//
// Every filter gives its `radius`, the half-width in source pixels of the window that is examined
// around a sample's centre, and `Weight`, the kernel at the distance `ax` >= 0 in source pixels;
// 0.0 is no contribution. Weights are compared with 0.0 by the caller, so the order of the
// operations is part of each definition.
#pragma once

#include <cmath>
#include <numbers>

namespace zvk {

// Linear tent.
struct TriangleFilter {
    static constexpr double radius = 1.0;
    static constexpr bool keepsPixels = true;
    static double Weight(double ax) { return 1.0 > ax ? 1.0 - ax : 0.0; }
};

// Deliberate: the edge counts in full, so a centre half-way between two pixels takes both.
struct BoxFilter {
    static constexpr double radius = 0.5;
    static constexpr bool keepsPixels = true;
    static double Weight(double ax) { return ax <= 0.5 ? 1.0 : 0.0; }
};

// sin(pi x) / (pi x), and 1 at 0. The quotient is not defined there and sin need not be asked.
inline double Sinc(double x) {
    if (x == 0.0) return 1.0;
    const double angle = x * std::numbers::pi;
    return std::sin(angle) / angle;
}

// Sinc windowed by the central lobe of a wider sinc (C. E. Duchon, "Lanczos Filtering in One and
// Two Dimensions", 1979), three lobes.
struct Lanczos3Filter {
    static constexpr double radius = 3.0;
    static constexpr bool keepsPixels = true;
    static double Weight(double ax) {
        if (ax >= radius) return 0.0;
        // A division: the product with a rounded third differs in the last bit.
        return Sinc(ax) * Sinc(ax / 3.0);
    }
};

// As Lanczos3Filter with eight lobes.
struct Lanczos8Filter {
    static constexpr double radius = 8.0;
    static constexpr bool keepsPixels = true;
    static double Weight(double ax) {
        if (ax >= radius) return 0.0;
        return Sinc(ax) * Sinc(ax * 0.125);
    }
};

// D. P. Mitchell and A. N. Netravali, "Reconstruction Filters in Computer Graphics", 1988, with
// B = C = 1/3. It does not interpolate: a picture of unchanged size is blurred a little.
struct MitchellFilter {
    static constexpr double radius = 2.0;
    static constexpr bool keepsPixels = false;
    static double Weight(double ax) {
        const double x2 = ax * ax;
        if (ax < 1.0) return ((ax * x2) * 7.0 + x2 * -12.0 + 16.0 / 3.0) / 6.0;
        if (ax < 2.0) {
            return ((x2 * ax) * (-7.0 / 3.0) + x2 * 12.0 + ax * -20.0 + 32.0 / 3.0) / 6.0;
        }
        return 0.0;
    }
};

// R. G. Keys, "Cubic Convolution Interpolation for Digital Image Processing", 1981, with a = -0.75.
struct BicubicFilter {
    // Deliberate: twice as wide as the kernel. The pixels beyond 2 are examined and dropped, and
    // the lists' capacities follow.
    static constexpr double radius = 4.0;
    static constexpr bool keepsPixels = true;
    static double Weight(double ax) {
        if (ax < 1.0) return ((ax * 1.25 + -2.25) * ax) * ax + 1.0;
        if (ax < 2.0) return ((ax * -0.75 + 3.75) * ax + -6.0) * ax + 3.0;
        return 0.0;
    }
};

// Keys' fourth-order, six-point kernel of the same paper.
struct Cubic6Filter {
    static constexpr double radius = 3.0;
    static constexpr bool keepsPixels = true;
    static double Weight(double ax) {
        const double x2 = ax * ax;
        // Deliberate: the bounds are inclusive, unlike those of the other cubics.
        if (ax <= 1.0) return (x2 * (4.0 / 3.0)) * ax + x2 * (-7.0 / 3.0) + 1.0;
        if (ax <= 2.0) {
            return (x2 * (-7.0 / 12.0)) * ax + x2 * 3.0 + ax * (-59.0 / 12.0) + 2.5;
        }
        if (ax <= 3.0) {
            return (x2 * (1.0 / 12.0)) * ax + x2 * (-2.0 / 3.0) + ax * 1.75 + -1.5;
        }
        return 0.0;
    }
};

}  // namespace zvk
