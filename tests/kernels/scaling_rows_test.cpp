// The vector kernels of fast scaling and smooth enlargement against their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "tests/kernels/guarded_bytes.h"
#include "tests/kernels/levels.h"

namespace zvk::kernels {
namespace {

using testing::EveryLevel;
using testing::Guard;
using testing::GuardedBytes;

struct SmoothWeights {
    float nearOne;
    float farOne;
};

// The weights of a coordinate that lies a fraction of a step behind a sample.
SmoothWeights SmoothWeightsAt(std::int64_t numerator, std::int64_t denominator) {
    const float t = static_cast<float>(numerator) / static_cast<float>(denominator);
    const float threeSquares = (t * 3.0F) * t;
    const float twoCubes = ((2.0F * t) * t) * t;
    return {.nearOne = (twoCubes - threeSquares) + 1.0F, .farOne = threeSquares - twoCubes};
}

class ScalingRowKernels : public EveryLevel {
  protected:
    // Boxes anywhere, in order.
    void CheckAverage(std::int64_t boxWidth, std::int64_t width, Guard guard);
    void CheckAverage(std::int64_t boxWidth, const std::vector<std::int32_t>& starts,
                      std::int64_t sourceWidth, Guard guard);
    // Weights are anything; with a factor they repeat after as many pixels.
    void CheckInterpolation(std::int64_t sourceWidth, std::int64_t width, std::uint32_t mask,
                            std::int64_t factor = 0);
    // A row between two rows of a source that is enlarged by a factor along both axes, which any
    // rounding gives.
    void CheckEnlargement(const std::vector<std::uint8_t>& above,
                          const std::vector<std::uint8_t>& below, std::int64_t factor,
                          std::int64_t rowStep);
    // The bytes of the mean of a source's first pixels.
    std::vector<std::uint8_t> AveragedAtTheStart(const std::vector<std::uint8_t>& source,
                                                 std::int64_t boxWidth, bool rounded) const;

