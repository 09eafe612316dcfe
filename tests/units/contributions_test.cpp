// The contribution tables at sizes whose lists are known, and the bounds they promise.
#include "scaling/contributions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace zvk {
namespace {

template <typename Filter, Axis axis = Axis::Horizontal>
class Table {
  public:
    Table(std::int64_t source, std::int64_t destination) : length_(destination) {
        EXPECT_TRUE(table_.Allocate(destination));
        ComputeContributions<Filter, axis>(source, table_, destination);
    }

    const ContributionList& operator[](std::int64_t index) {
        return table_.Lists(length_)[static_cast<std::size_t>(index)];
    }

    std::vector<int> Pixels(std::int64_t index) {
        const ContributionList& list = (*this)[index];
        std::vector<int> pixels;
        for (int i = 0; i < list.count; ++i)
            pixels.push_back(list.entries[i].pixel);
        return pixels;
    }

    std::vector<float> Weights(std::int64_t index) {
        const ContributionList& list = (*this)[index];
        std::vector<float> weights;
        for (int i = 0; i < list.count; ++i)
            weights.push_back(list.entries[i].weight);
        return weights;
    }

  private:
    std::int64_t length_;
    ContributionTable table_;
};

TEST(Contributions, OfEqualSizesTakeTheEnlargingRoad) {
    Table<TriangleFilter> triangle(9, 9);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(triangle.Pixels(i), std::vector<int>{i});
        EXPECT_EQ(triangle.Weights(i), std::vector<float>{1.0F});
    }
    Table<MitchellFilter> mitchell(9, 9);
    const auto side = static_cast<float>(0.05555555555555536);
    const auto middle = static_cast<float>(0.8888888888888888);
    EXPECT_EQ(mitchell.Weights(4), (std::vector<float>{side, middle, side}));
    EXPECT_EQ(mitchell.Pixels(4), (std::vector<int>{3, 4, 5}));
}

template <typename Filter>
class KeptPixels : public ::testing::Test {};
using AllFilters = ::testing::Types<TriangleFilter, BoxFilter, Lanczos3Filter, Lanczos8Filter,
                                    MitchellFilter, BicubicFilter, Cubic6Filter>;
TYPED_TEST_SUITE(KeptPixels, AllFilters);

template <typename Filter>
class ComputedWeights : public ::testing::Test {
  protected:
    // Compares each list with the filter at the distances of all pixels from its own centre.
    template <Axis axis>
    static void ExpectOwnWeights(int source, int destination) {
        Table<Filter, axis> table(source, destination);
        const AxisMapping mapping(source, destination);
        const double stretch = std::min(mapping.scale, 1.0);
        for (int i = 0; i < destination; ++i) {
            std::vector<int> pixels;
            std::vector<float> weights;
            double sum = 0.0;
            for (int pixel = 0; pixel < source; ++pixel) {
                const double offset = AxisMapping::Offset(mapping.Centre(i), pixel);
                const double weight = Filter::Weight(std::fabs(offset * stretch));
                if (weight == 0.0) continue;
                pixels.push_back(pixel);
                weights.push_back(static_cast<float>(weight));
                sum += weight;
            }
            ASSERT_EQ(table.Pixels(i), pixels) << source << " to " << destination << " at " << i;
            ASSERT_EQ(table.Weights(i), weights) << source << " to " << destination << " at " << i;
            ASSERT_EQ(table[i].weightSum, static_cast<float>(sum));
        }
    }
};
TYPED_TEST_SUITE(ComputedWeights, AllFilters);

// Ratios at which lists repeat, at which they nearly repeat, and at which they do not.
TYPED_TEST(ComputedWeights, AreThoseOfTheirOwnCentre) {
    for (const auto& [source, destination] : {std::pair{400, 100},
                                              {100, 400},
                                              {90, 30},
                                              {30, 90},
                                              {97, 31},
                                              {31, 97},
                                              {64, 64},
                                              {24, 28},
                                              {30, 35},
                                              {12, 28},
                                              {14, 10},
                                              {35, 21},
                                              {9, 63},
                                              {46, 12}}) {
        this->template ExpectOwnWeights<Axis::Horizontal>(source, destination);
        this->template ExpectOwnWeights<Axis::Vertical>(source, destination);
    }
}

TEST(AxisMapping, RoundsADistanceTwice) {
    // Rounded once it would be -4/3 to the last bit.
    EXPECT_EQ(AxisMapping::Offset(1.0 / 6.0, 1), -1.3333333333333335);
    EXPECT_EQ(AxisMapping::Offset(3.5, 1), 2.0);
}

TYPED_TEST(KeptPixels, AreThoseOfEqualSizesWhereTheFilterSaysSo) {
    for (const int length : {1, 2, 9, 40, 3001}) {
        Table<TypeParam, Axis::Horizontal> along(length, length);
        Table<TypeParam, Axis::Vertical> down(length, length);
        for (int i = 0; i < length; ++i) {
            const bool isAlone = length == 1;
            const auto expected =
                TypeParam::keepsPixels || isAlone ? std::optional(i) : std::optional<int>();
            ASSERT_EQ(CopiedPixel(along[i]), expected);
            ASSERT_EQ(CopiedPixel(down[i]), expected);
        }
    }
}

