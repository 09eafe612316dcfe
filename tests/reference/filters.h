// The seven reconstruction kernels, as formulas. Called by the contribution lists and by tests.
#pragma once

#include <optional>

namespace reference {

/// Half the width of the window examined around a sample centre, for modes 1 to 7.
double FilterRadius(int mode);

/// The kernel's weight at the absolute distance `ax`; nothing outside the kernel.
///   1 triangle   2 box   3 Lanczos, 3 lobes   4 Lanczos, 8 lobes
///   5 Mitchell and Netravali's cubic with B = C = 1/3
///   6 Keys' cubic convolution with a = -0.75   7 Keys' six-point cubic convolution
std::optional<double> FilterWeight(int mode, double ax);

}  // namespace reference