    std::mt19937 random{5};
};

void ScalingRowKernels::CheckAverage(std::int64_t boxWidth, std::int64_t width, Guard guard) {
    const std::int64_t sourceWidth = boxWidth + static_cast<std::int64_t>(random() % 40);
    std::vector<std::int32_t> starts;
    for (std::int64_t x = 0; x < width; ++x) {
        starts.push_back(static_cast<std::int32_t>(
            random() % static_cast<std::uint64_t>(sourceWidth - boxWidth + 1)));
    }
    starts.back() = static_cast<std::int32_t>(sourceWidth - boxWidth);
    std::sort(starts.begin(), starts.end());
    CheckAverage(boxWidth, starts, sourceWidth, guard);
}

void ScalingRowKernels::CheckAverage(std::int64_t boxWidth, const std::vector<std::int32_t>& starts,
                                     std::int64_t sourceWidth, Guard guard) {
    const std::int64_t width = std::ssize(starts);
    RowAveraging job{.sources = {},
                     .ahead = {},
                     .rowCount = static_cast<int>(1 + random() % rowsAveraged),
                     .sourceOrder = testing::orders[random() % 3],
                     .sourceWidth = sourceWidth,
                     .starts = starts.data(),
                     .boxWidth = boxWidth,
                     .boxHeight = static_cast<std::int64_t>(1 + random() % 1000),
                     .rounded = random() % 2 == 0,
                     .order = testing::orders[random() % 3],
                     .width = width,
                     .destinations = {},
                     .streams = random() % 2 == 0};
    std::array<std::unique_ptr<GuardedBytes>, rowsAveraged> sources;
    std::array<std::unique_ptr<GuardedBytes>, rowsAveraged> found;
    // Rows at any place in a cache line, and at the same one.
    const auto rest = static_cast<std::int64_t>(random() % 4);
    const bool repeatsRows = random() % 2 == 0;
    for (int row = 0; row < job.rowCount; ++row) {
        sources[row] = std::make_unique<GuardedBytes>(4 * sourceWidth, guard);
        found[row] = std::make_unique<GuardedBytes>(4 * width + rest, guard);
        if (random() % 2) {
            sources[row]->FillRandomly(random);
        } else {
            sources[row]->FillWith(255);
        }
        const bool isRepeated = repeatsRows && row > 0 && random() % 3 != 0;
        job.sources[row] = isRepeated ? job.sources[row - 1] : sources[row]->data();
        job.ahead[row] = sources[row]->data();
        job.destinations[row] = found[row]->data();
    }
    kernels().averageRows(job);
    std::vector<std::uint8_t> expected(static_cast<std::size_t>(4 * width));
    for (int row = 0; row < job.rowCount; ++row) {
        RowAveraging single = job;
        single.rowCount = 1;
        single.sources[0] = job.sources[row];
        single.destinations[0] = expected.data();
        AverageRows(single);
        const std::uint8_t* const bytes = found[row]->data();
        ASSERT_EQ(std::vector<std::uint8_t>(bytes, bytes + expected.size()), expected)
            << "box " << boxWidth << " width " << width << " row " << row;
    }
}

TEST_P(ScalingRowKernels, AverageEveryWidthOfRowAndBoxAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (std::int64_t boxWidth = 1; boxWidth <= 24; ++boxWidth) {
            CheckAverage(boxWidth, width, boxWidth % 2 ? Guard::Behind : Guard::Before);
        }
    }
    for (const std::int64_t boxWidth : {255, 256, 1000, 8191, 8192, 8193, 20000}) {
        CheckAverage(boxWidth, 9, Guard::Behind);
    }
}

std::vector<std::uint8_t> ScalingRowKernels::AveragedAtTheStart(
    const std::vector<std::uint8_t>& source, std::int64_t boxWidth, bool rounded) const {
    // More boxes than one, so that vectors are filled.
    constexpr std::size_t boxCount = 4;
    const std::vector<std::int32_t> starts(boxCount, 0);
    std::vector<std::uint8_t> found(4 * boxCount);
    kernels().averageRows({.sources = {source.data()},
                           .ahead = {source.data()},
                           .rowCount = 1,
                           .sourceOrder = layouts::colourFirst,
                           .sourceWidth = static_cast<std::int64_t>(source.size() / 4),
                           .starts = starts.data(),
                           .boxWidth = boxWidth,
                           .boxHeight = 1,
                           .rounded = rounded,
                           .order = layouts::colourFirst,
                           .width = boxCount,
                           .destinations = {found.data()},
                           .streams = false});
    return found;
}

// Single pixels as enlarging takes them, with the last ones at the end of the row.
TEST_P(ScalingRowKernels, RepeatThePixelsOfEnlargedRows) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (const std::int64_t sourceWidth : {1, 2, 5, 7, 8, 9, 16, 23, 40, 65}) {
            std::vector<std::int32_t> starts;
            for (std::int64_t x = 0; x < width; ++x)
                starts.push_back(static_cast<std::int32_t>(x * sourceWidth / width));
            CheckAverage(1, starts, sourceWidth, width % 2 ? Guard::Behind : Guard::Before);
        }
    }
}

TEST_P(ScalingRowKernels, AverageBoxesSideBySideAndNearlySo) {
    for (std::int64_t width = 1; width <= 40; ++width) {
        for (std::int64_t boxWidth = 1; boxWidth <= 9; ++boxWidth) {
            std::vector<std::int32_t> starts;
            for (std::int64_t x = 0; x < width; ++x)
                starts.push_back(static_cast<std::int32_t>(x * boxWidth));
            const Guard guard = width % 2 ? Guard::Behind : Guard::Before;
            CheckAverage(boxWidth, starts, width * boxWidth, guard);
            for (auto x = static_cast<std::size_t>(width / 2); x < starts.size(); ++x)
                ++starts[x];
            CheckAverage(boxWidth, starts, width * boxWidth + 1, guard);
        }
    }
}

TEST_P(ScalingRowKernels, AverageBoxesThatOverlapOrLieApartEvenly) {
    for (std::int64_t width = 1; width <= 40; ++width) {
        for (std::int64_t boxWidth = 2; boxWidth <= 5; ++boxWidth) {
            for (std::int64_t step = 0; step <= 6; ++step) {
                std::vector<std::int32_t> starts;
                for (std::int64_t x = 0; x < width; ++x)
                    starts.push_back(static_cast<std::int32_t>(x * step));
                const Guard guard = width % 2 ? Guard::Behind : Guard::Before;
                CheckAverage(boxWidth, starts, (width - 1) * step + boxWidth, guard);
            }
        }
    }
}

