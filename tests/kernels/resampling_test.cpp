// The resampler's vector kernels against the definition: every level, every filter, ratios that
// make exact ties, widths around every vector, rows between inaccessible pages.
#include "kernels/resampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "scaling/bounded_table.h"
#include "scaling/contributions.h"
#include "scaling/fixed_table.h"
#include "tests/kernels/guarded_bytes.h"
#include "tests/kernels/levels.h"

namespace zvk::kernels {
namespace {

using testing::EveryLevel;
using testing::Guard;
using testing::GuardedBytes;

struct Lengths {
    std::int64_t source;
    std::int64_t destination;
};

constexpr std::array fixedLengths = {
    Lengths{64, 64}, Lengths{60, 20}, Lengths{20, 60},  Lengths{64, 16},  Lengths{16, 64},
    Lengths{63, 42}, Lengths{35, 25}, Lengths{300, 2},  Lengths{2, 300},  Lengths{97, 31},
    Lengths{31, 97}, Lengths{1, 70},  Lengths{1500, 7}, Lengths{128, 64}, Lengths{640, 1920},
};

// Calls `check` with the lists of each filter for the given lengths.
template <Axis axis, typename Check>
void ForEveryFilter(const Lengths& lengths, Check check) {
    const auto withFilter = [&]<typename Filter>(Filter, const char* name) {
        SCOPED_TRACE(name);
        ContributionTable table;
        ASSERT_TRUE(table.Allocate(lengths.destination));
        check(ComputeContributions<Filter, axis>(lengths.source, table, lengths.destination));
    };
    withFilter(TriangleFilter{}, "triangle");
    withFilter(BoxFilter{}, "box");
    withFilter(Lanczos3Filter{}, "Lanczos3");
    withFilter(Lanczos8Filter{}, "Lanczos8");
    withFilter(MitchellFilter{}, "Mitchell");
    withFilter(BicubicFilter{}, "bicubic");
    withFilter(Cubic6Filter{}, "Cubic6");
}

enum class Picture : std::uint8_t { Noise, Extremes, Flat, Half, Ramp, Sparse };

constexpr std::array pictures = {Picture::Noise, Picture::Extremes, Picture::Flat,
                                 Picture::Half,  Picture::Ramp,     Picture::Sparse};

void Fill(GuardedBytes& bytes, Picture picture, std::mt19937& random) {
    switch (picture) {
        case Picture::Noise:
            return bytes.FillRandomly(random);
        case Picture::Extremes:
            return bytes.FillWithExtremes(random);
        case Picture::Flat:
            return bytes.FillWith(255);
        case Picture::Half:
            // Neighbouring values, between which means lie halfway.
            for (std::size_t index = 0; index < bytes.size(); ++index) {
                bytes.data()[index] = static_cast<std::uint8_t>(127 + random() % 2);
            }
            return;
        case Picture::Ramp: {
            // Rising slowly and evenly from anywhere, so that symmetrical weights give exact halves
            // in one row and none in another.
            const std::size_t shift = random() % 16;
            for (std::size_t index = 0; index < bytes.size(); ++index)
                bytes.data()[index] = static_cast<std::uint8_t>((index / 4 + shift) / 4);
            return;
        }
        case Picture::Sparse:
            // One row among many that are even.
            return random() % 8 == 0 ? bytes.FillRandomly(random) : bytes.FillWith(200);
    }
}

class ResamplingKernels : public EveryLevel {
  protected:
    void CheckRows(const Lengths& lengths, const ChannelOrder& order, Picture picture, Guard guard);
    void CheckColumns(const Lengths& lengths, std::int64_t width, Picture picture);
    void CheckBlend(const BoundedTable& bounded, const ContributionList& list,
                    const PixelRows& rows, std::int64_t width);

    std::mt19937 random{20240229};
};

void ResamplingKernels::CheckRows(const Lengths& lengths, const ChannelOrder& order,
                                  Picture picture, Guard guard) {
    const RowLayout layout = KernelsOf(GetParam()).rowLayout;
    std::array<std::unique_ptr<GuardedBytes>, mostRowsAtOnce> sources;
    std::array<std::unique_ptr<GuardedBytes>, mostRowsAtOnce> found;
    ForEveryFilter<Axis::Horizontal>(lengths, [&](auto lists) {
        FixedTable fixed;
        ASSERT_TRUE(fixed.Build(lists, layout));
        // What lies in the memory for the layout counts nothing.
        GuardedBytes memory(LayoutSizeOf(fixed.end()), guard);
        memory.FillWith(255);
        RowResampling job{.sources = {},
                          .ahead = {},
                          .sourceWidth = lengths.source,
                          .order = order,
                          .lists = fixed.lists(),
                          .listCount = lengths.destination,
                          .lead = fixed.lead(),
                          .layout = AlignedLayout(memory.data()),
                          .destinations = {}};
        for (int row = 0; row < RowsAtOnce(layout); ++row) {
            sources[row] = std::make_unique<GuardedBytes>(4 * lengths.source, guard);
            found[row] = std::make_unique<GuardedBytes>(4 * lengths.destination, guard);
            Fill(*sources[row], picture, random);
            job.sources[row] = sources[row]->data();
            job.ahead[row] = sources[row]->data();
            job.destinations[row] = found[row]->data();
        }
        kernels().resampleRows(job);
        std::vector<std::uint8_t> expected(static_cast<std::size_t>(4 * lengths.destination));
        for (int row = 0; row < RowsAtOnce(layout); ++row) {
            ResampleRow(sources[row]->data(), order, lists, expected.data());
            for (std::size_t byte = 0; byte < expected.size(); ++byte) {
                if (byte % 4 == order.alpha) continue;
                ASSERT_EQ(found[row]->data()[byte], expected[byte])
                    << lengths.source << " to " << lengths.destination << " byte " << byte;
            }
        }
    });
}

void ResamplingKernels::CheckColumns(const Lengths& lengths, std::int64_t width, Picture picture) {
    const std::int64_t stride = 4 * width;
    GuardedBytes rows(stride * lengths.source + rowPadding);
    Fill(rows, picture, random);
    const PixelRows places{.places = rows.data(),
                           .stride = stride,
                           .capacity = static_cast<std::int32_t>(lengths.source)};
    GuardedBytes widened(static_cast<std::int64_t>(sizeof(float)) * NumberCountOf(width) *
                         lengths.source);
    const NumberRows numbers{.places = reinterpret_cast<float*>(widened.data()),
                             .stride = NumberCountOf(width),
                             .capacity = places.capacity};
    ForEveryFilter<Axis::Vertical>(lengths, [&](auto lists) {
        BoundedTable bounded;
        ASSERT_TRUE(bounded.Build(lists));
        for (const ChannelOrder& from : testing::orders) {
            for (std::int64_t row = 0; row < lengths.source; ++row)
                kernels().widenRow({places.Row(row), from, width, numbers.Row(row)});
            const ChannelOrder& to = testing::orders[random() % testing::orders.size()];
            const std::size_t y = random() % lists.size();
            const int rowCount = bounded.SharesRows(static_cast<std::int64_t>(y)) ? rowsBlended : 1;
            ColumnBlending job{.rows = places,
                               .numbers = random() % 2 ? numbers : NumberRows{},
                               .ahead = random() % 2 ? places.Row(0) : nullptr,
                               .rowOrder = from,
                               .lists = bounded.lists() + y,
                               .listCount = rowCount,
                               .order = to,
                               .width = width,
                               .destinations = {},
                               .streams = random() % 2 == 0};
            std::array<std::unique_ptr<GuardedBytes>, rowsBlended> found;
            for (std::size_t row = 0; row < found.size(); ++row) {
                found[row] = std::make_unique<GuardedBytes>(
                    stride, random() % 2 ? Guard::Before : Guard::Behind);
                job.destinations[row] = found[row]->data();
            }
            kernels().blendRows(job);
            for (int row = 0; row < rowCount; ++row) {
                const std::size_t index = y + static_cast<std::size_t>(row);
                GuardedBytes& bytes = *found[static_cast<std::size_t>(row)];
                std::vector<std::uint8_t> expected(static_cast<std::size_t>(stride));
                ResampleColumns(places, from, lists[index], to, width, expected.data());
                for (std::size_t byte = 0; byte < expected.size(); ++byte) {
                    ASSERT_EQ(bytes.data()[byte], expected[byte])
                        << lengths.source << " to " << lengths.destination << " width " << width
                        << " row " << index << " byte " << byte;
                }
            }
        }
    });
}

TEST_P(ResamplingKernels, GiveTheDefinitionsBytesAlongRowsOfFixedRatios) {
    for (const Lengths& lengths : fixedLengths) {
        for (const Picture picture : pictures) {
            CheckRows(lengths, testing::orders[random() % 3], picture, Guard::Behind);
        }
    }
}

TEST_P(ResamplingKernels, GiveTheDefinitionsBytesAlongRowsOfEveryWidthAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (const ChannelOrder& order : testing::orders) {
            const auto other = static_cast<std::int64_t>(1 + random() % 70);
            CheckRows({width, other}, order, Picture::Noise, Guard::Behind);
            CheckRows({width, other}, order, Picture::Noise, Guard::Before);
        }
    }
}

TEST_P(ResamplingKernels, GiveTheDefinitionsBytesDownColumnsOfFixedRatios) {
    for (const Lengths& lengths : fixedLengths) {
        for (const Picture picture : pictures)
            CheckColumns(lengths, 37, picture);
    }
}

TEST_P(ResamplingKernels, GiveTheDefinitionsBytesDownColumnsOfEveryWidthAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        CheckColumns({23, 17}, width, Picture::Noise);
        CheckColumns({17, 51}, width, Picture::Extremes);
    }
}

