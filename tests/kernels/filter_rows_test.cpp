// The vector kernels of the blur and of fractional drawing against their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

#include "kernels/box_blur.h"
#include "tests/kernels/guarded_bytes.h"
#include "tests/kernels/levels.h"

namespace zvk::kernels {
namespace {

using testing::EveryLevel;
using testing::Guard;
using testing::GuardedBytes;

TEST(Quotients, AreExactForEverySumOfEveryBoxThatHasOne) {
    int count = 0;
    for (std::int32_t boxLength = 3; boxLength <= 259; boxLength += 2) {
        if (!Quotient::Exists(boxLength)) continue;
        ++count;
        const Quotient quotient = Quotient::By(boxLength);
        for (std::uint32_t sum = 0; sum <= 255U * static_cast<std::uint32_t>(boxLength); ++sum) {
            ASSERT_EQ(sum * quotient.multiplier >> 16 >> quotient.shift,
                      sum / static_cast<std::uint32_t>(boxLength))
                << sum << " by " << boxLength;
        }
    }
    EXPECT_GT(count, 64) << "all boxes up to 127 pixels have one";
    EXPECT_FALSE(Quotient::Exists(259));
}

// Whether any multiplier at all truncates as the weight does.
bool HasMultiplier(double weight) {
    for (int multiplier = 0; multiplier <= 0xFFFF; ++multiplier) {
        int value = 0;
        while (value < 256 && value * multiplier >> 16 == static_cast<int>(value * weight)) {
            ++value;
        }
        if (value == 256) return true;
    }
    return false;
}

TEST(ScaledWeights, TruncateEveryProductAsTheWeightDoes) {
    std::mt19937_64 random(11);
    std::vector<double> weights = {0.0,       1.0,         0.5,           0.25,
                                   1.0 / 255, 254.0 / 255, 1.0 - 0x1p-53, 0x1p-60};
    for (int fraction = 1; fraction < 255; ++fraction) {
        weights.push_back(fraction / 255.0);
        weights.push_back(std::nextafter(fraction / 254.0, 0.0));
        if (fraction < 254) weights.push_back(std::nextafter(fraction / 254.0, 2.0));
    }
    // Positions and opacities that people write down.
    for (int step = 0; step < 1000; ++step) {
        const double x = step % 10 * 0.1;
        const double y = (step / 10 % 10) * 0.1;
        const int alphaTenths = step / 100;
        weights.push_back((x * y) * (alphaTenths * 0.1));
    }
    for (int i = 0; i < 2000; ++i) {
        weights.push_back(std::generate_canonical<double, 53>(random));
    }
    int scaledCount = 0;
    for (const double weight : weights) {
        const auto scaled = ScaleWeight(weight);
        if (!scaled) {
            EXPECT_FALSE(HasMultiplier(weight)) << weight;
            continue;
        }
        ++scaledCount;
        for (int value = 0; value < 256; ++value) {
            const int product = value * static_cast<int>(scaled->multiplier) >> 16;
            ASSERT_EQ(product, static_cast<int>(value * weight)) << weight;
        }
    }
    EXPECT_GT(scaledCount, 2900) << "only where products round to whole numbers there is none";
}

TEST(WeightTables, HoldWeightsAsTheyAreWithoutAMask) {
    std::mt19937_64 random(12);
    WeightTables tables;
    int roundedByAMask = 0;
    for (int i = 0; i < 1000; ++i) {
        const auto weight = std::generate_canonical<double, 53>(random);
        tables.Fill({weight, weight / 3.0, weight / 5.0, weight / 7.0}, false);
        ASSERT_EQ(tables.topLeft[0], weight);
        ASSERT_EQ(tables.topRight[0], weight / 3.0);
        ASSERT_EQ(tables.bottomRight[0], weight / 5.0);
        ASSERT_EQ(tables.bottomLeft[0], weight / 7.0);
        roundedByAMask += MaskedWeight(0, weight) != weight ? 1 : 0;
    }
    EXPECT_GT(roundedByAMask, 0) << "a black mask shows everything, but not to the last bit";
}

TEST(ScaledWeights, DoNotExistOutsideZeroToOne) {
    for (const double weight : {-0.1, 1.0000001, std::nan(""), HUGE_VAL}) {
        EXPECT_FALSE(ScaleWeight(weight).has_value()) << weight;
    }
}

class FilterRowKernels : public EveryLevel {
  protected:
    void CheckBlur(std::int64_t width, std::int32_t radius, std::int32_t rowCount);
    void CheckLongBlur(std::int64_t width, std::int32_t radius);
    void CheckDrawing(std::int64_t width, const SampleWeights& weights, bool isMasked);

