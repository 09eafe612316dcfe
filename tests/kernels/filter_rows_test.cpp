// The vector kernels of the blur and of fractional drawing against their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
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
            const int product = scaled->isOne ? value : value * scaled->multiplier >> 16;
            ASSERT_EQ(product, static_cast<int>(value * weight)) << weight;
        }
    }
    EXPECT_GT(scaledCount, 2500) << "only where products round to whole numbers there is none";
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
        const auto check = [&](const char* kernel) {
            ASSERT_EQ(std::vector<std::uint8_t>(found.data(), found.data() + found.size()),
                      expected)
                << kernel << " width " << width << " rows " << rows;
        };
        std::copy(original.data(), original.data() + original.size(), found.data());
        auto tables = std::make_unique<WeightTables>();
        tables->Fill(weights, isMasked);
        kernels().drawWeightedRow(job, *tables);
        check("weighted");
        const auto plain = PlainWeightsFor(weights);
        if (isMasked || rows != 3U || !plain) continue;
        std::copy(original.data(), original.data() + original.size(), found.data());
        kernels().drawPlainRow(job, *plain);
        check("plain");
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

// Draws the columns before the first and behind the last pixel of a source.
void CheckEnds(std::int64_t width, const SampleWeights& weights, std::mt19937& random) {
    const auto plain = PlainWeightsFor(weights);
    if (!plain) return;
    GuardedBytes above(4 * width);
    GuardedBytes below(4 * width, Guard::Before);
    above.FillRandomly(random);
    below.FillRandomly(random);
    GuardedBytes found(4 * (width + 1));
    // White takes what is left of sums beyond 255.
    if (random() % 2 == 0) {
        found.FillWith(255);
    } else {
        found.FillRandomly(random);
    }
    std::vector<std::uint8_t> expected(found.data(), found.data() + found.size());
    RowDrawing job{.source = {.above = {.pixels = above.data(), .mask = nullptr},
                              .below = {.pixels = below.data(), .mask = nullptr},
                              .order = testing::orders[random() % 3],
                              .width = width,
                              .maskByte = 0,
                              .maskWidth = 0},
                   .offset = 0,
                   .weights = weights,
                   .order = testing::orders[random() % 3],
                   .begin = 0,
                   .end = 1,
                   .destination = found.data()};
    DrawLeftEnd(job, *plain);
    job.destination = expected.data();
    DrawRow(job);
    job.begin = width;
    job.end = width + 1;
    DrawRow(job);
    job.destination = found.data();
    DrawRightEnd(job, *plain);
    ASSERT_EQ(std::vector<std::uint8_t>(found.data(), found.data() + found.size()), expected);
}

// With these weights what remains is a multiple of 1 / 255, or just misses one.
TEST(PlainWeights, DrawTheEndsOfARowAsTheDefinitionDoes) {
    std::mt19937 random(7);
    for (std::int64_t step = 0; step < 256; ++step) {
        const double fx = static_cast<double>(step) / 255.0;
        for (int pass = 0; pass < 8; ++pass) {
            const auto fy = std::generate_canonical<double, 53>(random);
            const std::int64_t width = 1 + step % 40;
            for (const double alpha : {1.0, 0.0, 0.5}) {
                CheckEnds(width, WeightsOf(fx, fy, alpha), random);
                CheckEnds(width, WeightsOf(fy, fx, alpha), random);
            }
        }
    }
}

TEST(PlainWeights, ServeAlsoWhereWhatRemainsAtAnEndHasNoScaledForm) {
    const auto plain = PlainWeightsFor(WeightsOf(0.2, 0.3, 1.0));
    ASSERT_TRUE(plain.has_value());
    EXPECT_FALSE(plain->leftRest.has_value() && plain->rightRest.has_value());
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
    for (std::int64_t width = 1; width <= 70; ++width) {
        for (const ChannelOrder& order : testing::orders) {
            GuardedBytes row(4 * width, width % 2 ? Guard::Behind : Guard::Before);
            row.FillRandomly(random);
            std::vector<std::uint8_t> expected(row.data(), row.data() + row.size());
            for (std::size_t x = 0; x < expected.size(); x += 4)
                expected[x + order.alpha] = order.opaque;
            kernels().copyRow({row.data(), order, row.data(), order, width, false});
            ASSERT_EQ(std::vector(row.data(), row.data() + row.size()), expected);
        }
    }
}

TEST_P(FilterRowKernels, FindTheOnePixelOfARowThatIsNotOpaque) {
    constexpr std::int64_t width = 150;
    for (const ChannelOrder& order : testing::orders) {
        GuardedBytes row(4 * width);
        row.FillRandomly(random);
        for (std::int64_t x = 0; x < width; ++x)
            row.data()[4 * x + order.alpha] = order.opaque;
        const std::vector<std::uint8_t> expected(row.data(), row.data() + row.size());
        for (std::int64_t x = 0; x < width; ++x) {
            for (const unsigned flaw : {0x01U, 0x80U, 0xFFU}) {
                row.data()[4 * x + order.alpha] = static_cast<std::uint8_t>(order.opaque ^ flaw);
                kernels().copyRow({row.data(), order, row.data(), order, width, false});
                ASSERT_EQ(std::vector(row.data(), row.data() + row.size()), expected) << x;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, FilterRowKernels, ::testing::ValuesIn(testing::OfferedLevels()),
                         testing::LevelName);

}  // namespace
}  // namespace zvk::kernels