TEST(CopiedPixels, AreThoseOfTheNearestPixelInAnEnlargingBox) {
    Table<BoxFilter> box(40, 80);
    for (int x = 0; x < 80; ++x)
        EXPECT_EQ(CopiedPixel(box[x]), x / 2);
}

TEST(CopiedPixels, AreNoneWhereSeveralCountOrNothingIsLeft) {
    Table<MitchellFilter> mitchell(9, 9);
    EXPECT_EQ(CopiedPixel(mitchell[4]), std::nullopt);
    Table<TriangleFilter> triangle(9, 8);
    EXPECT_EQ(CopiedPixel(triangle[4]), std::nullopt);
    Contribution entries[] = {{1.0F, 3}, {-1.0F, 4}};
    EXPECT_EQ(CopiedPixel({entries, 0, 0.0F}), std::nullopt);
    EXPECT_EQ(CopiedPixel({entries, 2, 0.0F}), std::nullopt);
    entries[0].weight = 0.0F;
    EXPECT_EQ(CopiedPixel({entries, 1, 0.0F}), std::nullopt);
    EXPECT_EQ(CopiedPixel({entries, 1, std::nanf("")}), std::nullopt);
}

TEST(Contributions, OfEqualSizesKeepTinyNeighbourWeights) {
    Table<Lanczos3Filter> lanczos(9, 9);
    EXPECT_EQ(lanczos[4].count, 5);
    Table<Cubic6Filter> cubic(9, 9);
    EXPECT_EQ(cubic.Pixels(4), (std::vector<int>{2, 3, 4, 5, 6}));
}

TEST(Contributions, OfAHundredColumnsReducedToOneUseThemAll) {
    Table<TriangleFilter> table(100, 1);
    ASSERT_EQ(table[0].count, 100);
    double sum = 0.0;
    for (int j = 0; j < 100; ++j) {
        const double weight = 1.0 - std::fabs(((50.0 - j) + -0.5) * 0.01);
        EXPECT_EQ(table[0].entries[j].pixel, j);
        EXPECT_EQ(table[0].entries[j].weight, static_cast<float>(weight));
        sum += weight;
    }
    EXPECT_EQ(table[0].weightSum, static_cast<float>(sum));
    EXPECT_EQ((ReducingCapacity<TriangleFilter, Axis::Horizontal>(100.0)), 202);
    EXPECT_EQ((ReducingCapacity<TriangleFilter, Axis::Vertical>(100.0)), 202);
}

TEST(Contributions, TruncateTheHalfWidthBeforeDoublingAcrossAndAfterDoublingDown) {
    EXPECT_EQ((ReducingCapacity<BoxFilter, Axis::Horizontal>(1.75)), 4);
    EXPECT_EQ((ReducingCapacity<BoxFilter, Axis::Vertical>(1.75)), 5);
}

TEST(Contributions, HaveFixedCapacitiesWhenEnlarging) {
    EXPECT_EQ((EnlargingCapacity<TriangleFilter, Axis::Horizontal>()), 4);
    EXPECT_EQ((EnlargingCapacity<BoxFilter, Axis::Horizontal>()), 2);
    EXPECT_EQ((EnlargingCapacity<BoxFilter, Axis::Vertical>()), 3);
    EXPECT_EQ((EnlargingCapacity<Lanczos3Filter, Axis::Vertical>()), 8);
    EXPECT_EQ((EnlargingCapacity<Lanczos8Filter, Axis::Vertical>()), 18);
    EXPECT_EQ((EnlargingCapacity<MitchellFilter, Axis::Vertical>()), 6);
    EXPECT_EQ((EnlargingCapacity<BicubicFilter, Axis::Vertical>()), 10);
    EXPECT_EQ((EnlargingCapacity<Cubic6Filter, Axis::Horizontal>()), 8);
}

TEST(Contributions, AtTheEdgesAreFewerAndSumToLess) {
    Table<MitchellFilter> table(20, 10);
    EXPECT_LT(table[0].count, table[5].count);
    EXPECT_LT(table[0].weightSum, table[5].weightSum);
    EXPECT_EQ(table.Pixels(0).front(), 0);
    EXPECT_EQ(table.Pixels(9).back(), 19);
}

TEST(Contributions, OfTwoColumnsEnlargedToThreeByTheBoxTakeTheirMeanInTheMiddle) {
    Table<BoxFilter> table(2, 3);
    EXPECT_EQ(table.Pixels(0), std::vector<int>{0});
    EXPECT_EQ(table.Pixels(1), (std::vector<int>{0, 1}));
    EXPECT_EQ(table.Weights(1), (std::vector<float>{1.0F, 1.0F}));
    EXPECT_EQ(table.Pixels(2), std::vector<int>{1});
}

TEST(Contributions, OfASourceWithoutPixelsAreEmpty) {
    Table<TriangleFilter> table(0, 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(table[i].count, 0);
        EXPECT_EQ(table[i].entries, nullptr);
    }
}