    // Which ends of the source are among the columns drawn.
    struct Ends {
        bool left;
        bool right;
    };
    int CheckPlainDrawing(std::int64_t columnCount, Ends ends, const SampleWeights& weights);

    std::mt19937 random{17};
};

// Sums under a box down the columns, as the vector kernels hold them and as the definition does.
struct Sums {
    std::vector<std::uint16_t> interleaved;
    std::vector<std::int32_t> red;
    std::vector<std::int32_t> green;
    std::vector<std::int32_t> blue;

    explicit Sums(std::int64_t width)
        : interleaved(static_cast<std::size_t>((width + 3) / 4 * 16)),
          red(static_cast<std::size_t>(width)),
          green(red.size()),
          blue(red.size()) {}

    ColumnSums planes() { return {red.data(), green.data(), blue.data()}; }
};

void FilterRowKernels::CheckBlur(std::int64_t width, std::int32_t radius, std::int32_t rowCount) {
    const std::int32_t boxLength = 2 * radius + 1;
    const ChannelOrder from = testing::orders[random() % 3];
    const ChannelOrder to = testing::orders[random() % 3];
    Sums sums(width);
    GuardedBytes start(4 * width);
    start.FillRandomly(random);
    kernels().addToColumnSums(
        {.row = start.data(), .times = boxLength, .width = width, .sums = sums.interleaved.data()});
    AddToColumns(start.data(), from, boxLength, width, sums.planes());

    std::vector<std::uint8_t> block(static_cast<std::size_t>((width + 3) / 4 * 4) *
                                    blockColumnBytes);
    ColumnBlurring columns{.leaving = {},
                           .entering = {},
                           .ahead = {},
                           .sums = sums.interleaved.data(),
                           .width = width,
                           .quotient = Quotient::By(boxLength),
                           .sourceOrder = from,
                           .order = to,
                           .block = block.data()};
    RowBlurring rows{.block = block.data(),
                     .sourceWidth = width,
                     .radius = radius,
                     .quotient = Quotient::By(boxLength),
                     .sourceOrder = from,
                     .order = to,
                     .width = width,
                     .rowCount = rowCount,
                     .streams = random() % 2 == 0,
                     .destinations = {}};
    std::vector<std::unique_ptr<GuardedBytes>> entering;
    std::vector<std::unique_ptr<GuardedBytes>> found;
    for (int row = 0; row < blurRowsAtOnce; ++row) {
        entering.push_back(std::make_unique<GuardedBytes>(4 * width));
        entering.back()->FillRandomly(random);
        found.push_back(std::make_unique<GuardedBytes>(4 * width));
        columns.leaving[row] = start.data();
        columns.entering[row] = entering.back()->data();
        columns.ahead[row] = entering.back()->data();
        rows.destinations[row] = found.back()->data();
    }
    kernels().blurColumns(columns);
    kernels().blurRows(rows);

    const auto size = static_cast<std::size_t>(4 * width);
    for (int row = 0; row < rowCount; ++row) {
        std::vector<std::uint8_t> means(size);
        std::vector<std::uint8_t> expected(size);
        WriteColumnMeans(sums.planes(), boxLength, to, width, means.data());
        SlideColumns(start.data(), entering[static_cast<std::size_t>(row)]->data(), from, width,
                     sums.planes());
        BlurRow(means.data(), from, width, radius, to, width, expected.data());
        const std::uint8_t* bytes = found[static_cast<std::size_t>(row)]->data();
        ASSERT_EQ(std::vector<std::uint8_t>(bytes, bytes + size), expected)
            << "width " << width << " radius " << radius << " row " << row;
    }
}

TEST_P(FilterRowKernels, BlurEveryWidthAndManyRadiiAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (const std::int32_t radius : {1, 2, 7, 35, 63, 100}) {
            CheckBlur(width, radius, 1 + static_cast<std::int32_t>(random() % blurRowsAtOnce));
        }
    }
    for (std::int32_t radius = 1; radius <= 128; ++radius) {
        if (Quotient::Exists(2 * radius + 1)) CheckBlur(33, radius, blurRowsAtOnce);
    }
    EXPECT_TRUE(Quotient::Exists(2 * 128 + 1)) << "the greatest radius";
}

// Sums at multiples of a box's length and beside them, where quotients are told apart.
TEST_P(FilterRowKernels, DivideLongSumsBesideWholeMeans) {
    for (const std::int32_t boxLength : {3, 41, 259, 1000003, 5000001, 8388605}) {
        std::vector<std::int32_t> sums;
        std::vector<int> expected;
        for (std::int32_t level = 1; level <= 255; ++level) {
            for (std::int32_t sum = level * boxLength - 1; sum <= level * boxLength + 1; ++sum) {
                sums.insert(sums.end(), 4, sum);
                expected.push_back(sum / boxLength);
            }
        }
        const std::vector<std::uint8_t> row(sums.size());
        std::vector<std::uint8_t> found(sums.size());
        kernels().blurColumnsLong({.leaving = row.data(),
                                   .entering = row.data(),
                                   .sums = sums.data(),
                                   .width = static_cast<std::int64_t>(expected.size()),
                                   .boxLength = boxLength,
                                   .sourceOrder = layouts::console,
                                   .order = layouts::console,
                                   .destination = found.data()});
        for (std::size_t x = 0; x < expected.size(); ++x) {
            for (std::size_t channel = 0; channel < 3; ++channel)
                ASSERT_EQ(found[4 * x + channel], expected[x])
                    << "sum " << sums[4 * x] << " by " << boxLength;
        }
    }
}

// Two rows, so that the boxes have moved on.
void FilterRowKernels::CheckLongBlur(std::int64_t width, std::int32_t radius) {
    const std::int32_t boxLength = 2 * radius + 1;
    const ChannelOrder from = testing::orders[random() % 3];
    const ChannelOrder to = testing::orders[random() % 3];
    GuardedBytes start(4 * width);
    GuardedBytes entering(4 * width, Guard::Before);
    start.FillWithExtremes(random);
    entering.FillRandomly(random);
    Sums sums(width);
    std::vector<std::int32_t> found(static_cast<std::size_t>(4 * width));
    kernels().addToLongSums(
        {.row = start.data(), .times = boxLength, .width = width, .sums = found.data()});
    AddToColumns(start.data(), from, boxLength, width, sums.planes());
    const auto size = static_cast<std::size_t>(4 * width);
    for (int row = 0; row < 2; ++row) {
        GuardedBytes means(4 * width);
        kernels().blurColumnsLong({.leaving = start.data(),
                                   .entering = entering.data(),
                                   .sums = found.data(),
                                   .width = width,
                                   .boxLength = boxLength,
                                   .sourceOrder = from,
                                   .order = to,
                                   .destination = means.data()});
        std::vector<std::uint8_t> expected(size);
        WriteColumnMeans(sums.planes(), boxLength, to, width, expected.data());
        SlideColumns(start.data(), entering.data(), from, width, sums.planes());
        ASSERT_EQ(std::vector<std::uint8_t>(means.data(), means.data() + size), expected)
            << "columns of width " << width << " radius " << radius << " row " << row;

        GuardedBytes blurred(4 * width);
        kernels().blurRowLong({.source = means.data(),
                               .sourceOrder = from,
                               .width = width,
                               .radius = radius,
                               .order = to,
                               .destination = blurred.data()});
        BlurRow(means.data(), from, width, radius, to, width, expected.data());
        ASSERT_EQ(std::vector<std::uint8_t>(blurred.data(), blurred.data() + size), expected)
            << "row of width " << width << " radius " << radius << " row " << row;
    }
}

TEST_P(FilterRowKernels, BlurBoxesOfAnyLengthRowByRowAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (const std::int32_t radius : {1, 2, 35, 128, 129, 1000, 4194302})
            CheckLongBlur(width, radius);
    }
    for (std::int32_t radius = 1; radius <= 600; ++radius)
        CheckLongBlur(19, radius);
}