TEST_P(ResamplingKernels, FindRowsThatHaveTakenThePlacesOfEarlierOnes) {
    GuardedBytes ring(4 * 20 * 8 + rowPadding);
    ring.FillRandomly(random);
    const PixelRows places{.places = ring.data(), .stride = 4 * 20, .capacity = 8};
    ForEveryFilter<Axis::Vertical>({300, 290}, [&](auto lists) {
        BoundedTable bounded;
        ASSERT_TRUE(bounded.Build(lists));
        for (std::size_t y = 140; y < 150; ++y) {
            if (bounded.lists()[y].count > places.capacity) continue;
            std::vector<std::uint8_t> found(4 * 20);
            std::vector<std::uint8_t> expected(4 * 20);
            kernels().blendRows({.rows = places,
                                 .numbers = {},
                                 .ahead = nullptr,
                                 .rowOrder = layouts::console,
                                 .lists = bounded.lists() + y,
                                 .listCount = 1,
                                 .order = layouts::colourFirst,
                                 .width = 20,
                                 .destinations = {found.data()},
                                 .streams = false});
            ResampleColumns(places, layouts::console, lists[y], layouts::colourFirst, 20,
                            expected.data());
            ASSERT_EQ(found, expected);
        }
    });
}

// Lists of one's own making, to see which bounds they get.
ContributionList ListOf(std::vector<Contribution>& entries, float weightSum) {
    return {.entries = entries.data(),
            .count = static_cast<std::int32_t>(entries.size()),
            .weightSum = weightSum};
}

// The first list of a table on its own.
void ResamplingKernels::CheckBlend(const BoundedTable& bounded, const ContributionList& list,
                                   const PixelRows& rows, std::int64_t width) {
    const auto size = static_cast<std::size_t>(width * bytesPerPixelWord);
    std::vector<std::uint8_t> found(size);
    std::vector<std::uint8_t> expected(size);
    ResampleColumns(rows, layouts::console, list, layouts::colourFirst, width, expected.data());
    ColumnBlending job{.rows = rows,
                       .numbers = {},
                       .ahead = nullptr,
                       .rowOrder = layouts::console,
                       .lists = bounded.lists(),
                       .listCount = 1,
                       .order = layouts::colourFirst,
                       .width = width,
                       .destinations = {found.data()},
                       .streams = false};
    kernels().blendRows(job);
    ASSERT_EQ(found, expected);

    const std::int64_t stride = NumberCountOf(width);
    std::vector<float> numbers(static_cast<std::size_t>(stride * rows.capacity));
    job.numbers = {.places = numbers.data(), .stride = stride, .capacity = rows.capacity};
    for (std::int32_t row = 0; row < rows.capacity; ++row)
        kernels().widenRow({rows.Row(row), layouts::console, width, job.numbers.Row(row)});
    kernels().blendRows(job);
    ASSERT_EQ(found, expected) << "from numbers";
}

// Whole weights over every denominator, all lengths that are served so.
TEST_P(ResamplingKernels, RoundQuotientsOfWholeSumsAsTheDefinitionDoes) {
    constexpr std::int64_t width = 41;
    GuardedBytes rows(4 * width * 40 + rowPadding);
    const PixelRows places{.places = rows.data(), .stride = 4 * width, .capacity = 40};
    int inWholes = 0;
    for (const std::int32_t denominator : {2, 3, 4, 5, 7, 8, 9, 16, 32, 64, 128}) {
        for (std::int32_t count = 1; count <= 34; ++count) {
            std::vector<std::int32_t> wholes(static_cast<std::size_t>(count));
            for (std::int32_t left = denominator; left > 0; --left)
                ++wholes[random() % wholes.size()];
            wholes.front() += wholes.front() == 0 ? 1 : 0;
            std::vector<Contribution> entries;
            float sum = 0.0F;
            for (std::int32_t pixel = 0; pixel < count; ++pixel) {
                const std::int32_t whole = wholes[static_cast<std::size_t>(pixel)];
                if (whole == 0) continue;
                const float weight = static_cast<float>(whole) / static_cast<float>(denominator);
                entries.push_back({weight, pixel});
                sum += weight;
            }
            const std::array lists = {ListOf(entries, sum)};
            BoundedTable bounded;
            ASSERT_TRUE(bounded.Build(lists));
            inWholes += bounded.IsInWholes(0) ? 1 : 0;
            for (const Picture picture : pictures) {
                Fill(rows, picture, random);
                SCOPED_TRACE(std::to_string(denominator) + " with " + std::to_string(count));
                CheckBlend(bounded, lists[0], places, width);
            }
        }
    }
    EXPECT_GT(inWholes, 100);
}

// All weights that a list may have, of which products lie next to halves in every way.
TEST_P(ResamplingKernels, DecideInTwoSumsAsTheDefinitionDoes) {
    constexpr std::int64_t width = 64;
    GuardedBytes rows(4 * width * 8 + rowPadding);
    const PixelRows places{.places = rows.data(), .stride = 4 * width, .capacity = 8};
    for (int round = 0; round < 400; ++round) {
        const auto count = static_cast<std::int32_t>(2 + random() % 7);
        const double denominator = 2.0 * static_cast<double>(1 + random() % 250);
        std::vector<Contribution> entries;
        double sum = 0.0;
        for (std::int32_t pixel = 0; pixel < count; ++pixel) {
            const double numerator = 1.0 + static_cast<double>(random() % 60);
            const double sign = random() % 4 == 0 ? -1.0 : 1.0;
            const double weight = pixel + 1 < count ? sign * numerator / denominator : 1.0 - sum;
            sum += weight;
            entries.push_back({static_cast<float>(weight), pixel});
        }
        const std::array lists = {ListOf(entries, static_cast<float>(sum))};
        BoundedTable bounded;
        ASSERT_TRUE(bounded.Build(lists));
        Fill(rows, pictures[static_cast<std::size_t>(round) % pictures.size()], random);
        SCOPED_TRACE("round " + std::to_string(round));
        CheckBlend(bounded, lists[0], places, width);
    }
}

