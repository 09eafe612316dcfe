// Contribution tables: for every destination coordinate of one axis, the source coordinates that
// feed it and their weights. Built once per axis and call, then read for every pixel of a pass.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <type_traits>

#include "bridge/buffer.h"
#include "kernels/arithmetic.h"
#include "kernels/contribution.h"
#include "scaling/resample_filters.h"

namespace zvk {

enum class Axis : std::uint8_t { Horizontal, Vertical };

// Owns an array of contribution lists and their entries. All entries lie in one block if there is
// memory for it; else each list has memory of its own, or none. To allocate and free that for every
// list would take much of the time of a small picture.
class ContributionTable {
  public:
    ContributionTable() = default;
    ContributionTable(const ContributionTable&) = delete;
    ContributionTable& operator=(const ContributionTable&) = delete;
    ~ContributionTable();

    // Replaces the array by one of `length` empty lists; false when out of memory.
    bool Allocate(std::int64_t length);

    // Frees the entries of every list and leaves the lists empty.
    void Clear();

    // Makes room for `capacity` entries of each of the first `length` lists. All lists are empty.
    void Reserve(std::int64_t length, std::int64_t capacity);

    // Gives an empty list its room, filled with zeros; false when out of memory.
    bool GiveRoom(ContributionList& list);

    // The first `length` lists; `length` is at most what was allocated.
    std::span<ContributionList> Lists(std::int64_t length) {
        return {lists_.get(), static_cast<std::size_t>(length)};
    }

  private:
    Buffer<ContributionList> lists_;
    std::int64_t length_ = 0;
    // The entries of all lists, if they are in one block.
    Buffer<Contribution> block_;
    std::int64_t capacity_ = 0;
};

// A list's weights and pixels.
inline std::span<const Contribution> EntriesOf(const ContributionList& list) {
    return {list.entries, static_cast<std::size_t>(list.count)};
}

// The pixel whose bytes a list always gives, along a row and down a column, if there is one.
std::optional<std::int32_t> CopiedPixel(const ContributionList& list);

// Whether all weights of a list of neighbouring pixels are 1, so that it gives their mean.
bool IsPlainMean(const ContributionList& list);

// The denominator d, at most `greatest`, of a list whose weights are whole multiples n of one
// number, none negative: along a row, its bytes are sum(n c) / d rounded half up. 0 if it is no
// such list.
std::int32_t HalfUpDenominator(const ContributionList& list, std::int32_t greatest);

// Whether a value is a power of two, and so divides without rounding.
bool IsPowerOfTwo(double value);

// Whether products of a list's weights with bytes add up without rounding in double precision, and
// so to the same sum in any order. They may have been rounded to single precision.
bool AddsExactly(const ContributionList& list);

// Whether two lists have the same weights at the same distances from each other.
bool HaveSameWeights(const ContributionList& list, const ContributionList& other);

// Ratios of small whole numbers give the same weights again after a few lists.
inline constexpr std::size_t listsRemembered = 8;

// The nearest of the last few lists before `index` that has the same weights and for whose index
// `fits` holds; the index itself if there is none.
template <typename Fits>
std::size_t FindTwin(std::span<const ContributionList> lists, std::size_t index, Fits fits) {
    const std::size_t farthest = std::min(listsRemembered, index);
    for (std::size_t back = 1; back <= farthest; ++back) {
        if (fits(index - back) && HaveSameWeights(lists[index - back], lists[index]))
            return index - back;
    }
    return index;
}

// Odd denominators of weights are looked for up to here.
inline constexpr int greatestOddDenominator = 9;

// How far from every half the weighted means of bytes stay that a list can give; 0 where nothing is
// known of it.
double DistanceFromHalves(const ContributionList& list);

// How far source coordinates lie apart along an axis, and which of them a destination coordinate
// looks at.
struct AxisMapping {
    std::int64_t sourceLength;
    double scale;

    AxisMapping(std::int64_t source, std::int64_t destination)
        : sourceLength(source),
          scale(static_cast<double>(destination) / static_cast<double>(source)) {}

    bool IsReducing() const { return 1.0 > scale; }

    // The source position of a destination coordinate's centre.
    double Centre(std::int64_t coordinate) const {
        return (static_cast<double>(coordinate) + 0.5) / scale;
    }

    // Distance of source pixel `pixel` from a position, in source pixels.
    static double Offset(double centre, std::int64_t pixel) {
        return (centre - static_cast<double>(pixel)) + -0.5;
    }
};

// The source coordinates `first` to `last` inclusive; none where `first` is greater.
struct Window {
    std::int64_t first;
    std::int64_t last;