// A host may change a picture between two rows, and then sums hold what no picture has.
TEST_P(FilterRowKernels, ClampSumsThatNoPictureHas) {
    const std::uint8_t row[4] = {};
    for (const std::int32_t sum : {-1, -1000, 765, 766, 100000, 2147483647, -2147483647 - 1}) {
        std::int32_t sums[4] = {sum, sum, sum, sum};
        std::uint8_t found[4] = {};
        kernels().blurColumnsLong({.leaving = row,
                                   .entering = row,
                                   .sums = sums,
                                   .width = 1,
                                   .boxLength = 3,
                                   .sourceOrder = layouts::console,
                                   .order = layouts::console,
                                   .destination = found});
        std::uint8_t expected[4] = {};
        std::int32_t planes[3] = {sum, sum, sum};
        WriteColumnMeans({planes, planes + 1, planes + 2}, 3, layouts::console, 1, expected);
        EXPECT_EQ(std::to_array(found), std::to_array(expected)) << sum;
    }
}

void FilterRowKernels::CheckDrawing(std::int64_t width, const SampleWeights& weights,
                                    bool isMasked) {
    const std::int64_t sourceWidth = width + 1;
    GuardedBytes above(4 * sourceWidth);
    GuardedBytes below(4 * sourceWidth, Guard::Before);
    GuardedBytes maskAbove(4 * sourceWidth);
    GuardedBytes maskBelow(4 * sourceWidth);
    GuardedBytes original(4 * width);
    for (GuardedBytes* bytes : {&above, &below, &maskAbove, &maskBelow, &original}) {
        bytes->FillRandomly(random);
    }
    for (const unsigned rows : {1U, 2U, 3U}) {
        const auto rowOf = [&](GuardedBytes& pixels, GuardedBytes& mask, bool isThere) {
            return PixelRow{.pixels = isThere ? pixels.data() : nullptr,
                            .mask = isThere && isMasked ? mask.data() : nullptr};
        };
        RowDrawing job{.source = {.above = rowOf(above, maskAbove, rows & 1U),
                                  .below = rowOf(below, maskBelow, rows & 2U),
                                  .order = testing::orders[random() % 3],
                                  .width = sourceWidth,
                                  .maskByte = static_cast<std::uint8_t>(random() % 4),
                                  .maskWidth = sourceWidth},
                       .offset = -1,
                       .weights = weights,
                       .order = testing::orders[random() % 3],
                       .begin = 0,
                       .end = width,
                       .destination = nullptr};
        std::vector<std::uint8_t> expected(original.data(), original.data() + original.size());
        job.destination = expected.data();
        DrawRow(job);

        GuardedBytes found(4 * width);
        job.destination = found.data();
        const auto check = [&] {
            ASSERT_EQ(std::vector<std::uint8_t>(found.data(), found.data() + found.size()),
                      expected)
                << "width " << width << " rows " << rows;
        };
        std::copy(original.data(), original.data() + original.size(), found.data());
        auto tables = std::make_unique<WeightTables>();
        tables->Fill(weights, isMasked);
        kernels().drawWeightedRow(job, *tables);
        check();
    }
}

