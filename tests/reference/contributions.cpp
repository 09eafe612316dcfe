// The contribution lists of one axis. The two axes size and bound their lists differently on
// purpose, and so does this file.
#include "tests/reference/contributions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tests/reference/filters.h"

namespace reference {
namespace {

std::int64_t CapacityWhenReducing(Axis axis, double width) {
    if (axis == Axis::Horizontal) {
        return 2 * static_cast<std::int64_t>(width) + 2;
    }
    return static_cast<std::int64_t>(2 * width + 2.0);
}

std::int64_t CapacityWhenEnlarging(Axis axis, int mode) {
    static constexpr std::array<std::int64_t, 7> horizontal = {4, 2, 8, 18, 6, 10, 8};
    static constexpr std::array<std::int64_t, 7> vertical = {4, 3, 8, 18, 6, 10, 8};
    const auto index = static_cast<std::size_t>(mode - 1);
    return axis == Axis::Horizontal ? horizontal.at(index) : vertical.at(index);
}

struct Window {
    std::int64_t left;
    std::int64_t right;
};

Window ClipWindow(Window window, std::int64_t sourceLength) {
    if (window.left < 0) {
        window.left = 0;
    }
    if (window.right >= sourceLength) {
        window.right = sourceLength - 1;
    }
    return window;
}

Window WindowWhenReducing(double center, double width) {
    return {static_cast<std::int64_t>(center - width), static_cast<std::int64_t>(center + width)};
}

Window WindowWhenEnlarging(Axis axis, double center, double radius) {
    if (axis == Axis::Horizontal) {
        return {static_cast<std::int64_t>(std::floor(center + -radius)),
                static_cast<std::int64_t>(std::ceil(center + radius))};
    }
    return {static_cast<std::int64_t>(center + -radius),
            static_cast<std::int64_t>(center + radius)};
}

void FillList(ContributionList& list, int mode, Window window, double center, double factor) {
    double sum = 0.0;
    for (std::int64_t j = window.left; j <= window.right; ++j) {
        const double x = ((center - static_cast<double>(j)) + -0.5) * factor;
        const std::optional<double> weight = FilterWeight(mode, std::fabs(x));
        if (!weight.has_value() || *weight == 0.0) {
            continue;
        }
        list.entries.push_back({static_cast<float>(*weight), static_cast<std::int32_t>(j)});
        sum = sum + *weight;
    }
    list.weightSum = static_cast<float>(sum);
}

ContributionList ListOf(int mode, Axis axis, std::int64_t sourceLength, double scale,
                        std::int64_t i) {
    const double radius = FilterRadius(mode);
    const double center = (static_cast<double>(i) + 0.5) / scale;
    ContributionList list;
    if (1.0 > scale) {
        const double width = radius / scale;
        list.capacity = CapacityWhenReducing(axis, width);
        FillList(list, mode, ClipWindow(WindowWhenReducing(center, width), sourceLength), center,
                 scale);
    } else {
        list.capacity = CapacityWhenEnlarging(axis, mode);
        const Window window = WindowWhenEnlarging(axis, center, radius);
        // The distance is unscaled: a factor of 1.0 leaves every value as it is.
        FillList(list, mode, ClipWindow(window, sourceLength), center, 1.0);
    }
    return list;
}

}  // namespace

std::vector<ContributionList> ComputeContributions(int mode, Axis axis, std::int64_t sourceLength,
                                                   std::int64_t destinationLength,
                                                   const std::vector<std::int64_t>& failed) {
    const double scale = static_cast<double>(destinationLength) / static_cast<double>(sourceLength);
    std::vector<ContributionList> table;
    for (std::int64_t i = 0; i < destinationLength; ++i) {
        if (std::find(failed.begin(), failed.end(), i) != failed.end()) {
            table.push_back({true, 0, {}, 0});
        } else {
            table.push_back(ListOf(mode, axis, sourceLength, scale, i));
        }
    }
    return table;
}

}  // namespace reference