// Rows that add up with their mirror images to an odd number, under symmetrical weights: all means
// of a vector are next to halves, on which side is a matter of the products' roundings, and exactly
// on them where the bytes are 0 and 1, whose products are not rounded.
TEST_P(ResamplingKernels, DecideManyHalvesDownColumnsAsTheDefinitionDoes) {
    constexpr std::int64_t width = 70;
    constexpr std::int32_t mostPairs = 60;
    constexpr std::int64_t stride = 4 * width;
    GuardedBytes rows(stride * 2 * mostPairs + rowPadding);
    for (int round = 0; round < 120; ++round) {
        const auto pairs = static_cast<std::int32_t>(5 + random() % (mostPairs - 5));
        const std::int32_t count = 2 * pairs;
        // The list's rows begin anywhere among the places.
        const auto start = static_cast<std::int32_t>(random() % 200);
        const PixelRows places{.places = rows.data(), .stride = stride, .capacity = count};
        std::vector<Contribution> entries(static_cast<std::size_t>(count));
        float sum = 0.0F;
        for (std::int32_t pixel = 0; pixel < pairs; ++pixel) {
            const auto whole = static_cast<float>(100 + random() % 4000);
            const float weight = (round % 2 == 0 ? whole : whole + 1.0F / whole) * 0x1p-12F;
            entries[static_cast<std::size_t>(pixel)] = {weight, start + pixel};
            entries[static_cast<std::size_t>(count - 1 - pixel)] = {weight,
                                                                    start + count - 1 - pixel};
            sum += 2.0F * weight;
        }
        const std::array lists = {ListOf(entries, sum)};
        BoundedTable bounded;
        ASSERT_TRUE(bounded.Build(lists));
        ASSERT_GT(bounded.lists()[0].slack, 0.0F);
        for (std::int64_t byte = 0; byte < stride; ++byte) {
            const unsigned odd =
                byte % 3 == 0 ? 1U : 2U * static_cast<unsigned>(random() % 255) + 1U;
            for (std::int32_t pixel = 0; pixel < pairs; ++pixel) {
                const unsigned least = odd > 255 ? odd - 255 : 0;
                const unsigned own =
                    least + static_cast<unsigned>(random()) % (odd - 2 * least + 1);
                places.Row(start + pixel)[byte] = static_cast<std::uint8_t>(own);
                places.Row(start + count - 1 - pixel)[byte] = static_cast<std::uint8_t>(odd - own);
            }
        }
        SCOPED_TRACE("round " + std::to_string(round));
        CheckBlend(bounded, lists[0], places, width);
    }
}

// The filter of mode 5 where a picture keeps its height: one in eighteen sums is an exact half,
// which only the roundings of the products decide. All values that three rows may have.
TEST_P(ResamplingKernels, DecideAllHalvesOfMitchellAtItsOwnSizeAsTheDefinitionDoes) {
    constexpr std::int64_t valueCount = 256;
    constexpr std::int64_t width = (valueCount * valueCount + 2) / 3;
    constexpr std::int64_t size = 4 * width;
    ContributionTable table;
    ASSERT_TRUE(table.Allocate(8));
    const auto lists = ComputeContributions<MitchellFilter, Axis::Vertical>(8, table, 8);
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    std::int64_t y = 1;
    while (y < 4 && !bounded.SharesRows(y))
        ++y;
    ASSERT_TRUE(bounded.SharesRows(y));
    const std::int64_t first = bounded.lists()[y].first;
    const ContributionList& exact = *bounded.lists()[y].exact;
    ASSERT_EQ(exact.count, 3);
    ASSERT_EQ(exact.entries[0].pixel, first);

    GuardedBytes rows(size * 8 + rowPadding);
    const PixelRows places{.places = rows.data(), .stride = size, .capacity = 8};
    GuardedBytes widened(static_cast<std::int64_t>(sizeof(float)) * NumberCountOf(width) * 8);
    const NumberRows numbers{.places = reinterpret_cast<float*>(widened.data()),
                             .stride = NumberCountOf(width),
                             .capacity = 8};
    rows.FillRandomly(random);
    for (std::int64_t pixel = 0; pixel < width; ++pixel) {
        for (std::int64_t colour = 0; colour < colourCount; ++colour) {
            const std::int64_t pair = 3 * pixel + colour;
            places.Row(first)[4 * pixel + colour] = static_cast<std::uint8_t>(pair % valueCount);
            places.Row(first + 2)[4 * pixel + colour] =
                static_cast<std::uint8_t>(pair / valueCount);
        }
    }
    const ChannelOrder order{.red = 0, .green = 1, .blue = 2, .alpha = 3, .opaque = 255};
    std::vector<std::uint8_t> found(static_cast<std::size_t>(size));
    std::vector<std::uint8_t> next(static_cast<std::size_t>(size));
    std::vector<std::uint8_t> expectedNext(static_cast<std::size_t>(size));
    for (int middle = 0; middle < valueCount; ++middle) {
        std::fill_n(places.Row(first + 1), size, static_cast<std::uint8_t>(middle));
        for (std::int64_t row = first; row < first + 4; ++row)
            kernels().widenRow({places.Row(row), order, width, numbers.Row(row)});
        kernels().blendRows({.rows = places,
                             .numbers = middle % 2 == 0 ? numbers : NumberRows{},
                             .ahead = nullptr,
                             .rowOrder = order,
                             .lists = bounded.lists() + y,
                             .listCount = 2,
                             .order = order,
                             .width = width,
                             .destinations = {found.data(), next.data()},
                             .streams = false});
        const auto productOf = [&](std::int64_t value, int entry) {
            return double{static_cast<float>(value) * exact.entries[entry].weight};
        };
        const double own = productOf(middle, 1);
        for (std::int64_t pair = 0; pair < valueCount * valueCount; ++pair) {
            const double sum =
                productOf(pair % valueCount, 0) + own + productOf(pair / valueCount, 2);
            const auto byte = static_cast<std::size_t>(4 * (pair / 3) + pair % 3);
            ASSERT_EQ(found[byte], MeanOf(sum, exact.weightSum))
                << pair % valueCount << ", " << middle << ", " << pair / valueCount;
        }
        if (middle % 16 != 1) continue;
        ResampleColumns(places, order, lists[static_cast<std::size_t>(y + 1)], order, width,
                        expectedNext.data());
        ASSERT_EQ(next, expectedNext) << middle;
    }
}