SampleWeights WeightsOf(double fx, double fy, double alpha) {
    return {.topLeft = (fx * fy) * alpha,
            .topRight = ((1.0 - fx) * fy) * alpha,
            .bottomRight = ((1.0 - fx) * (1.0 - fy)) * alpha,
            .bottomLeft = ((1.0 - fy) * fx) * alpha};
}

TEST_P(FilterRowKernels, DrawEveryWidthAndAnyWeightsAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (const bool isMasked : {false, true}) {
            const auto fx = std::generate_canonical<double, 53>(random);
            const auto fy = std::generate_canonical<double, 53>(random);
            for (const double alpha : {1.0, 0.0, 0.5, fx, 1.7, -0.4, 1e12, std::nan("")}) {
                CheckDrawing(width, WeightsOf(fx, fy, alpha), isMasked);
            }
            CheckDrawing(width, WeightsOf(0.0, 0.0, 1.0), isMasked);
            CheckDrawing(width, WeightsOf(0.5, 0.0, 1.0), isMasked);
        }
    }
}

// Rows in guarded memory, one behind the other or one before the other, with gaps between them.
struct GuardedRows {
    std::int64_t count;
    std::int64_t size;
    std::int64_t step;
    GuardedBytes bytes;

    GuardedRows(std::int64_t rowCount, std::int64_t rowSize, std::mt19937& random)
        : count(rowCount),
          size(rowSize),
          step((rowSize + static_cast<std::int64_t>(random() % 9)) * (random() % 2 == 0 ? 1 : -1)),
          bytes((rowCount - 1) * std::abs(step) + rowSize,
                random() % 2 == 0 ? Guard::Before : Guard::Behind) {
        bytes.FillRandomly(random);
    }