// Every sum of a box whose last pixel alone varies, for box widths around those that divide 255.
TEST_P(ScalingRowKernels, AverageEverySumExactly) {
    for (std::int64_t boxWidth = 2; boxWidth <= 9; ++boxWidth) {
        for (int sum = 0; sum <= 255 * boxWidth; ++sum) {
            // What lies behind the box counts nothing.
            const std::int64_t sourceWidth = boxWidth + 4;
            std::vector<std::uint8_t> source(static_cast<std::size_t>(4 * sourceWidth), 255);
            int left = sum;
            for (std::int64_t pixel = 0; pixel < boxWidth; ++pixel) {
                const int value = std::min(left, 255);
                source[static_cast<std::size_t>(4 * pixel)] = static_cast<std::uint8_t>(value);
                left -= value;
            }
            ASSERT_EQ(AveragedAtTheStart(source, boxWidth, false)[0], sum / boxWidth)
                << "sum " << sum << " of " << boxWidth;
            ASSERT_EQ(AveragedAtTheStart(source, boxWidth, true)[0],
                      (2 * sum + boxWidth) / (2 * boxWidth))
                << "sum " << sum << " of " << boxWidth;
        }
    }
}

// The sum of a long box at a multiple of its length, which the product with a rounded reciprocal
// may miss, and just below one, where rounding reaches farthest.
TEST_P(ScalingRowKernels, AverageLongBoxesWhoseMeansAreWholeOrNearly) {
    for (const std::int64_t boxWidth : {41, 47, 55, 1000, 8192, 8193, 26071, 26169, 44732}) {
        for (int level = 1; level <= 255; ++level) {
            std::vector<std::uint8_t> source(static_cast<std::size_t>(4 * boxWidth),
                                             static_cast<std::uint8_t>(level));
            source[0] = static_cast<std::uint8_t>(level - 1);
            const std::vector<std::uint8_t> found = AveragedAtTheStart(source, boxWidth, false);
            ASSERT_EQ(found[0], level - 1) << boxWidth;
            ASSERT_EQ(found[1], level) << boxWidth;
        }
    }
}

void ScalingRowKernels::CheckInterpolation(std::int64_t sourceWidth, std::int64_t width,
                                           std::uint32_t mask, std::int64_t factor) {
    GuardedBytes nearRow(4 * sourceWidth);
    GuardedBytes farRow(4 * sourceWidth, Guard::Before);
    nearRow.FillRandomly(random);
    farRow.FillRandomly(random);
    // Also on the near row, and so little off it that its weight is rounded to 1.
    const std::array shares = {std::generate_canonical<float, 24>(random), 0.0F, 0x1p-26F};
    const float far = shares[random() % shares.size()];
    const auto lineSize = static_cast<std::size_t>(4 * (sourceWidth + linePadding));
    std::vector<float> line(lineSize);
    std::vector<float> expectedLine(lineSize);
    RowInterpolation rows{.nearRow = nearRow.data(),
                          .farRow = farRow.data(),
                          .nearWeight = 1.0F - far,
                          .farWeight = far,
                          .width = sourceWidth,
                          .line = line.data()};
    kernels().interpolateRows(rows);
    rows.line = expectedLine.data();
    InterpolateRows(rows);

    std::vector<std::int32_t> indices;
    std::vector<float> nearWeights;
    std::vector<float> farWeights;
    for (std::int64_t x = 0; x < width; ++x) {
        indices.push_back(
            static_cast<std::int32_t>(factor > 0 ? x / factor : x * sourceWidth / width));
        const bool repeats = factor > 0 && x >= factor;
        const float any = x % 3 == 0 ? 0.0F : std::generate_canonical<float, 24>(random);
        farWeights.push_back(repeats ? farWeights[static_cast<std::size_t>(x - factor)] : any);
        nearWeights.push_back(1.0F - farWeights.back());
    }
    GuardedBytes found(4 * width);
    found.FillRandomly(random);
    std::vector<std::uint8_t> expected(found.data(), found.data() + found.size());
    ColumnInterpolation columns{.line = line.data(),
                                .lineWidth = sourceWidth,
                                .indices = indices.data(),
                                .nearWeights = nearWeights.data(),
                                .farWeights = farWeights.data(),
                                .width = width,
                                .factor = factor,
                                .mayFuse = false,
                                .byteMask = mask,
                                .destination = found.data(),
                                .streams = random() % 2 == 0};
    kernels().interpolateColumns(columns);
    columns.line = expectedLine.data();
    columns.destination = expected.data();
    InterpolateColumns(columns);
    ASSERT_EQ(std::vector<std::uint8_t>(found.data(), found.data() + found.size()), expected)
        << sourceWidth << " to " << width;
}

