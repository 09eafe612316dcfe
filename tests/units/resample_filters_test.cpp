// The seven kernels at the values where a rounding or a bound decides.
#include "scaling/resample_filters.h"

#include <gtest/gtest.h>

#include "tests/reference/filters.h"

namespace zvk {
namespace {

TEST(Filters, ReachTheirPeakAtZero) {
    EXPECT_EQ(TriangleFilter::Weight(0.0), 1.0);
    EXPECT_EQ(BoxFilter::Weight(0.0), 1.0);
    EXPECT_EQ(Lanczos3Filter::Weight(0.0), 1.0);
    EXPECT_EQ(Lanczos8Filter::Weight(0.0), 1.0);
    EXPECT_EQ(MitchellFilter::Weight(0.0), 0.8888888888888888);
    EXPECT_EQ(BicubicFilter::Weight(0.0), 1.0);
    EXPECT_EQ(Cubic6Filter::Weight(0.0), 1.0);
}

TEST(Filters, AtOneGiveNothingExactlyZeroOrAResidueThatIsKept) {
    EXPECT_EQ(TriangleFilter::Weight(1.0), 0.0);
    EXPECT_EQ(BicubicFilter::Weight(1.0), 0.0);
    EXPECT_EQ(MitchellFilter::Weight(1.0), 0.05555555555555536);
    EXPECT_EQ(Cubic6Filter::Weight(1.0), -2.220446049250313e-16);
    EXPECT_NEAR(Lanczos3Filter::Weight(1.0), 3.2e-17, 0.1e-17);
    EXPECT_NE(Lanczos3Filter::Weight(1.0), 0.0);
}

TEST(Filters, CountTheEdgeOfTheBoxInFull) {
    EXPECT_EQ(BoxFilter::Weight(0.5), 1.0);
    EXPECT_EQ(BoxFilter::Weight(0.5000000000000001), 0.0);
    EXPECT_EQ(TriangleFilter::Weight(0.5), 0.5);
}

TEST(Filters, AtTwoAreOutsideWithAStrictBoundAndInsideWithAnInclusiveOne) {
    EXPECT_EQ(MitchellFilter::Weight(2.0), 0.0);
    EXPECT_EQ(BicubicFilter::Weight(2.0), 0.0);
    EXPECT_EQ(Cubic6Filter::Weight(2.0), -8.881784197001252e-16);
}

TEST(Filters, AtThreeGiveNothing) {
    EXPECT_EQ(Lanczos3Filter::Weight(3.0), 0.0);
    EXPECT_EQ(Cubic6Filter::Weight(3.0), 0.0);
    EXPECT_EQ(Cubic6Filter::Weight(3.0000000000000004), 0.0);
}

TEST(Filters, OfBicubicEndAtTwoAlthoughTheWindowIsTwiceAsWide) {
    EXPECT_EQ(BicubicFilter::radius, 4.0);
    for (int step = 32; step <= 64; ++step)
        EXPECT_EQ(BicubicFilter::Weight(step / 16.0), 0.0);
}

template <typename Filter>
void ExpectWeightsOfMode(int mode) {
    for (int step = 0; step <= 90000; ++step) {
        const double distance = step / 10000.0;
        ASSERT_EQ(Filter::Weight(distance), reference::FilterWeight(mode, distance).value_or(0.0))
            << "mode " << mode << " at " << distance;
    }
}

TEST(Filters, GiveTheReferencesWeightsToTheLastBit) {
    ExpectWeightsOfMode<TriangleFilter>(1);
    ExpectWeightsOfMode<BoxFilter>(2);
    ExpectWeightsOfMode<Lanczos3Filter>(3);
    ExpectWeightsOfMode<Lanczos8Filter>(4);
    ExpectWeightsOfMode<MitchellFilter>(5);
    ExpectWeightsOfMode<BicubicFilter>(6);
    ExpectWeightsOfMode<Cubic6Filter>(7);
}

TEST(Filters, EndStrictlyAtTheirRadius) {
    EXPECT_EQ(Lanczos8Filter::Weight(8.0), 0.0);
    EXPECT_NE(Lanczos8Filter::Weight(7.999), 0.0);
    EXPECT_NE(Lanczos3Filter::Weight(2.999), 0.0);
    EXPECT_NE(Cubic6Filter::Weight(2.999), 0.0);
}

}  // namespace
}  // namespace zvk