    std::uint8_t* First() { return bytes.data() + (step < 0 ? (1 - count) * step : 0); }
    std::vector<std::uint8_t> Content() { return {bytes.data(), bytes.data() + bytes.size()}; }
    void Fill(const std::vector<std::uint8_t>& content) {
        std::copy(content.begin(), content.end(), bytes.data());
    }
};

// Draws columns of some rows by plain weights, for every choice of samples that are there; says how
// often.
int FilterRowKernels::CheckPlainDrawing(std::int64_t columnCount, Ends ends,
                                        const SampleWeights& weights) {
    const std::int64_t sourceWidth = columnCount + 1 - (ends.left ? 1 : 0) - (ends.right ? 1 : 0);
    if (sourceWidth < 1) return 0;
    const auto begin = static_cast<std::int64_t>(random() % 3);
    const auto rowCount = static_cast<std::int64_t>(1 + random() % 3);
    GuardedRows source(rowCount + 1, 4 * sourceWidth, random);
    GuardedRows drawn(rowCount, 4 * (begin + columnCount), random);
    // White takes what is left of sums beyond 255.
    if (random() % 2 == 0) drawn.bytes.FillWith(255);
    const std::vector<std::uint8_t> original = drawn.Content();
    const PlainRows plain(weights);
    int drawnCount = 0;
    for (const auto& [of, hasAbove, hasBelow] :
         {std::tuple(&plain.withAbove, true, false), std::tuple(&plain.withBelow, false, true),
          std::tuple(&plain.withBoth, true, true)}) {
        if (!*of || (ends.left && !(*of)->leftRest) || (ends.right && !(*of)->rightRest)) continue;
        const PixelRow above{.pixels = source.First(), .mask = nullptr};
        const PixelRow below{.pixels = source.First() + source.step, .mask = nullptr};
        const RowDrawing first{.source = {.above = hasAbove ? above : below,
                                          .below = hasBelow ? below : above,
                                          .order = testing::orders[random() % 3],
                                          .width = sourceWidth,
                                          .maskByte = 0,
                                          .maskWidth = 0},
                               .offset = static_cast<std::int32_t>(begin) - (ends.left ? 0 : 1),
                               .weights = weights,
                               .order = testing::orders[random() % 3],
                               .begin = begin,
                               .end = begin + columnCount,
                               .destination = drawn.First()};
        drawn.Fill(original);
        for (std::int64_t y = 0; y < rowCount; ++y) {
            RowDrawing job = first;
            job.destination += y * drawn.step;
            job.source.above.pixels = hasAbove ? above.pixels + y * source.step : nullptr;
            job.source.below.pixels = hasBelow ? below.pixels + y * source.step : nullptr;
            DrawRow(job);
        }
        const std::vector<std::uint8_t> expected = drawn.Content();
        drawn.Fill(original);
        kernels().drawPlainRows(
            first, **of,
            {.count = rowCount, .sourceStep = source.step, .destinationStep = drawn.step});
        EXPECT_EQ(drawn.Content(), expected) << columnCount << " columns, ends " << ends.left
                                             << ends.right << ", samples " << hasAbove << hasBelow;
        ++drawnCount;
    }
    return drawnCount;
}