TEST_P(ScalingRowKernels, InterpolateEveryWidthAndEveryByteAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        const auto sourceWidth = static_cast<std::int64_t>(1 + random() % 40);
        CheckInterpolation(sourceWidth, width, 0xFFFFFFFF);
        for (unsigned byte = 0; byte < 4; ++byte) {
            CheckInterpolation(sourceWidth, width, 0xFFU << (8 * byte));
        }
    }
    CheckInterpolation(1000, 3001, 0xFFFFFFFF);
    // Nearly the same size: the pixels of a vector lie as far apart as they can.
    CheckInterpolation(1000, 1003, 0xFFFFFFFF);
}

TEST_P(ScalingRowKernels, InterpolateByWholeFactorsAlsoWhereTheResultIsNarrower) {
    for (std::int64_t sourceWidth = 1; sourceWidth <= 70; ++sourceWidth) {
        for (std::int64_t factor = 1; factor <= 5; ++factor) {
            const std::int64_t width = sourceWidth * factor;
            CheckInterpolation(sourceWidth, width, 0xFFFFFFFF, factor);
            CheckInterpolation(sourceWidth, width, 0xFF00, factor);
            // The host may hand out a picture that is narrower than was asked for.
            if (width > 3) CheckInterpolation(sourceWidth, width - 3, 0xFFFFFFFF, factor);
        }
    }
}

// Weights and pairs of bytes with which the three parts of a sum, added in another order, would
// give another byte.
TEST_P(ScalingRowKernels, AddTheHalfFirstThenTheNearPartThenTheFarOne) {
    struct Case {
        std::int64_t numerator;
        std::int64_t denominator;
        std::uint8_t nearByte;
        std::uint8_t farByte;
        int expected;
    };
    constexpr std::int64_t sourceWidth = 32;
    constexpr std::int64_t width = 64;
    for (const Case& item :
         {Case{45, 163, 39, 106, 52}, Case{45, 163, 157, 224, 169}, Case{262, 369, 77, 163, 146},
          Case{262, 369, 157, 243, 226}, Case{161, 324, 126, 18, 73}, Case{279, 310, 126, 1, 5}}) {
        const SmoothWeights weights = SmoothWeightsAt(item.numerator, item.denominator);
        const std::vector<float> nearWeights(width, weights.nearOne);
        const std::vector<float> farWeights(width, weights.farOne);
        std::vector<std::uint8_t> row(4 * sourceWidth);
        for (std::size_t byte = 0; byte < row.size(); ++byte)
            row[byte] = byte / 4 % 2 == 0 ? item.nearByte : item.farByte;
        std::vector<std::int32_t> indices;
        for (std::int32_t x = 0; x < width; ++x)
            indices.push_back(x / 4 * 2);
        std::vector<float> line(4 * (sourceWidth + linePadding));
        kernels().interpolateRows({.nearRow = row.data(),
                                   .farRow = row.data(),
                                   .nearWeight = 1.0F,
                                   .farWeight = 0.0F,
                                   .width = sourceWidth,
                                   .line = line.data()});
        std::vector<std::uint8_t> found(4 * width);
        kernels().interpolateColumns({.line = line.data(),
                                      .lineWidth = sourceWidth,
                                      .indices = indices.data(),
                                      .nearWeights = nearWeights.data(),
                                      .farWeights = farWeights.data(),
                                      .width = width,
                                      .factor = 0,
                                      .mayFuse = false,
                                      .byteMask = 0xFFFFFFFF,
                                      .destination = found.data(),
                                      .streams = false});
        for (const std::uint8_t byte : found)
            ASSERT_EQ(byte, item.expected) << item.numerator << " / " << item.denominator;
    }
}

