// The references themselves, held to values that can be worked out by hand. The comparison with the
// plugin is only worth what these are worth.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <vector>

#include "tests/reference/arithmetic.h"
#include "tests/reference/blur.h"
#include "tests/reference/contributions.h"
#include "tests/reference/fast_scaling.h"
#include "tests/reference/filters.h"
#include "tests/reference/fractional_drawing.h"
#include "tests/reference/image.h"
#include "tests/reference/resampler.h"
#include "tests/reference/smooth_enlargement.h"
#include "tests/reference/yielding.h"

namespace reference {
namespace {

// A picture of one row whose pixels have the given red, green 0 and blue 0, in layout 1.
Image RedRow(std::initializer_list<std::uint32_t> reds) {
    Image image(static_cast<std::int64_t>(reds.size()), 1, 1);
    std::int64_t column = 0;
    for (const std::uint32_t red : reds) {
        image.At(column++, 0) = EncodeOpaque({red, 0, 0}, 1);
    }
    return image;
}

std::vector<std::uint32_t> RedsOf(const Image& image) {
    std::vector<std::uint32_t> reds;
    for (const std::uint32_t word : image.words) {
        reds.push_back(Decode(word, image.format).red);
    }
    return reds;
}

using Reds = std::vector<std::uint32_t>;

TEST(ReferenceArithmetic, ConversionsThatDoNotFitAreTheMostNegativeInteger) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(TruncateToInt32(2.9), 2);
    EXPECT_EQ(TruncateToInt32(-2.9), -2);
    EXPECT_EQ(TruncateToInt32(2147483647.9), 2147483647);
    EXPECT_EQ(TruncateToInt32(2147483648.0), lowest);
    EXPECT_EQ(TruncateToInt32(-2147483648.9), lowest);
    EXPECT_EQ(TruncateToInt32(-2147483649.0), lowest);
    EXPECT_EQ(TruncateToInt32(std::nan("")), lowest);
    EXPECT_EQ(TruncateToInt32(std::numeric_limits<double>::infinity()), lowest);
    EXPECT_EQ(WrappingAdd(lowest, lowest), 0);
    EXPECT_EQ(WrappingSubtract(0, lowest), lowest);
}

TEST(ReferenceImage, EveryLayoutReadsBackWhatItWrote) {
    for (const int format : {1, 2, 3, 4, 5, 6, 8}) {
        const Colour colour = Decode(EncodeOpaque({10, 20, 30}, format), format);
        EXPECT_EQ(colour.red, 10U);
        EXPECT_EQ(colour.green, 20U);
        EXPECT_EQ(colour.blue, 30U);
    }
    EXPECT_EQ(EncodeOpaque({0x11, 0x22, 0x33}, 1), 0xFF332211U);
    EXPECT_EQ(EncodeOpaque({0x11, 0x22, 0x33}, 2), 0x332211FFU);
    EXPECT_EQ(EncodeOpaque({0x11, 0x22, 0x33}, 8), 0x00112233U);
}

TEST(ReferenceFilters, PeaksAndBoundaries) {
    for (const int mode : {1, 2, 3, 4, 6, 7}) {
        EXPECT_EQ(FilterWeight(mode, 0.0), 1.0) << "mode " << mode;
    }
    EXPECT_EQ(FilterWeight(5, 0.0), 0.8888888888888888);
    EXPECT_EQ(FilterWeight(1, 1.0), std::nullopt);
    EXPECT_EQ(FilterWeight(6, 1.0), 0.0);
    EXPECT_EQ(FilterWeight(5, 1.0), 0.05555555555555536);
    EXPECT_EQ(FilterWeight(7, 1.0), -2.220446049250313e-16);
    EXPECT_NEAR(FilterWeight(3, 1.0).value(), 3.2e-17, 1e-18);
    EXPECT_EQ(FilterWeight(2, 0.5), 1.0);
    EXPECT_EQ(FilterWeight(1, 0.5), 0.5);
    EXPECT_EQ(FilterWeight(5, 2.0), std::nullopt);
    EXPECT_EQ(FilterWeight(6, 2.0), std::nullopt);
    EXPECT_EQ(FilterWeight(7, 2.0), -8.881784197001252e-16);
    EXPECT_EQ(FilterWeight(3, 3.0), std::nullopt);
    EXPECT_EQ(FilterWeight(7, 3.0), 0.0);
    EXPECT_EQ(FilterWeight(6, 3.0), std::nullopt);
}

TEST(ReferenceContributions, EqualSizesKeepEveryPixelOrBlurItSlightly) {
    const auto tent = ComputeContributions(1, Axis::Horizontal, 4, 4);
    for (std::int32_t i = 0; i < 4; ++i) {
        const ContributionList& list = tent.at(static_cast<std::size_t>(i));
        ASSERT_EQ(list.entries.size(), 1U);
        EXPECT_EQ(list.entries[0].pixel, i);
        EXPECT_EQ(list.entries[0].weight, 1.0F);
    }
    const auto cubic = ComputeContributions(5, Axis::Vertical, 4, 4);
    ASSERT_EQ(cubic.at(1).entries.size(), 3U);
    EXPECT_EQ(cubic.at(1).entries[0].weight, static_cast<float>(0.05555555555555536));
    EXPECT_EQ(cubic.at(1).entries[1].weight, static_cast<float>(0.8888888888888888));
    EXPECT_EQ(cubic.at(0).entries.size(), 2U);
}

TEST(ReferenceContributions, AHundredColumnsToOne) {
    const auto table = ComputeContributions(1, Axis::Horizontal, 100, 1);
    EXPECT_EQ(table.at(0).entries.size(), 100U);
    EXPECT_EQ(table.at(0).capacity, 202);
    EXPECT_EQ(table.at(0).entries[49].weight,
              static_cast<float>(1.0 - std::fabs((50.0 - 49.0 - 0.5) * 0.01)));
}

TEST(ReferenceContributions, TheBoxTakesBothNeighboursAtItsEdge) {
    for (const Axis axis : {Axis::Horizontal, Axis::Vertical}) {
        const auto table = ComputeContributions(2, axis, 2, 3);
        EXPECT_EQ(table.at(0).entries.size(), 1U);
        ASSERT_EQ(table.at(1).entries.size(), 2U);
        EXPECT_EQ(table.at(1).weightSum, 2.0F);
        EXPECT_EQ(table.at(2).entries.size(), 1U);
        EXPECT_EQ(table.at(2).entries[0].pixel, 1);
    }
}

TEST(ReferenceContributions, NoListEverHoldsMoreThanItsCapacity) {
    for (int mode = 1; mode <= 7; ++mode) {
        for (const Axis axis : {Axis::Horizontal, Axis::Vertical}) {
            for (std::int64_t source = 1; source <= 40; ++source) {
                for (std::int64_t destination = 1; destination <= 40; ++destination) {
                    for (const auto& list : ComputeContributions(mode, axis, source, destination)) {
                        ASSERT_LE(static_cast<std::int64_t>(list.entries.size()), list.capacity)
                            << "mode " << mode << ", " << source << " to " << destination;
                    }
                }
            }
        }
    }
}

TEST(ReferenceResampler, TheBoxMakesTheMeanOfTwoColumnsBetweenThem) {
    EXPECT_EQ(RedsOf(Resample(RedRow({0, 100}), 2, 3, 1, 1)), (Reds{0, 50, 100}));
}

TEST(ReferenceResampler, AFailedListIsOpaqueBlack) {
    const Image result = Resample(RedRow({200, 200}), 1, 2, 2, 8, {{1}, {1}});
    EXPECT_EQ(result.words, (std::vector<std::uint32_t>{0x00C80000, 0, 0, 0}));
}

TEST(ReferenceFastScaling, AveragesTheFirstRowOfEachBlock) {
    Image source(2, 2, 1);
    source.words = {0xFF000064, 0xFF0000C8, 0xFF0000FF, 0xFF0000FF};
    EXPECT_EQ(RedsOf(ScaleFast(source, 1, 1, 1)), (Reds{150}));
    EXPECT_EQ(RedsOf(ScaleFast(RedRow({255, 255, 255}), 1, 1, 1)), (Reds{255}));
    EXPECT_EQ(RedsOf(ScaleFast(RedRow({1, 2, 3}), 6, 1, 2)), (Reds{1, 1, 2, 2, 3, 3}));
}

TEST(ReferenceSmoothEnlargement, DoublesARowOfTwo) {
    EXPECT_EQ(RedsOf(EnlargeSmoothly(RedRow({0, 255}), 4, 2, 1)),
              (Reds{0, 128, 255, 255, 0, 128, 255, 255}));
    Image single(1, 1, 8);
    single.words = {0x7F010203};
    EXPECT_EQ(EnlargeSmoothly(single, 2, 2, 8).words, std::vector<std::uint32_t>(4, 0x7F010203));
}

TEST(ReferenceBlur, DividesByTheWholeBoxAtEveryEdge) {
    EXPECT_EQ(RedsOf(Blur(RedRow({0, 0, 100}), 1, 1)), (Reds{0, 33, 66}));
    EXPECT_EQ(RedsOf(Blur(RedRow({9}), 1000, 5)), (Reds{9}));
    EXPECT_EQ(RedsOf(Blur(RedRow({0, 200}), 10, 1)), (Reds{95, 104}));
    EXPECT_EQ(BlurRadius(1.7), 1);
    EXPECT_EQ(BlurRadius(std::nan("")), std::numeric_limits<std::int32_t>::min());
}

TEST(ReferenceBlur, TheSecondPassReadsTheResultInTheSourcesLayout) {
    EXPECT_EQ(Blur(RedRow({9}), 1, 8).words, (std::vector<std::uint32_t>{0x00000009}));
    EXPECT_EQ(Blur(RedRow({9}), 1, 2).words, (std::vector<std::uint32_t>{0x0009FFFF}));
}

TEST(ReferenceFractionalDrawing, HalfOfTwoNeighbours) {
    Image destination = RedRow({0, 0, 0, 101});
    Image source = RedRow({255, 101});
    DrawFractionally(ViewOf(destination), ViewOf(source), nullptr, 0.5, 0.0, 1.0);
    EXPECT_EQ(RedsOf(destination), (Reds{127, 177, 50, 101}));
}

TEST(ReferenceFractionalDrawing, AWhiteMaskHidesAndABlackMaskShows) {
    Image source = RedRow({200, 200});
    Image mask = RedRow({255, 0});
    const View maskView = ViewOf(mask);
    Image destination = RedRow({7, 7});
    DrawFractionally(ViewOf(destination), ViewOf(source), &maskView, 0.0, 0.0, 1.0);
    EXPECT_EQ(RedsOf(destination), (Reds{7, 200}));
}

TEST(ReferenceFractionalDrawing, APictureDrawnOntoItselfReadsWhatItHasWritten) {
    Image picture = RedRow({80, 0, 0});
    const View view = ViewOf(picture);
    DrawFractionally(view, view, nullptr, 1.0, 0.0, 1.0);
    EXPECT_EQ(RedsOf(picture), (Reds{80, 80, 80}));
}

TEST(ReferenceYielding, ComparesTheMagnitudeOfTheDifference) {
    EXPECT_TRUE(Yields(10, 110, 100));
    EXPECT_FALSE(Yields(10, 109, 100));
    EXPECT_TRUE(Yields(10, 90, 100));
    EXPECT_TRUE(Yields(-5, 5, 0));
    EXPECT_FALSE(Yields(-5, 4, 0));
    EXPECT_TRUE(Yields(std::numeric_limits<std::int64_t>::min(), 0, 0));
    EXPECT_EQ(MillisecondsOf(1999999), 1);
}

}  // namespace
}  // namespace reference