TEST_P(FilterRowKernels, DrawEveryNumberOfColumnsAndTheirEndsByPlainWeights) {
    for (const Ends ends :
         {Ends{false, false}, Ends{true, false}, Ends{false, true}, Ends{true, true}}) {
        int drawnCount = 0;
        for (std::int64_t columnCount = 1; columnCount <= 70; ++columnCount) {
            for (int pass = 0; pass < 4; ++pass) {
                const auto fx = std::generate_canonical<double, 53>(random);
                const auto fy = std::generate_canonical<double, 53>(random);
                // With the last of these, what remains is a multiple of 1 / 255 or just misses one.
                const double nearEdge = static_cast<double>(random() % 256) / 255.0;
                for (const SampleWeights& weights :
                     {WeightsOf(fx, fy, 1.0), WeightsOf(fx, fy, 0.0), WeightsOf(fx, fy, 0.5),
                      WeightsOf(0.25, 0.5, 1.0), WeightsOf(0.0, 0.0, 1.0), WeightsOf(0.0, fy, 1.0),
                      WeightsOf(fx, 0.0, fy), WeightsOf(nearEdge, fy, 1.0),
                      WeightsOf(fx, nearEdge, 1.0)}) {
                    drawnCount += CheckPlainDrawing(columnCount, ends, weights);
                }
            }
        }
        EXPECT_GT(drawnCount, 69 * 4 * 9) << "most weights have scaled forms";
    }
}

TEST(PlainWeights, ServeAlsoWhereWhatRemainsAtAnEndHasNoScaledForm) {
    const PlainRows plain(WeightsOf(0.2, 0.3, 1.0));
    ASSERT_TRUE(plain.withBoth.has_value());
    EXPECT_FALSE(plain.withBoth->leftRest.has_value() && plain.withBoth->rightRest.has_value());
}

TEST(PlainWeights, AreNotOneOnlyAtAnEnd) {
    const PlainRows plain(WeightsOf(0.0, 0.3, 0.7));
    ASSERT_TRUE(plain.withBoth.has_value());
    EXPECT_FALSE(plain.withBoth->HasOne());
    EXPECT_TRUE(plain.withBoth->leftRest.has_value());
    EXPECT_FALSE(plain.withBoth->rightRest.has_value()) << "all remains there";
}

TEST(PlainWeights, ServeOneRowOfSamplesWhereTheOtherHasNoScaledForm) {
    const PlainRows plain(
        {.topLeft = -0.5, .topRight = 0.0, .bottomRight = 0.25, .bottomLeft = 0.25});
    EXPECT_FALSE(plain.withBoth.has_value());
    EXPECT_FALSE(plain.withAbove.has_value());
    EXPECT_TRUE(plain.withBelow.has_value());
}

TEST_P(FilterRowKernels, CopyRowsOfEveryWidthToEveryOrderAndTouchNothingElse) {
    for (std::int64_t width = 1; width <= 70; ++width) {
        const Guard guard = width % 2 ? Guard::Behind : Guard::Before;
        for (const ChannelOrder& from : testing::orders) {
            GuardedBytes source(4 * width, guard);
            source.FillRandomly(random);
            for (const ChannelOrder& to : testing::orders) {
                std::vector<std::uint8_t> expected(source.size());
                for (std::size_t x = 0; x < expected.size(); x += 4) {
                    expected[x + to.red] = source.data()[x + from.red];
                    expected[x + to.green] = source.data()[x + from.green];
                    expected[x + to.blue] = source.data()[x + from.blue];
                    expected[x + to.alpha] = to.opaque;
                }
                GuardedBytes found(4 * width, guard);
                kernels().copyRow(
                    {source.data(), from, found.data(), to, width, random() % 2 == 0});
                ASSERT_EQ(std::vector(found.data(), found.data() + found.size()), expected);
            }
        }
    }
}