// One list that is decided in two sums, and one that would come out otherwise that way: its weights
// are tenths, which give exact halves but are rounded when they are normalised, the greater down.
TEST_P(ResamplingKernels, DecideEachOfTwoListsInItsOwnWay) {
    constexpr std::int64_t width = 64;
    GuardedBytes rows(4 * width * 3 + rowPadding);
    const PixelRows places{.places = rows.data(), .stride = 4 * width, .capacity = 3};
    std::vector<Contribution> often = {{1.0F / 18.0F, 0}, {8.0F / 9.0F, 1}, {1.0F / 18.0F, 2}};
    std::vector<Contribution> tenths = {{7.0F, 0}, {3.0F, 2}};
    const std::array lists = {ListOf(often, 1.0F), ListOf(tenths, 10.0F)};
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    ASSERT_EQ(bounded.lists()[0].first, bounded.lists()[1].first);
    ASSERT_EQ(bounded.lists()[0].count, bounded.lists()[1].count);
    ASSERT_EQ(bounded.lists()[0].decision, Decision::InTwoSums);
    ASSERT_EQ(bounded.lists()[1].decision, Decision::ByBounds);
    for (const Picture picture : pictures) {
        Fill(rows, picture, random);
        std::array<std::vector<std::uint8_t>, rowsBlended> found;
        found.fill(std::vector<std::uint8_t>(4 * width));
        kernels().blendRows({.rows = places,
                             .numbers = {},
                             .ahead = nullptr,
                             .rowOrder = layouts::console,
                             .lists = bounded.lists(),
                             .listCount = rowsBlended,
                             .order = layouts::console,
                             .width = width,
                             .destinations = {found[0].data(), found[1].data()},
                             .streams = false});
        for (std::size_t row = 0; row < found.size(); ++row) {
            std::vector<std::uint8_t> expected(4 * width);
            ResampleColumns(places, layouts::console, lists[row], layouts::console, width,
                            expected.data());
            ASSERT_EQ(found[row], expected) << "row " << row;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, ResamplingKernels, ::testing::ValuesIn(testing::OfferedLevels()),
                         testing::LevelName);

// A mean so little below a half that, were the half of the weights' sum added before the division,
// it would be rounded up.
TEST(Definition, AddsAHalfToTheQuotient) {
    std::array<std::uint8_t, 8> row{};
    row.fill(1);
    std::vector<Contribution> entries = {{2.5F, 0}, {-0x1p-51F, 1}};
    const ContributionList list = ListOf(entries, 5.0F);
    EXPECT_EQ(ResampleRowChannel(row.data(), list), 0);
    const PixelRows rows{.places = row.data(), .stride = 4, .capacity = 2};
    EXPECT_EQ(ResampleColumnChannel(rows, 0, list), 0);
}

BoundedList BoundsOf(std::vector<Contribution> entries, float weightSum) {
    const std::array lists = {ListOf(entries, weightSum)};
    BoundedTable bounded;
    EXPECT_TRUE(bounded.Build(lists));
    return bounded.lists()[0];
}

class FixedLists : public ::testing::TestWithParam<RowLayout> {
  protected:
    static bool HasWords() { return GetParam() == RowLayout::Words; }
    static FixedTable TableOf(std::vector<Contribution> entries, float weightSum);
    static FixedList FixedOf(std::vector<Contribution> entries, float weightSum);
    static std::int64_t CoarseDigit(const FixedList& list, std::int32_t place);
    static std::int64_t FineDigit(const FixedList& list, std::int32_t place);
};

FixedTable FixedLists::TableOf(std::vector<Contribution> entries, float weightSum) {
    const std::array lists = {ListOf(entries, weightSum)};
    FixedTable fixed;
    EXPECT_TRUE(fixed.Build(lists, GetParam()));
    return fixed;
}

FixedList FixedLists::FixedOf(std::vector<Contribution> entries, float weightSum) {
    return TableOf(std::move(entries), weightSum).lists()[0];
}

std::vector<Contribution> PlainMeanOf(std::int32_t count) {
    std::vector<Contribution> entries;
    for (std::int32_t pixel = 0; pixel < count; ++pixel)
        entries.push_back({1.0F, pixel});
    return entries;
}

// Nearly thirds: means stay away from halves by less than the bounds of either table.
const std::vector<Contribution> nearlyThirds = {{(2.0F + 0.00098035F) / 3.0F, 0},
                                                {(1.0F - 0.00098035F) / 3.0F, 1}};

TEST_P(FixedLists, AreExactForWeightsThatAreMultiplesOfAPowerOfTwo) {
    const FixedList list = FixedOf({{0.125F, 0}, {0.75F, 1}, {0.125F, 2}}, 1.0F);
    EXPECT_EQ(list.slack, 0);
    EXPECT_EQ(list.bias, 1 << (list.shift - 1));
}

TEST_P(FixedLists, LieHalfAStepAboveForPlainMeans) {
    const FixedList list = FixedOf({{1.0F, 0}, {1.0F, 1}, {1.0F, 2}}, 3.0F);
    EXPECT_EQ(list.slack, 0);
    EXPECT_EQ(list.bias, (1 << (list.shift - 1)) + (1 << list.shift) / 12);
}

TEST_P(FixedLists, AreExactInTwoDigitsWhereTheyHoldAllBitsOfTheWeights) {
    const auto isExact = [](std::vector<Contribution> entries, float weightSum) {
        const FixedList list = FixedOf(std::move(entries), weightSum);
        return list.fineBias == 0 && list.fineSlack == 0;
    };
    EXPECT_TRUE(isExact({{1.0F / 18.0F, 0}, {8.0F / 9.0F, 1}, {1.0F / 18.0F, 2}}, 1.0F));
    EXPECT_TRUE(isExact({{0.125F, 0}, {0.875F, 1}}, 1.0F));
    EXPECT_FALSE(isExact({{0.001F, 0}, {0.999F, 1}}, 1.0F)) << "has finer bits";
    EXPECT_FALSE(isExact({{0.3F, 0}, {0.7F, 1}}, 0.99999994F)) << "is divided";
}

TEST_P(FixedLists, HaveSlackOtherwiseAndLessOfItInTheSecondDigit) {
    const FixedList list = FixedOf({{0.3F, 0}, {0.7F, 1}}, 0.99999994F);
    const double unit = std::ldexp(1.0, -list.shift);
    EXPECT_GT(list.slack, 0);
    EXPECT_LT(list.slack * unit, 0.01);
    EXPECT_GT(list.fineSlack, 0);
    EXPECT_LT(list.fineSlack * std::ldexp(unit, -list.fineShift), 1e-6);
}

TEST_P(FixedLists, SettleNothingWhereWeightsCancelOrAreTooMany) {
    for (const FixedList& list :
         {FixedOf({{1.0F, 0}, {-1.0F, 1}}, 0.0F), FixedOf({{1.0F, 0}, {-0.999F, 1}}, 0.001F),
          FixedOf({{0.3F, 0}}, std::nanf("")), FixedOf({{0.3F, 0}, {0.7F, 9000}}, 1.0F)}) {
        EXPECT_EQ(list.count, 0);
        EXPECT_GE(list.slack >> list.shift, 256);
        EXPECT_GE(list.fineSlack >> (list.shift + list.fineShift), 256);
    }
}

// Lists of weights whose digits are as great as they come.
std::vector<std::vector<Contribution>> ListsWithGreatDigits() {
    std::mt19937 random{7};
    std::vector<std::vector<Contribution>> lists = {{{0.9979F, 0}, {0.0021F, 1}}};
    for (const std::int32_t count : {2, 3, 16, 100, 512, 513, 2000, 8192}) {
        std::vector<Contribution> even;
        std::vector<Contribution> uneven;
        for (std::int32_t pixel = 0; pixel < count; ++pixel) {
            const float mean = 1.0F / static_cast<float>(count);
            even.push_back({mean, pixel});
            uneven.push_back({mean * static_cast<float>(1 + random() % 1999) / 1000.0F, pixel});
        }
        lists.push_back(even);
        lists.push_back(uneven);
    }
    return lists;
}

// A weight's coarse digit, of all parts.
std::int64_t FixedLists::CoarseDigit(const FixedList& list, std::int32_t place) {
    const std::int32_t highPlace = place - list.highFirst;
    const bool hasHigh = highPlace >= 0 && highPlace < list.highCount;
    if (HasWords())
        return list.low[place] + (hasHigh ? std::int64_t{list.high[highPlace]} << 16U : 0);
    const WeightBytes& four = list.bytes[place / 4];
    const std::int32_t index = place % 4;
    if (list.hasLowBytes) return four.low[index];
    return four.low[index] + four.middle[index] * 256 + (hasHigh ? four.high[index] * 65536 : 0);
}

std::int64_t FixedLists::FineDigit(const FixedList& list, std::int32_t place) {
    return HasWords() ? list.fine[place] : list.bytes[place / 4].fine[place % 4];
}

// The sum of a list's products with white pixels at the most, whatever their signs.
template <typename DigitAt>
std::int64_t GreatestSum(std::int32_t count, DigitAt digitAt) {
    std::int64_t sum = 0;
    for (std::int32_t index = 0; index < count; ++index)
        sum += 255 * std::abs(std::int64_t{digitAt(index)});
    return sum;
}

TEST_P(FixedLists, HaveDigitsWhoseSumsDoNotOverflow) {
    for (std::vector<Contribution>& entries : ListsWithGreatDigits()) {
        const std::array lists = {ListOf(entries, 1.0F)};
        FixedTable fixed;
        ASSERT_TRUE(fixed.Build(lists, GetParam()));
        const FixedList& list = fixed.lists()[0];
        const auto coarseDigit = [&](std::int32_t place) { return CoarseDigit(list, place); };
        const auto fineDigit = [&](std::int32_t place) { return FineDigit(list, place); };
        EXPECT_LT(GreatestSum(list.count, coarseDigit) + std::abs(list.bias) + list.slack,
                  std::int64_t{1} << (HasWords() ? 30U : 31U))
            << list.count;
        EXPECT_LT(GreatestSum(list.count, fineDigit), std::int64_t{1} << 31U) << list.count;
    }
}

TEST_P(FixedLists, HaveHighDigitsForTheFewGreatWeightsOfLongLists) {
    std::vector<Contribution> entries;
    for (std::int32_t pixel = 0; pixel < 64; ++pixel)
        entries.push_back({pixel == 21 || pixel == 25 ? 0.3F : 0.4F / 62.0F, pixel});
    const std::array lists = {ListOf(entries, 1.0F)};
    FixedTable fixed;
    ASSERT_TRUE(fixed.Build(lists, GetParam()));
    const FixedList& list = fixed.lists()[0];
    EXPECT_EQ(list.highFirst, 20);
    EXPECT_EQ(list.highCount, HasWords() ? 6 : 8);
    EXPECT_FALSE(list.hasLowBytes);
    EXPECT_NEAR(static_cast<double>(CoarseDigit(list, 21)) * std::ldexp(1.0, -list.shift), 0.3,
                std::ldexp(1.0, -list.shift));
    EXPECT_EQ(FixedOf({{0.3F, 0}, {0.7F, 1}}, 1.0F).highCount, HasWords() ? 0 : 4);
}

TEST_P(FixedLists, HaveDigitsThatFitTheirParts) {
    for (const float weight : {0.998F, -0.998F, 0.5F, -0.5F, 0.4999F, 1.0F, -1.0F, 1.996F}) {
        const FixedTable fixed = TableOf({{weight, 0}, {0.0F, 1}}, 1.0F);
        const FixedList& list = fixed.lists()[0];
        EXPECT_NEAR(static_cast<double>(CoarseDigit(list, 0)), std::ldexp(weight, list.shift), 0.5)
            << weight;
    }
}

// What the first digit leaves is greatest where just the pixels with weights above their digits are
// white, or those with weights below.
TEST_P(FixedLists, HaveIntervalsThatHoldWhatTheDigitsLeave) {
    for (std::vector<Contribution>& entries : ListsWithGreatDigits()) {
        const std::array lists = {ListOf(entries, 1.0F)};
        FixedTable fixed;
        ASSERT_TRUE(fixed.Build(lists, GetParam()));
        const FixedList& list = fixed.lists()[0];
        if (list.slack == 0 || list.count == 0) continue;
        const double unit = std::ldexp(1.0, list.shift);
        double below = 0.0;
        double above = 0.0;
        for (const Contribution& entry : entries) {
            const auto digit = static_cast<double>(CoarseDigit(list, entry.pixel - list.first));
            const double left = double{entry.weight} * unit - digit;
            const double fine = std::ldexp(left, list.fineShift);
            EXPECT_NEAR(static_cast<double>(FineDigit(list, entry.pixel - list.first)), fine, 0.5);
            (left < 0.0 ? below : above) += 255.0 * left;
        }
        const double begin = list.bias - unit / 2.0;
        EXPECT_LE(begin, below) << list.count;
        EXPECT_GE(begin + list.slack, above) << list.count;
    }
}

TEST_P(FixedLists, AreNoPlainMeansWhereTheirStepsAreTooSmall) {
    EXPECT_GT(FixedOf(PlainMeanOf(1000), 1000.0F).slack, 0);
    EXPECT_EQ(FixedOf(PlainMeanOf(5), 5.0F).slack, 0);
}

TEST_P(FixedLists, HaveWeightsForWholeGroupsOfPixels) {
    std::vector<Contribution> odd = {{0.5F, 5}, {0.25F, 6}, {0.25F, 7}};
    std::vector<Contribution> even = {{0.5F, 4}, {0.25F, 5}, {0.25F, 6}};
    const std::array lists = {ListOf(odd, 1.0F), ListOf(even, 1.0F)};
    FixedTable fixed;
    ASSERT_TRUE(fixed.Build(lists, GetParam()));
    EXPECT_EQ(fixed.end(), 8);
    EXPECT_EQ(fixed.lists()[0].end, 8);
    EXPECT_EQ(fixed.lists()[1].end, 7);
    for (const FixedList& list : {fixed.lists()[0], fixed.lists()[1]}) {
        EXPECT_EQ(list.first, 4);
        EXPECT_EQ(list.count, 4);
    }
    EXPECT_EQ(CoarseDigit(fixed.lists()[0], 0), 0);
    EXPECT_EQ(CoarseDigit(fixed.lists()[1], 3), 0);
}

TEST_P(FixedLists, KnowHowTheyHalveSumsOfMirroredPixels) {
    const auto mirroredOf = [](std::vector<Contribution> entries, float weightSum) {
        return FixedOf(std::move(entries), weightSum).mirrored;
    };
    EXPECT_EQ(mirroredOf({{0.25F, 2}, {0.5F, 3}, {0.5F, 4}, {0.25F, 5}}, 1.5F), 1);
    EXPECT_EQ(mirroredOf({{0.25F, 1}, {0.5F, 2}, {0.5F, 3}, {0.25F, 4}}, 1.5F), 1)
        << "with half a pair more on each side";
    const float little = std::nextafterf(1.5F, 2.0F);
    EXPECT_EQ(mirroredOf({{0.25F, 2}, {0.5F, 3}, {0.5F, 4}, {0.25F, 5}}, little), 0)
        << "gives a little less than halves";
    EXPECT_EQ(mirroredOf({{0.25F, 2}, {0.5F, 3}, {0.5F, 4}, {0.25F, 5}}, 1.4F), notMirrored)
        << "gives more than halves";
    EXPECT_EQ(mirroredOf({{0.25F, 2}, {0.5F, 3}, {0.25F, 4}}, 1.0F), notMirrored) << "is odd";
    EXPECT_EQ(mirroredOf({{0.5F, 2}, {0x1p-20F, 3}, {0.5F, 5}}, 1.0F + 0x1p-20F), notMirrored)
        << "has a pixel between them";
    EXPECT_EQ(mirroredOf({{0.25F, 2}, {0.75F, 3}}, 1.0F), notMirrored) << "is not the same";
    EXPECT_EQ(mirroredOf({{0.5F, 2}, {0.5F, 4}}, 1.0F), notMirrored)
        << "is another pixel's mirror image";
    EXPECT_EQ(mirroredOf({{1.0F, 2}, {0x1p-21F, 3}, {0x1p-21F, 4}, {1.0F, 5}}, 2.0F), notMirrored)
        << "does not add up exactly";
    EXPECT_EQ(mirroredOf({{1.0F, 2}, {-1.0F, 3}}, 0.0F), notMirrored) << "is left open";
}

// Weights that return are kept once, for lists that begin alike within a group.
TEST_P(FixedLists, ShareTheDigitsOfWeightsThatReturn) {
    std::vector<Contribution> first = {{0.3F, 0}, {0.7F, 1}};
    std::vector<Contribution> odd = {{0.3F, 3}, {0.7F, 4}};
    std::vector<Contribution> even = {{0.3F, 8}, {0.7F, 9}};
    std::vector<Contribution> wider = {{0.3F, 12}, {0.7F, 14}};
    std::vector<Contribution> heavier = {{0.3F, 16}, {0.7F, 17}};
    const std::array lists = {ListOf(first, 1.0F), ListOf(odd, 1.0F), ListOf(even, 1.0F),
                              ListOf(wider, 1.0F), ListOf(heavier, 0.9F)};
    FixedTable fixed;
    ASSERT_TRUE(fixed.Build(lists, GetParam()));
    const auto digitsOf = [&](std::size_t index) {
        const FixedList& list = std::span(fixed.lists(), lists.size())[index];
        return HasWords() ? static_cast<const void*>(list.low) : list.bytes;
    };
    EXPECT_EQ(digitsOf(2), digitsOf(0));
    for (const std::size_t other : {1, 3, 4})
        EXPECT_NE(digitsOf(other), digitsOf(0)) << other;
    const FixedList& returned = std::span(fixed.lists(), lists.size())[2];
    EXPECT_EQ(returned.first, fixed.lists()[0].first + 8);
    EXPECT_EQ(returned.end, fixed.lists()[0].end + 8);
    EXPECT_EQ(returned.exact, &lists[2]);
}

// Four pixels that begin in the middle of a group take two groups, unless places are moved.
TEST_P(FixedLists, BeginWithGroupsWhereTheyCan) {
    std::vector<Contribution> first = {{0.1F, 2}, {0.4F, 3}, {0.4F, 4}, {0.1F, 5}};
    std::vector<Contribution> second = {{0.1F, 6}, {0.4F, 7}, {0.4F, 8}, {0.1F, 9}};
    const std::array lists = {ListOf(first, 1.0F), ListOf(second, 1.0F)};
    FixedTable fixed;
    ASSERT_TRUE(fixed.Build(lists, GetParam()));
    EXPECT_EQ(fixed.lead(), HasWords() ? 0 : 2);
    EXPECT_EQ(fixed.lists()[0].first, 2 + fixed.lead());
    EXPECT_EQ(fixed.lists()[0].count, 4);
    EXPECT_EQ(fixed.lists()[1].first, 6 + fixed.lead());
    EXPECT_EQ(fixed.end(), 10 + fixed.lead());
    EXPECT_EQ(CoarseDigit(fixed.lists()[0], 0), CoarseDigit(fixed.lists()[1], 3));
}

// Also where a list would be too long for fixed point if it began elsewhere.
TEST_P(FixedLists, TakeAsManyWeightsAsTheyCan) {
    constexpr std::int32_t longest = 8192;
    EXPECT_EQ(FixedOf(PlainMeanOf(longest), longest).count, longest);
    EXPECT_EQ(FixedOf(PlainMeanOf(longest + 1), longest + 1).count, 0);
}

// Whole weights need no more bits than they have.
TEST_P(FixedLists, HaveLowBytesAloneWhereWeightsAreShortMultiples) {
    const auto hasLowBytes = [](std::vector<Contribution> entries, float weightSum) {
        return FixedOf(std::move(entries), weightSum).hasLowBytes;
    };
    EXPECT_EQ(hasLowBytes({{1.0F, 0}, {7.0F, 1}, {7.0F, 2}, {1.0F, 3}}, 16.0F), !HasWords());
    EXPECT_EQ(hasLowBytes({{1.0F, 0}}, 1.0F), !HasWords());
    EXPECT_FALSE(hasLowBytes({{1.0F, 0}, {255.0F, 1}}, 256.0F)) << "has nine bits";
    EXPECT_FALSE(hasLowBytes({{0.3F, 0}, {0.7F, 1}}, 1.0F));
    EXPECT_FALSE(hasLowBytes({{1.0F, 0}, {1.0F, 1}, {1.0F, 2}}, 3.0F));
}

TEST_P(FixedLists, NameTheirPixelsAlsoWhereTheySettleNothing) {
    const FixedList list = FixedOf({{1.0F, 4}, {-1.0F, 8}}, 0.0F);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.end, 9);
}

TEST_P(FixedLists, KeepTheirPlaceWhereTwinsSettleNothing) {
    std::vector<Contribution> first = {{0.3F, 100}, {0.7F, 9000}};
    std::vector<Contribution> second = {{0.3F, 0}, {0.7F, 8900}};
    const std::array lists = {ListOf(first, 1.0F), ListOf(second, 1.0F)};
    FixedTable fixed;
    ASSERT_TRUE(fixed.Build(lists, GetParam()));
    const FixedList& twin = std::span(fixed.lists(), lists.size())[1];
    EXPECT_EQ(twin.first, 0);
    EXPECT_EQ(twin.count, 0);
    EXPECT_EQ(twin.end, 8901 + fixed.lead());
}

TEST_P(FixedLists, NeedNoSlackWhereMeansStayAwayFromHalves) {
    const FixedList thirds = FixedOf({{2.0F / 3.0F, 0}, {1.0F / 3.0F, 1}}, 1.0F);
    EXPECT_EQ(thirds.slack, 0);
    EXPECT_EQ(thirds.bias, 1 << (thirds.shift - 1));
    EXPECT_GT(FixedOf({{1.0F / 6.0F, 0}, {5.0F / 6.0F, 1}}, 1.0F).slack, 0);
    EXPECT_GT(FixedOf(nearlyThirds, 1.0F).slack, 0);
}

TEST(Lists, KnowTheirDistanceFromHalves) {
    const auto distanceOf = [](std::vector<Contribution> entries) {
        return DistanceFromHalves(ListOf(entries, 1.0F));
    };
    EXPECT_NEAR(distanceOf({{2.0F / 3.0F, 0}, {1.0F / 3.0F, 1}}), 1.0 / 6.0, 1e-4);
    EXPECT_NEAR(distanceOf({{2.0F / 9.0F, 0}, {7.0F / 9.0F, 1}}), 1.0 / 18.0, 1e-4);
    EXPECT_EQ(distanceOf({{0.5F, 0}, {0.5F, 1}}), 0.0);
    EXPECT_EQ(distanceOf({{0.34F, 0}, {0.66F, 1}}), 0.0);
    EXPECT_EQ(distanceOf({{std::nanf(""), 0}}), 0.0);
}

TEST(Lists, KnowTheDenominatorOverWhichTheyAreRoundedHalfUp) {
    const auto denominatorOf = [](std::vector<Contribution> entries, float weightSum) {
        return HalfUpDenominator(ListOf(entries, weightSum), 128);
    };
    const float part = 1.0F / 18.0F;
    EXPECT_EQ(denominatorOf({{part, 0}, {16 * part, 1}, {part, 2}}, 1.0F), 18);
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {1.0F, 1}}, 2.0F), 2);
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {126.0F, 1}, {1.0F, 2}}, 128.0F), 128);
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {127.0F, 1}, {1.0F, 2}}, 129.0F), 0) << "is too great";
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {2.5F, 1}}, 3.5F), 0) << "is no whole multiple";
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {std::nextafterf(16.0F, 17.0F), 1}}, 17.0F), 0)
        << "is nearly one";
    EXPECT_EQ(denominatorOf({{-1.0F, 0}, {3.0F, 1}}, 2.0F), 0) << "has a negative weight";
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {1.0F, 1}}, std::nextafterf(2.0F, 3.0F)), 0)
        << "is rounded half down";
    EXPECT_EQ(denominatorOf({{1.0F, 0}, {1.0F, 1}}, 1.9F), 0) << "does not add up";
    EXPECT_EQ(denominatorOf({}, 0.0F), 0);
}