    // The window between two positions, each truncated toward zero and clipped to the source. The
    // picture is neither reflected nor repeated at its edges: lists there are shorter.
    static Window Between(double left, double right, std::int64_t sourceLength) {
        return {.first = std::max<std::int64_t>(TruncateToInt64(left), 0),
                .last = std::min(TruncateToInt64(right), sourceLength - 1)};
    }
};

// How many entries a list may hold. They always suffice: a kernel with a strict bound has at most
// 2 trunc(w) + 2 nonzero taps in a window of half-width w, and the box at most trunc(2 w) + 1.
// Deliberate: the axes round differently, and so do the box's lists when enlarging.
template <typename Filter, Axis axis>
std::int64_t ReducingCapacity(double halfWidth) {
    if constexpr (axis == Axis::Horizontal) {
        return 2 * TruncateToInt64(halfWidth) + 2;
    } else {
        return TruncateToInt64(2.0 * halfWidth + 2.0);
    }
}

template <typename Filter, Axis axis>
constexpr std::int64_t EnlargingCapacity() {
    if constexpr (std::is_same_v<Filter, BoxFilter>) {
        return axis == Axis::Horizontal ? 2 : 3;
    } else {
        return static_cast<std::int64_t>(2.0 * Filter::radius + 2.0);
    }
}

// Fills lists with the nonzero weights of their windows, whose offsets are multiplied by `stretch`.
//
// A weight depends on nothing but the distance between a pixel and the centre, and that on nothing
// but the pixel's place in the window and the distance between the window and the centre. The last
// of these is exact in double, since no window begins behind its centre. So lists in which it is
// the same have the same weights, bit for bit, and one is copied from the other.
template <typename Filter>
class ListFiller {
  public:
    ListFiller(ContributionTable& table, double stretch) : table_(table), stretch_(stretch) {}

    // Fills an empty list of the table. It stays empty if there is no memory for its entries: the
    // coordinate then comes out black.
    void Fill(ContributionList& list, const Window& window, double centre) {
        if (!table_.GiveRoom(list)) return;
        const Filled filled{.distance = centre - static_cast<double>(window.first),
                            .window = window,
                            .list = &list};
        if (const Filled* twin = FindTwin(filled)) {
            Copy(*twin, window.first, list);
        } else {
            Compute(window, centre, list);
            remembered_[next_] = filled;
            next_ = (next_ + 1) % remembered_.size();
        }
    }

  private:
    struct Filled {
        double distance;
        Window window;
        const ContributionList* list;

        std::int64_t length() const { return window.last - window.first; }
    };

    const Filled* FindTwin(const Filled& wanted) const {
        const auto isTwin = [&](const Filled& filled) {
            return filled.list != nullptr && filled.distance == wanted.distance &&
                   filled.length() == wanted.length();
        };
        const auto twin = std::find_if(remembered_.begin(), remembered_.end(), isTwin);
        return twin == remembered_.end() ? nullptr : &*twin;
    }

    static void Copy(const Filled& twin, std::int64_t first, ContributionList& list) {
        const std::int64_t shift = first - twin.window.first;
        for (; list.count < twin.list->count; ++list.count) {
            const Contribution& entry = twin.list->entries[list.count];
            list.entries[list.count] = {.weight = entry.weight,
                                        .pixel = static_cast<std::int32_t>(entry.pixel + shift)};
        }
        list.weightSum = twin.list->weightSum;
    }

    void Compute(const Window& window, double centre, ContributionList& list) const {
        double sum = 0.0;
        for (std::int64_t pixel = window.first; pixel <= window.last; ++pixel) {
            const double weight =
                Filter::Weight(std::fabs(AxisMapping::Offset(centre, pixel) * stretch_));
            if (weight == 0.0) continue;
            list.entries[list.count++] = {.weight = static_cast<float>(weight),
                                          .pixel = static_cast<std::int32_t>(pixel)};
            sum += weight;
        }
        list.weightSum = static_cast<float>(sum);
    }

    ContributionTable& table_;
    double stretch_;
    std::array<Filled, listsRemembered> remembered_{};
    std::size_t next_ = 0;
};

// Fills one list per destination coordinate, the first ones of a table whose lists are all empty. A
// source without pixels leaves them empty. Both lengths are below 2^31. Returns the lists.
template <typename Filter, Axis axis>
std::span<const ContributionList> ComputeContributions(std::int64_t sourceLength,
                                                       ContributionTable& table,
                                                       std::int64_t destinationLength) {
    const std::span<ContributionList> lists = table.Lists(destinationLength);
    if (sourceLength < 1) return lists;
    const AxisMapping mapping(sourceLength, destinationLength);
    std::int64_t coordinate = 0;
    if (mapping.IsReducing()) {
        const double halfWidth = Filter::radius / mapping.scale;
        table.Reserve(destinationLength, ReducingCapacity<Filter, axis>(halfWidth));
        // The kernel is widened by compressing its argument; the factor that this leaves out
        // cancels in the division by the sum of the weights.
        ListFiller<Filter> filler(table, mapping.scale);
        for (ContributionList& list : lists) {
            const double centre = mapping.Centre(coordinate++);
            const auto window =
                Window::Between(centre - halfWidth, centre + halfWidth, sourceLength);
            filler.Fill(list, window, centre);
        }
        return lists;
    }
    table.Reserve(destinationLength, EnlargingCapacity<Filter, axis>());
    ListFiller<Filter> filler(table, 1.0);
    for (ContributionList& list : lists) {
        const double centre = mapping.Centre(coordinate++);
        double left = centre + -Filter::radius;
        double right = centre + Filter::radius;
        // Deliberate: only the horizontal axis widens its window to whole pixels.
        if constexpr (axis == Axis::Horizontal) {
            left = std::floor(left);
            right = std::ceil(right);
        }
        filler.Fill(list, Window::Between(left, right, sourceLength), centre);
    }
    return lists;
}

}  // namespace zvk