// A row may begin anywhere, also where no pixel of an aligned row would.
TEST_P(FilterRowKernels, CopyRowsThatBeginBetweenPixels) {
    constexpr std::uint8_t untouched = 0xAA;
    for (std::int64_t width = 1; width <= 70; ++width) {
        const auto size = static_cast<std::size_t>(4 * width);
        std::vector<std::uint8_t> source(size);
        for (std::uint8_t& byte : source)
            byte = static_cast<std::uint8_t>(random());
        for (std::size_t shift = 1; shift < 4; ++shift) {
            std::vector<std::uint8_t> found(size + 4, untouched);
            std::vector<std::uint8_t> expected = found;
            for (std::size_t x = 0; x < size; x += 4) {
                expected[shift + x + layouts::console.red] = source[x + layouts::colourLast.red];
                expected[shift + x + layouts::console.green] =
                    source[x + layouts::colourLast.green];
                expected[shift + x + layouts::console.blue] = source[x + layouts::colourLast.blue];
                expected[shift + x + layouts::console.alpha] = layouts::console.opaque;
            }
            kernels().copyRow({source.data(), layouts::colourLast, found.data() + shift,
                               layouts::console, width, random() % 2 == 0});
            ASSERT_EQ(found, expected) << "width " << width << " shift " << shift;
        }
    }
}

TEST_P(FilterRowKernels, MakeRowsOpaqueInTheirPlace) {
    for (std::int64_t width = 1; width <= 150; ++width) {
        for (const ChannelOrder& order : testing::orders) {
            GuardedRows rows(1 + width % 4, 4 * width, random);
            std::uint8_t* const original = rows.First();
            const std::vector<std::uint8_t> found = rows.Content();
            for (std::int64_t y = 0; y < rows.count; ++y) {
                for (std::int64_t x = 0; x < width; ++x)
                    original[y * rows.step + 4 * x + order.alpha] = order.opaque;
            }
            const std::vector<std::uint8_t> expected = rows.Content();
            rows.Fill(found);
            kernels().makeRowsOpaque({.pixels = rows.First(),
                                      .order = order,
                                      .width = width,
                                      .rowCount = rows.count,
                                      .rowStep = rows.step});
            ASSERT_EQ(rows.Content(), expected) << "width " << width;
        }
    }
}

TEST_P(FilterRowKernels, FindTheOnePixelOfARowThatIsNotOpaque) {
    for (const std::int64_t width : {3, 5, 12, 40, 150}) {
        for (const ChannelOrder& order : testing::orders) {
            GuardedBytes row(4 * width);
            row.FillRandomly(random);
            for (std::int64_t x = 0; x < width; ++x)
                row.data()[4 * x + order.alpha] = order.opaque;
            const std::vector<std::uint8_t> expected(row.data(), row.data() + row.size());
            for (std::int64_t x = 0; x < width; ++x) {
                for (const unsigned flaw : {0x01U, 0x80U, 0xFFU}) {
                    row.data()[4 * x + order.alpha] =
                        static_cast<std::uint8_t>(order.opaque ^ flaw);
                    kernels().makeRowsOpaque({.pixels = row.data(),
                                              .order = order,
                                              .width = width,
                                              .rowCount = 1,
                                              .rowStep = 0});
                    ASSERT_EQ(std::vector(row.data(), row.data() + row.size()), expected) << x;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, FilterRowKernels, ::testing::ValuesIn(testing::OfferedLevels()),
                         testing::LevelName);

}  // namespace
}  // namespace zvk::kernels