TEST(Lists, AreRoundedHalfUpAlongRowsWhereTheySaySo) {
    ContributionTable table;
    ASSERT_TRUE(table.Allocate(8));
    const auto lists = ComputeContributions<MitchellFilter, Axis::Horizontal>(8, table, 8);
    ContributionList list = lists[1];
    ASSERT_EQ(HalfUpDenominator(list, 128), 18);
    ASSERT_EQ(list.count, 3);
    std::array<std::uint8_t, 12> row{};
    for (int outer = 0; outer <= 510; ++outer) {
        row[0] = static_cast<std::uint8_t>(outer / 2);
        row[8] = static_cast<std::uint8_t>(outer - outer / 2);
        for (int inner = 0; inner <= 255; ++inner) {
            row[4] = static_cast<std::uint8_t>(inner);
            ASSERT_EQ(ResampleRowChannel(row.data(), list), (outer + 16 * inner + 9) / 18)
                << outer << " " << inner;
        }
    }
}

// A sum of 2^29 times the least weight is the most; 256 times the weights' magnitudes must not
// reach beyond it.
TEST(Lists, KnowWhetherTheirProductsAddUpInAnyOrder) {
    const auto addsExactly = [](std::vector<Contribution> entries) {
        return AddsExactly(ListOf(entries, 1.0F));
    };
    EXPECT_TRUE(addsExactly({{0.3F, 0}, {-0.7F, 1}, {0.001F, 2}}));
    EXPECT_TRUE(addsExactly({{1.0F - 0x1p-21F, 0}, {0x1p-21F, 1}}));
    EXPECT_TRUE(addsExactly({{1.0F - 0x1p-21F, 0}, {-0x1p-21F, 1}}));
    EXPECT_FALSE(addsExactly({{1.0F, 0}, {0x1p-21F, 1}}));
    EXPECT_FALSE(addsExactly({{0.5F, 0}, {0.5F, 1}, {-0x1p-22F, 2}}));
    EXPECT_TRUE(addsExactly({}));
    EXPECT_EQ(BoundsOf({{1.0F, 0}, {0x1p-21F, 1}}, 1.0F).addsExactly, false);
    EXPECT_EQ(BoundsOf({{0.3F, 0}, {0.7F, 1}}, 1.0F).addsExactly, true);
}