void ScalingRowKernels::CheckEnlargement(const std::vector<std::uint8_t>& above,
                                         const std::vector<std::uint8_t>& below,
                                         std::int64_t factor, std::int64_t rowStep) {
    const std::int64_t sourceWidth = std::ssize(above) / 4;
    const std::int64_t width = sourceWidth * factor;
    std::vector<std::int32_t> indices;
    std::vector<float> nearWeights;
    std::vector<float> farWeights;
    for (std::int64_t x = 0; x < width; ++x) {
        const SmoothWeights weights = SmoothWeightsAt(x % factor, factor);
        indices.push_back(static_cast<std::int32_t>(x / factor));
        nearWeights.push_back(weights.nearOne);
        farWeights.push_back(weights.farOne);
    }
    const SmoothWeights rowWeights = SmoothWeightsAt(rowStep, factor);
    const bool streams = random() % 2 == 0;
    const Guard guard = random() % 2 == 0 ? Guard::Before : Guard::Behind;
    const auto enlarge = [&](auto interpolateRows, auto interpolateColumns) {
        std::vector<float> line(static_cast<std::size_t>(4 * (sourceWidth + linePadding)));
        GuardedBytes pixels(4 * width, guard);
        interpolateRows(RowInterpolation{.nearRow = above.data(),
                                         .farRow = below.data(),
                                         .nearWeight = rowWeights.nearOne,
                                         .farWeight = rowWeights.farOne,
                                         .width = sourceWidth,
                                         .line = line.data()});
        interpolateColumns(ColumnInterpolation{.line = line.data(),
                                               .lineWidth = sourceWidth,
                                               .indices = indices.data(),
                                               .nearWeights = nearWeights.data(),
                                               .farWeights = farWeights.data(),
                                               .width = width,
                                               .factor = factor,
                                               .mayFuse = true,
                                               .byteMask = 0xFFFFFFFF,
                                               .destination = pixels.data(),
                                               .streams = streams});
        return std::vector<std::uint8_t>(pixels.data(), pixels.data() + pixels.size());
    };
    ASSERT_EQ(enlarge(kernels().interpolateRows, kernels().interpolateColumns),
              enlarge(InterpolateRows, InterpolateColumns))
        << "factor " << factor << ", row " << rowStep;
}

TEST_P(ScalingRowKernels, EnlargeByWholeFactorsAlongBothAxesInAnyRounding) {
    for (std::int64_t sourceWidth = 1; sourceWidth <= 70; ++sourceWidth) {
        std::vector<std::uint8_t> nearRow(static_cast<std::size_t>(4 * sourceWidth));
        std::vector<std::uint8_t> farRow(nearRow.size());
        for (std::int64_t factor = 2; factor <= 4; ++factor) {
            for (std::int64_t step = 0; step < factor; ++step) {
                for (std::size_t byte = 0; byte < nearRow.size(); ++byte) {
                    nearRow[byte] = static_cast<std::uint8_t>(random());
                    farRow[byte] = static_cast<std::uint8_t>(random());
                }
                CheckEnlargement(nearRow, farRow, factor, step);
            }
        }
    }
}

// Means by thirds are multiples of 1/729: all those next to a half, from either side.
TEST_P(ScalingRowKernels, EnlargeThreeTimesAlsoWhereMeansAreNextToAHalf) {
    // By what they sum up to with weights 20 and 7, the two bytes of a column.
    std::map<int, std::array<std::uint8_t, 2>> columns;
    for (int nearByte = 0; nearByte < 256; ++nearByte) {
        for (int farByte = 0; farByte < 256; ++farByte) {
            columns[20 * nearByte + 7 * farByte] = {static_cast<std::uint8_t>(nearByte),
                                                    static_cast<std::uint8_t>(farByte)};
        }
    }
    // Columns come one behind the other in each channel, the left one once more behind the right
    // one: weights 7 and 20 then give what 20 and 7 gave before.
    std::vector<std::uint8_t> nearRow;
    std::vector<std::uint8_t> farRow;
    std::size_t count = 0;
    for (const auto& [left, leftBytes] : columns) {
        for (const auto& [right, rightBytes] : columns) {
            const int rest = (20 * left + 7 * right) % 729;
            if (rest != 364 && rest != 365) continue;
            const std::size_t place = count / 4 * 12 + count % 4;
            nearRow.resize(place / 12 * 12 + 12);
            farRow.resize(nearRow.size());
            nearRow[place] = nearRow[place + 8] = leftBytes[0];
            farRow[place] = farRow[place + 8] = leftBytes[1];
            nearRow[place + 4] = rightBytes[0];
            farRow[place + 4] = rightBytes[1];
            ++count;
        }
    }
    ASSERT_GT(count, 100000U);
    CheckEnlargement(nearRow, farRow, 3, 1);
    CheckEnlargement(farRow, nearRow, 3, 2);
}

INSTANTIATE_TEST_SUITE_P(Levels, ScalingRowKernels, ::testing::ValuesIn(testing::OfferedLevels()),
                         testing::LevelName);

}  // namespace
}  // namespace zvk::kernels
