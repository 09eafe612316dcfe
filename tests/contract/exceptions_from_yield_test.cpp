// An exception that the host throws out of a yield passes through the plugin, whichever yield it
// is, and leaves nothing behind: no lock, no reference, no working memory, no unfinished picture.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>

#include "tests/support/session.h"

namespace contract {
namespace {

// What the test's host throws; nothing in the plugin can know it.
struct HostIsUnwinding {};

using Call = std::function<void(Session&, const Picture&)>;

// Throws out of the first yield, the second and so on until a call makes fewer yields. Returns how
// many there were.
std::uint64_t ThrowFromEveryYield(const HostSettings& settings, const PictureOptions& options,
                                  const Call& call) {
    for (std::uint64_t number = 1;; ++number) {
        Session session(settings);
        session.YieldAlways();
        const auto source = session.Create(options);
        const std::size_t blocks = session.allocations().LiveBlocks();
        std::uint64_t yields = 0;
        session.host().OnYield([&] {
            if (++yields == number) throw HostIsUnwinding();
        });
        bool thrown = false;
        try {
            call(session, *source);
        } catch (const HostIsUnwinding&) {
            thrown = true;
        }
        if (!thrown) return number - 1;
        EXPECT_EQ(source->Locks(), 0) << "yield " << number;
        EXPECT_EQ(session.host().Books().References(source.Handle()), 1) << "yield " << number;
        EXPECT_EQ(session.allocations().LiveBlocks(), blocks) << "yield " << number;
    }
}

PictureOptions AlphaChannelPicture() {
    PictureOptions options = Sized(4, 3);
    options.alphaChannel = true;
    return options;
}

TEST(ExceptionsFromYields, PassThroughScalingAndLeaveNothing) {
    const Call scaling = [](Session& session, const Picture& source) {
        session.Scaling(source.Handle(), 3, 5, 4, 1);
    };
    constexpr std::uint64_t yields = 7 + 4;
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), Sized(4, 3), scaling), yields);
    EXPECT_EQ(ThrowFromEveryYield(Console(), Sized(4, 3), scaling), yields);
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), AlphaChannelPicture(), scaling), yields);
}

TEST(ExceptionsFromYields, PassThroughFastScalingAndLeaveNothing) {
    const Call scale = [](Session& session, const Picture& source) {
        session.Scale(source.Handle(), 5, 2, false, 1);
    };
    constexpr std::uint64_t yields = 2 + 1;
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), Sized(4, 3), scale), yields);
    EXPECT_EQ(ThrowFromEveryYield(Console(), Sized(4, 3), scale), yields);
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), AlphaChannelPicture(), scale), yields);
}

TEST(ExceptionsFromYields, PassThroughSmoothEnlargementAndLeaveNothing) {
    const Call scale = [](Session& session, const Picture& source) {
        session.Scale(source.Handle(), 5, 4, true, 1);
    };
    constexpr std::uint64_t yields = 3 + 4 * 4;
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), Sized(4, 3), scale), yields);
    EXPECT_EQ(ThrowFromEveryYield(Console(), Sized(4, 3), scale), yields);
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), AlphaChannelPicture(), scale), yields);
}

TEST(ExceptionsFromYields, PassThroughTheScalingOfAMaskAndLeaveNothing) {
    for (const bool smooth : {false, true}) {
        const Call scale = [smooth](Session& session, const Picture& source) {
            const auto mask = session.Create(4, 3);
            session.host().SetMask(*session.host().Find(source.Handle()), &*mask);
            session.ScaleImageAndMask(source.Handle(), 5, 4, smooth, 1);
        };
        const std::uint64_t yields = 2 * (smooth ? 3 + 4 * 4 : 4 + 1);
        EXPECT_EQ(ThrowFromEveryYield(Desktop(), Sized(4, 3), scale), yields);
        EXPECT_EQ(ThrowFromEveryYield(Console(), Sized(4, 3), scale), yields);
    }
}

TEST(ExceptionsFromYields, PassThroughTheScalingOfAnAlphaChannelAndLeaveNothing) {
    for (const bool smooth : {false, true}) {
        const Call scale = [smooth](Session& session, const Picture& source) {
            session.ScaleImageAndMask(source.Handle(), 5, 4, smooth, 1);
        };
        const std::uint64_t yields = 2 * (smooth ? 3 + 4 * 4 : 4 + 1);
        EXPECT_EQ(ThrowFromEveryYield(Desktop(), AlphaChannelPicture(), scale), yields);
    }
}

TEST(ExceptionsFromYields, PassThroughTheBlurAndLeaveNothing) {
    const Call blur = [](Session& session, const Picture& source) {
        session.Blur(source.Handle(), 2.0, 1);
    };
    constexpr std::uint64_t yields = 1 + 3 + 3 + 1;
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), Sized(4, 3), blur), yields);
    EXPECT_EQ(ThrowFromEveryYield(Console(), Sized(4, 3), blur), yields);
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), AlphaChannelPicture(), blur), yields);
}

TEST(ExceptionsFromYields, PassThroughFractionalDrawingAndLeaveNothing) {
    const Call draw = [](Session& session, const Picture& source) {
        const auto picture = session.Create(2, 2);
        const auto mask = session.Create(2, 2);
        session.host().SetMask(*picture, &*mask);
        try {
            session.DrawPicture(source.Handle(), picture.Handle(), 0.5, 0.5, 1.0, 1);
        } catch (const HostIsUnwinding&) {
            EXPECT_EQ(picture->Locks(), 0);
            EXPECT_EQ(mask->Locks(), 0);
            EXPECT_EQ(session.host().Books().References(mask.Handle()), 2);
            throw;
        }
    };
    constexpr std::uint64_t yields = 1 + 3 + 1;
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), Sized(4, 3), draw), yields);
    EXPECT_EQ(ThrowFromEveryYield(Console(), Sized(4, 3), draw), yields);
    EXPECT_EQ(ThrowFromEveryYield(Desktop(), AlphaChannelPicture(), draw), yields);
}

}  // namespace
}  // namespace contract