TEST_P(FixedLists, KnowWhetherTheirProductsAddUpInAnyOrder) {
    EXPECT_EQ(FixedOf({{1.0F, 0}, {0x1p-21F, 1}}, 1.0F).addsExactly, false);
    EXPECT_EQ(FixedOf({{0.3F, 0}, {0.7F, 1}}, 1.0F).addsExactly, true);
}

INSTANTIATE_TEST_SUITE_P(Layouts, FixedLists, ::testing::Values(RowLayout::Words, RowLayout::Bytes),
                         [](const auto& layout) {
                             return layout.param == RowLayout::Words ? "words" : "bytes";
                         });

TEST(BoundedLists, AreExactForWeightsThatAreMultiplesOfAPowerOfTwo) {
    const BoundedList list = BoundsOf({{0.125F, 0}, {0.75F, 1}, {0.125F, 2}}, 1.0F);
    EXPECT_EQ(list.slack, 0.0F);
    EXPECT_EQ(list.bias, 0.5F);
    EXPECT_GT(BoundsOf({{0.125F + 0x1p-22F, 0}, {0.875F - 0x1p-22F, 1}}, 1.0F).slack, 0.0F)
        << "nearly multiples";
}

TEST(BoundedLists, LieHalfAStepAboveForPlainMeans) {
    const BoundedList list = BoundsOf({{1.0F, 0}, {1.0F, 1}, {1.0F, 2}}, 3.0F);
    EXPECT_EQ(list.slack, 0.0F);
    EXPECT_FLOAT_EQ(list.bias, 0.5F + 1.0F / 12.0F);
}