// Every list fits its capacity and names only pixels of the source.
template <typename Filter, Axis axis>
void CheckBounds(std::int64_t source, std::int64_t destination) {
    Table<Filter, axis> table(source, destination);
    const AxisMapping mapping(source, destination);
    const std::int64_t capacity =
        mapping.IsReducing() ? ReducingCapacity<Filter, axis>(Filter::radius / mapping.scale)
                             : EnlargingCapacity<Filter, axis>();
    for (std::int64_t i = 0; i < destination; ++i) {
        const ContributionList& list = table[i];
        ASSERT_LE(list.count, capacity) << source << " to " << destination << " at " << i;
        for (int entry = 0; entry < list.count; ++entry) {
            ASSERT_GE(list.entries[entry].pixel, 0);
            ASSERT_LT(list.entries[entry].pixel, source);
        }
    }
}

template <typename Filter>
void CheckBoundsOfManySizes() {
    for (std::int64_t source = 1; source <= 48; ++source) {
        for (std::int64_t destination = 1; destination <= 48; ++destination) {
            CheckBounds<Filter, Axis::Horizontal>(source, destination);
            CheckBounds<Filter, Axis::Vertical>(source, destination);
        }
    }
    for (const std::int64_t source : {999, 1000, 4000, 9973}) {
        for (const std::int64_t destination : {1, 2, 3, 7, 333, 500, 999, 1000, 1333, 3000}) {
            CheckBounds<Filter, Axis::Horizontal>(source, destination);
            CheckBounds<Filter, Axis::Vertical>(source, destination);
        }
    }
}

TEST(Contributions, FitTheirCapacityAndStayInsideTheSource) {
    CheckBoundsOfManySizes<TriangleFilter>();
    CheckBoundsOfManySizes<BoxFilter>();
    CheckBoundsOfManySizes<Lanczos3Filter>();
    CheckBoundsOfManySizes<Lanczos8Filter>();
    CheckBoundsOfManySizes<MitchellFilter>();
    CheckBoundsOfManySizes<BicubicFilter>();
    CheckBoundsOfManySizes<Cubic6Filter>();
}

TEST(PlainMeans, AreOfNeighboursThatCountAlike) {
    Contribution entries[] = {{1.0F, 3}, {1.0F, 4}, {1.0F, 5}};
    EXPECT_TRUE(IsPlainMean({entries, 3, 3.0F}));
    EXPECT_TRUE(IsPlainMean({entries, 1, 1.0F}));
    EXPECT_FALSE(IsPlainMean({entries, 0, 0.0F})) << "nothing";
    EXPECT_FALSE(IsPlainMean({entries, 3, 2.5F})) << "divided by another sum";
    entries[1].weight = 0.5F;
    EXPECT_FALSE(IsPlainMean({entries, 3, 3.0F})) << "one counts less";
    entries[1] = {1.0F, 5};
    EXPECT_FALSE(IsPlainMean({entries, 2, 2.0F})) << "with a gap";
}

TEST(PowersOfTwo, AreToldFromAllOtherNumbers) {
    for (const double power : {0x1p-1074, 0.125, 1.0, 2.0, 0x1p1023})
        EXPECT_TRUE(IsPowerOfTwo(power)) << power;
    for (const double other : {0.0, -2.0, 3.0, 0.75, std::nan(""), double{INFINITY}})
        EXPECT_FALSE(IsPowerOfTwo(other)) << other;
}

TEST(ContributionTable, CanBeReplacedByAnotherOfAnotherLength) {
    ContributionTable table;
    ASSERT_TRUE(table.Allocate(3));
    ComputeContributions<BoxFilter, Axis::Horizontal>(5, table, 3);
    ASSERT_TRUE(table.Allocate(8));
    for (const ContributionList& list : table.Lists(8))
        EXPECT_EQ(list.entries, nullptr);
    EXPECT_FALSE(table.Allocate(0));
}

// In a block, what does not fit would lie in the next list's room.
template <typename Filter, Axis axis>
void ExpectRoomForAllEntries() {
    ContributionTable table;
    for (std::int64_t source = 1; source <= 40; ++source) {
        for (std::int64_t destination = 1; destination <= 60; ++destination) {
            ASSERT_TRUE(table.Allocate(destination));
            const auto lists = ComputeContributions<Filter, axis>(source, table, destination);
            for (std::size_t index = 0; index + 1 < lists.size(); ++index) {
                ASSERT_LE(lists[index].entries + lists[index].count, lists[index + 1].entries)
                    << source << " to " << destination;
            }
        }
    }
}

template <typename Filter>
class ContributionRoom : public ::testing::Test {};

using Filters = ::testing::Types<TriangleFilter, BoxFilter, Lanczos3Filter, Lanczos8Filter,
                                 MitchellFilter, BicubicFilter, Cubic6Filter>;
TYPED_TEST_SUITE(ContributionRoom, Filters);

TYPED_TEST(ContributionRoom, HoldsTheEntriesOfEveryList) {
    ExpectRoomForAllEntries<TypeParam, Axis::Horizontal>();
    ExpectRoomForAllEntries<TypeParam, Axis::Vertical>();
}

}  // namespace
}  // namespace zvk
