// The seven reconstruction kernels, each in the order of operations that its weights depend on.
#include "tests/reference/filters.h"

#include <cmath>
#include <optional>
#include <stdexcept>

namespace reference {
namespace {

constexpr double pi = 3.141592653589793;

std::optional<double> Triangle(double ax) {
    if (1.0 > ax) {
        return 1.0 - ax;
    }
    return std::nullopt;
}

std::optional<double> Box(double ax) {
    if (ax <= 0.5) {
        return 1.0;
    }
    return std::nullopt;
}

double NormalisedSine(double angleInHalfTurns) {
    if (angleInHalfTurns == 0.0) {
        return 1.0;
    }
    const double angle = angleInHalfTurns * pi;
    return std::sin(angle) / angle;
}

std::optional<double> Lanczos3(double ax) {
    if (ax >= 3.0) {
        return std::nullopt;
    }
    return NormalisedSine(ax) * NormalisedSine(ax / 3.0);
}

std::optional<double> Lanczos8(double ax) {
    if (ax >= 8.0) {
        return std::nullopt;
    }
    return NormalisedSine(ax) * NormalisedSine(ax * 0.125);
}

std::optional<double> Mitchell(double ax) {
    const double x2 = ax * ax;
    if (ax < 1.0) {
        double p = (ax * x2) * 7.0;
        p = p + x2 * -12.0;
        p = p + 5.333333333333333;
        return p / 6.0;
    }
    if (ax < 2.0) {
        double p = (x2 * ax) * -2.3333333333333335;
        p = p + x2 * 12.0;
        p = p + ax * -20.0;
        p = p + 10.666666666666666;
        return p / 6.0;
    }
    return std::nullopt;
}

std::optional<double> Bicubic(double ax) {
    if (ax < 1.0) {
        return ((ax * 1.25 + -2.25) * ax) * ax + 1.0;
    }
    if (ax < 2.0) {
        return ((ax * -0.75 + 3.75) * ax + -6.0) * ax + 3.0;
    }
    return std::nullopt;
}

std::optional<double> Cubic6(double ax) {
    const double x2 = ax * ax;
    if (ax <= 1.0) {
        return (x2 * 1.3333333333333333) * ax + x2 * -2.3333333333333335 + 1.0;
    }
    if (ax <= 2.0) {
        return (x2 * -0.5833333333333334) * ax + x2 * 3.0 + ax * -4.916666666666667 + 2.5;
    }
    if (ax <= 3.0) {
        return (x2 * 0.08333333333333333) * ax + x2 * -0.6666666666666666 + ax * 1.75 + -1.5;
    }
    return std::nullopt;
}

}  // namespace

double FilterRadius(int mode) {
    switch (mode) {
        case 1:
            return 1.0;
        case 2:
            return 0.5;
        case 3:
            return 3.0;
        case 4:
            return 8.0;
        case 5:
            return 2.0;
        case 6:
            return 4.0;
        case 7:
            return 3.0;
        default:
            throw std::invalid_argument("there are modes 1 to 7");
    }
}

std::optional<double> FilterWeight(int mode, double ax) {
    switch (mode) {
        case 1:
            return Triangle(ax);
        case 2:
            return Box(ax);
        case 3:
            return Lanczos3(ax);
        case 4:
            return Lanczos8(ax);
        case 5:
            return Mitchell(ax);
        case 6:
            return Bicubic(ax);
        case 7:
            return Cubic6(ax);
        default:
            throw std::invalid_argument("there are modes 1 to 7");
    }
}

}  // namespace reference