TEST(BoundedLists, NeedNoSlackWhereMeansStayAwayFromHalves) {
    const BoundedList thirds = BoundsOf({{2.0F / 3.0F, 0}, {1.0F / 3.0F, 1}}, 1.0F);
    EXPECT_EQ(thirds.slack, 0.0F);
    EXPECT_EQ(thirds.bias, 0.5F);
    EXPECT_GT(BoundsOf({{1.0F / 6.0F, 0}, {5.0F / 6.0F, 1}}, 1.0F).slack, 0.0F);
    EXPECT_GT(BoundsOf(nearlyThirds, 1.0F).slack, 0.0F);
}

TEST(BoundedLists, AreNoPlainMeansWhereTheirStepsAreTooSmall) {
    EXPECT_GT(BoundsOf(PlainMeanOf(1000), 1000.0F).slack, 0.0F);
    EXPECT_EQ(BoundsOf(PlainMeanOf(5), 5.0F).slack, 0.0F);
}

// The error that is shown for a list, to both sides: (n + 8) 2^-24 (255 A + 1).
TEST(BoundedLists, HaveSlackOtherwiseAndMoreOfItForNegativeWeights) {
    for (const auto& [weight, magnitude] : {std::pair{0.3F, 1.0}, {-0.3F, 1.6}, {-0.7F, 2.4}}) {
        const BoundedList list = BoundsOf({{weight, 0}, {1.0F - weight, 1}}, 1.0F);
        const double error = 10.0 * 0x1p-24 * (255.0 * magnitude + 1.0);
        EXPECT_NEAR(list.slack, 2.0 * error, 1e-6) << weight;
        EXPECT_NEAR(list.bias, 0.5 - error, 1e-6) << weight;
    }
}

TEST(BoundedLists, SettleNothingWhereWeightsCancelOrAreTooMany) {
    for (const BoundedList& list :
         {BoundsOf({{1.0F, 0}, {-1.0F, 1}}, 0.0F), BoundsOf({{1.0F, 0}, {-0.999F, 1}}, 0.001F),
          BoundsOf(std::vector<Contribution>(1, {0.3F, 0}), std::nanf("")),
          BoundsOf({{0.3F, 0}, {0.7F, 5000}}, 1.0F)}) {
        EXPECT_EQ(list.count, 0);
        EXPECT_LT(list.bias, 0.0F);
        EXPECT_GE(list.bias + list.slack, 256.0F);
    }
}

TEST(BoundedLists, FitTwoSumsWhereAPowerOfTwoNormalisesAFewWeightsOfLikeSize) {
    const auto decisionOf = [](std::vector<Contribution> entries, float weightSum) {
        return BoundsOf(std::move(entries), weightSum).decision;
    };
    EXPECT_EQ(decisionOf({{0.3F, 0}, {0.7F, 1}}, 1.0F), Decision::ByTwoSums);
    EXPECT_EQ(decisionOf({{0.6F, 0}, {1.4F, 1}}, 2.0F), Decision::ByTwoSums);
    EXPECT_EQ(decisionOf({{0.3F, 0}, {0.7F, 1}}, 0.99999994F), Decision::ByBounds);
    EXPECT_EQ(decisionOf({{0.0005F, 0}, {0.3F, 1}, {0.6995F, 2}}, 1.0F), Decision::ByTwoSums);
    EXPECT_EQ(decisionOf({{0.0004F, 0}, {0.3F, 1}, {0.6996F, 2}}, 1.0F), Decision::ByBounds);
    EXPECT_EQ(decisionOf({{2.5F, 0}, {-1.5F, 1}}, 1.0F), Decision::ByBounds);
    std::vector<Contribution> many;
    for (std::int32_t pixel = 0; pixel < 9; ++pixel)
        many.push_back({pixel < 8 ? 0.11F : 0.12F, pixel});
    EXPECT_EQ(decisionOf(many, 1.0F), Decision::ByBounds);
}

TEST(BoundedLists, AreAllInTwoSumsWhereHalvesAreFrequent) {
    const auto decision =
        BoundsOf({{1.0F / 18.0F, 0}, {8.0F / 9.0F, 1}, {1.0F / 18.0F, 2}}, 1.0F).decision;
    EXPECT_EQ(decision, Decision::InTwoSums);
}

// What the definition's products, in two runs of rows, add up to in units and in what is left.
double CloseSumOf(const BoundedList& list, std::span<const Contribution> entries,
                  const std::vector<std::uint8_t>& bytes, std::size_t firstRun) {
    std::array heads = {list.anchor, list.anchor};
    std::array rests = {0.0F, 0.0F};
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const std::size_t place = index < firstRun ? index : index - firstRun;
        const std::size_t chain = place % 2;
        const float product = static_cast<float>(bytes[index]) * entries[index].weight;
        const float sum = heads[chain] + product;
        rests[chain] += product - (sum - heads[chain]);
        heads[chain] = sum;
    }
    return (double{heads[0] - list.anchor} + double{heads[1] - list.anchor}) +
           (double{rests[0]} + double{rests[1]});
}

TEST(BoundedLists, HaveProductsThatAddUpAsCloselyAsTheySay) {
    std::mt19937 random(19);
    const auto share = [&] { return std::generate_canonical<float, 24>(random); };
    double greatestError = 0.0;
    for (int round = 0; round < 3000; ++round) {
        const auto count = static_cast<std::int32_t>(9 + random() % 200);
        const float scale = std::ldexp(1.0F, static_cast<int>(random() % 40) - 20);
        std::vector<Contribution> entries;
        float weightSum = 0.0F;
        for (std::int32_t pixel = 0; pixel < count; ++pixel) {
            entries.push_back({.weight = (share() - 0.1F) * scale, .pixel = pixel});
            weightSum += entries.back().weight;
        }
        const BoundedList list = BoundsOf(entries, weightSum);
        ASSERT_NE(list.anchor, 0.0F);
        std::vector<std::uint8_t> bytes;
        double expected = 0.0;
        for (const Contribution& entry : entries) {
            bytes.push_back(round % 2 == 0 ? 255 : static_cast<std::uint8_t>(random()));
            expected += double{static_cast<float>(bytes.back()) * entry.weight};
        }
        const double found = CloseSumOf(list, entries, bytes, random() % entries.size());
        const double error = std::fabs(found - expected) / list.closeError;
        ASSERT_LE(error, 1.0) << count << " entries";
        greatestError = std::max(greatestError, error);
        ASSERT_LT(list.closeError / std::fabs(weightSum), list.slack / 4.0F);
    }
    EXPECT_GT(greatestError, 0.0) << "some of what is left is rounded";
}

TEST(BoundedLists, HaveNoAnchorWhereRowsAreLeftOutOrWeightsAreOutOfRange) {
    const auto anchorOf = [](float scale, std::int32_t last) {
        return BoundsOf({{0.31F * scale, 0}, {0.47F * scale, 1}, {0.22F * scale, last}},
                        0.99999994F * scale)
            .anchor;
    };
    EXPECT_NE(anchorOf(1.0F, 2), 0.0F);
    EXPECT_EQ(anchorOf(1.0F, 3), 0.0F);
    EXPECT_EQ(anchorOf(0x1p-80F, 2), 0.0F);
    EXPECT_EQ(anchorOf(0x1p80F, 2), 0.0F);
}

TEST(BoundedLists, AreInWholesWhereWeightsHaveASmallDenominator) {
    const auto denominatorOf = [](std::vector<Contribution> entries, float weightSum) {
        const BoundedList list = BoundsOf(std::move(entries), weightSum);
        EXPECT_EQ(list.denominator != 0, list.decision == Decision::InWholes);
        return list.denominator;
    };
    EXPECT_EQ(denominatorOf({{0.125F, 0}, {0.875F, 1}}, 1.0F), 8);
    EXPECT_EQ(denominatorOf({{2.0F / 3.0F, 0}, {1.0F / 3.0F, 1}}, 1.0F), 3);
    EXPECT_EQ(
        denominatorOf({{1.0F, 0}, {1.0F, 1}, {1.0F, 2}, {1.0F, 3}, {1.0F, 4}, {1.0F, 5}}, 6.0F), 6);
    EXPECT_EQ(denominatorOf({{-0.125F, 0}, {1.125F, 1}}, 1.0F), 0) << "is negative";
    EXPECT_EQ(denominatorOf({{1.0F / 256.0F, 0}, {255.0F / 256.0F, 1}}, 1.0F), 0) << "is too great";
    EXPECT_EQ(denominatorOf({{1.0F / 6.0F, 0}, {5.0F / 6.0F, 1}}, 1.0F), 0) << "makes halves";
    EXPECT_EQ(denominatorOf({{0.3F, 0}, {0.7F, 1}}, 1.0F), 0);
    EXPECT_EQ(denominatorOf({{0.5F, 0}, {0.5F, 40}}, 1.0F), 0) << "is too long";
    EXPECT_EQ(denominatorOf({{0.875F, 0}, {0.875F, 1}, {0.875F, 2}}, 1.0F), 0)
        << "adds up to more than the weights' sum says";
}

TEST(BoundedLists, NameTheSameRowsAsTheirNeighboursWhereThatCostsLittle) {
    std::vector<Contribution> first = {{0.3F, 4}, {0.7F, 5}};
    std::vector<Contribution> second = {{0.45F, 5}, {0.55F, 6}};
    std::vector<Contribution> third = {{0.45F, 8}, {0.55F, 9}};
    const std::array lists = {ListOf(first, 1.0F), ListOf(second, 1.0F), ListOf(third, 1.0F)};
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    EXPECT_TRUE(bounded.SharesRows(0));
    EXPECT_EQ(bounded.lists()[0].first, 4);
    EXPECT_EQ(bounded.lists()[1].first, 4);
    EXPECT_EQ(bounded.lists()[1].count, 3);
    EXPECT_EQ(bounded.lists()[1].weights[0], 0.0F);
    EXPECT_FALSE(bounded.SharesRows(1));
    EXPECT_FALSE(bounded.SharesRows(2));
    EXPECT_EQ(bounded.FirstNeededFrom(1), 4);
    EXPECT_EQ(bounded.EndOf(0), 7);
    EXPECT_EQ(bounded.longestSpan(), 3);
}

TEST(BoundedLists, NeedRowsFromTheFirstThatAnyLaterListNames) {
    std::vector<Contribution> narrow = {{0.3F, 5}, {0.7F, 6}};
    std::vector<Contribution> wide = {{0.1F, 4}, {0.3F, 5}, {0.4F, 6}, {0.2F, 7}};
    const std::array lists = {ListOf(narrow, 1.0F), ListOf(narrow, 1.0F), ListOf(wide, 1.0F),
                              ListOf(wide, 1.0F)};
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    ASSERT_EQ(bounded.lists()[0].first, 5);
    for (std::int64_t index = 0; index < 4; ++index)
        EXPECT_EQ(bounded.FirstNeededFrom(index), 4) << index;
    EXPECT_EQ(bounded.longestSpan(), 4);
}

TEST(BoundedLists, AreServedTogetherOnlyIfTheyNameTheSameRowsInTheSameWay) {
    std::vector<Contribution> first = {{0.3F, 4}, {0.7F, 5}};
    std::vector<Contribution> second = {{0.45F, 5}, {0.55F, 6}};
    std::vector<Contribution> longer = {{0.2F, 4}, {0.3F, 5}, {0.1F, 6}, {0.15F, 7}, {0.25F, 8}};
    std::vector<Contribution> halves = {{0.5F, 4}, {0.5F, 5}};
    const std::array lists = {ListOf(first, 1.0F),  ListOf(second, 1.0F), ListOf(longer, 1.0F),
                              ListOf(longer, 1.0F), ListOf(halves, 1.0F), ListOf(first, 1.0F)};
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    ASSERT_EQ(bounded.lists()[1].first, bounded.lists()[2].first);
    EXPECT_FALSE(bounded.SharesRows(1)) << "one is longer";
    EXPECT_TRUE(bounded.SharesRows(2));
    ASSERT_EQ(bounded.lists()[4].count, bounded.lists()[5].count);
    EXPECT_FALSE(bounded.SharesRows(4)) << "one is in whole numbers";
}

// Sums that settle most bytes of one list would be in vain for one that is all in two sums.
TEST(BoundedLists, AreInTwoSumsTogetherOrByThemselves) {
    std::vector<Contribution> often = {{1.0F / 18.0F, 0}, {8.0F / 9.0F, 1}, {1.0F / 18.0F, 2}};
    std::vector<Contribution> seldom = {{0.1F, 0}, {0.3F, 1}, {0.4F, 2}, {0.2F, 3}};
    std::vector<Contribution> tenths = {{0.1F, 0}, {0.3F, 1}, {0.6F, 2}};
    const std::array lists = {ListOf(often, 1.0F), ListOf(seldom, 1.0F), ListOf(often, 1.0F),
                              ListOf(often, 1.0F), ListOf(tenths, 1.0F)};
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    EXPECT_FALSE(bounded.SharesRows(0));
    EXPECT_EQ(bounded.lists()[0].count, 3) << "without a row of its neighbour's";
    EXPECT_TRUE(bounded.SharesRows(2));
    EXPECT_FALSE(bounded.SharesRows(3));
}

TEST(BoundedLists, ShareWeightsThatReturnAtTheSamePlaceAmongTheirRows) {
    std::vector<Contribution> first = {{0.3F, 0}, {0.7F, 1}};
    std::vector<Contribution> again = {{0.3F, 8}, {0.7F, 9}};
    std::vector<Contribution> above = {{0.3F, 16}, {0.7F, 17}};
    std::vector<Contribution> joined = {{0.41F, 17}, {0.59F, 18}};
    std::vector<Contribution> other = {{0.37F, 24}, {0.63F, 25}};
    std::vector<Contribution> below = {{0.3F, 25}, {0.7F, 26}};
    const std::array lists = {ListOf(first, 1.0F),  ListOf(again, 1.0F), ListOf(above, 1.0F),
                              ListOf(joined, 1.0F), ListOf(other, 1.0F), ListOf(below, 1.0F)};
    BoundedTable bounded;
    ASSERT_TRUE(bounded.Build(lists));
    const auto places = std::span(bounded.lists(), lists.size());
    EXPECT_EQ(places[1].weights, places[0].weights);
    EXPECT_EQ(places[1].first, 8);
    EXPECT_EQ(places[1].exact, &lists[1]);
    ASSERT_TRUE(bounded.SharesRows(2));
    ASSERT_TRUE(bounded.SharesRows(4));
    ASSERT_EQ(places[5].count, places[2].count);
    EXPECT_NE(places[5].weights, places[2].weights) << "has a weight of 0 before its own";
}

TEST(BoundedLists, FillGapsWithZeros) {
    const BoundedList list = BoundsOf({{0.5F, 3}, {0.5F, 6}}, 1.0F);
    EXPECT_EQ(list.first, 3);
    EXPECT_EQ(list.count, 4);
}

}  // namespace
}  // namespace zvk::kernels
