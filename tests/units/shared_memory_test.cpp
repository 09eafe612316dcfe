// New pictures that a host hands out in the source's own memory, with rows that share theirs, or
// smaller than they should be: what is written changes what is read or written after it, in the
// order of the definition, whichever way is faster.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include "bridge/picture_methods.h"
#include "fake_host.h"
#include "kernels/box_average.h"
#include "pixels/picture_editor.h"
#include "refused_memory.h"

namespace zvk {
namespace {

using testing::FakeHost;

constexpr std::int64_t stride = 4 * 64;
constexpr std::int64_t memorySize = stride * 48;

// A console picture over a stretch of the one memory.
struct TestPicture : REALpictureStruct {
    REALconsoleImage image{};
    std::vector<int*> rows;

    void Describe(std::uint8_t* first, int width, int height) {
        rows.clear();
        for (int y = 0; y < height; ++y)
            rows.push_back(reinterpret_cast<int*>(first + y * stride));
        image.sx = width;
        image.sy = height;
        image.trueColor = 1;
        image.tpixels = rows.data();
    }
};

std::vector<std::uint8_t> memory;
TestPicture source;
TestPicture created;

// One pixel to the right of the source and a row below it, in the same memory.
void LieInTheSource(int width, int height) {
    created.Describe(memory.data() + stride + 4, width, height);
}

// A byte further, so that what is written as one channel is read as another.
void LieBetweenTheSourcesPixels(int width, int height) {
    created.Describe(memory.data() + stride + 5, width, height);
}

// One pixel to the right of the source, in the same rows.
void LieInTheSourcesRows(int width, int height) {
    created.Describe(memory.data() + 4, width, height);
}

void LieApart(int width, int height) {
    created.Describe(memory.data() + 24 * stride, width, height);
}

// Apart from the source, with fewer rows than were asked for.
void LackRows(int width, int height) {
    LieApart(width, height - 3);
}

// Apart from the source, each row beginning inside the one before it, between two pixels.
void OverlapRows(int width, int height) {
    LieApart(width, height);
    for (int*& row : created.rows) {
        const std::ptrdiff_t place = &row - created.rows.data();
        row = reinterpret_cast<int*>(memory.data() + 24 * stride + place * (9 * 4 + 2));
    }
}

// Apart from the source, the last row first.
void LieUpsideDown(int width, int height) {
    LieApart(width, height);
    std::ranges::reverse(created.rows);
}

// Apart from the source, with a gap between two rows.
void LeaveAGap(int width, int height) {
    LieApart(width, height);
    for (std::size_t y = created.rows.size() / 2; y < created.rows.size(); ++y)
        created.rows[y] += stride / 4;
}

// How the host lays out the next new picture.
void (*layOut)(int width, int height) = LieInTheSource;

REALboolean Lock(REALpicture picture, REALpictureDescription* description, REALinteger kind) {
    if (kind != static_cast<REALinteger>(REALdescriptionKind::ConsoleImage)) return 0;
    REALconsoleImage& image = static_cast<TestPicture*>(picture)->image;
    description->kind = REALdescriptionKind::ConsoleImage;
    description->handle = &image;
    description->width = image.sx;
    description->height = image.sy;
    return 1;
}

REALpicture NewPicture(REALinteger width, REALinteger height, REALinteger /*depth*/) {
    layOut(static_cast<int>(width), static_cast<int>(height));
    return &created;
}

REALboolean ReadSize(REALobject /*object*/, const char* name, REALinteger* value) {
    *value = name[0] == 'W' ? source.image.sx : source.image.sy;
    return 1;
}

void Count(REALobject /*object*/) {
}

class SharedMemory : public ::testing::Test {
  protected:
    SharedMemory() {
        host.Offer("REALLockPictureDescription", Lock);
        host.Offer("newPicture", NewPicture);
        host.Offer("REALLockObject", Count);
        host.Offer("REALUnlockObject", Count);
        runtimeKind = RuntimeKind::Console;
        layOut = LieInTheSource;
    }
    ~SharedMemory() override { runtimeKind = RuntimeKind::Unknown; }

    // The memory after a call on a source of the given size, filled alike every time.
    static std::vector<std::uint8_t> After(int width, int height,
                                           const std::function<REALpicture()>& call) {
        memory.resize(memorySize);
        for (std::size_t index = 0; index < memory.size(); ++index) {
            memory[index] = static_cast<std::uint8_t>(index * index / 7 + index * 13);
        }
        source.Describe(memory.data(), width, height);
        EXPECT_EQ(call(), &created);
        return memory;
    }

    // A method does the same where nobody looks as with an interval that never passes, which keeps
    // it to the order that a host could see.
    static void ExpectScaledInOrder(int width = 31, int height = 24) {
        for (REALinteger mode = 1; mode <= 7; ++mode) {
            const auto withInterval = [&](REALinteger interval) {
                return After(20, 12, [&] {
                    return PictureScalingZVK(&source, mode, width, height, interval);
                });
            };
            EXPECT_EQ(withInterval(0), withInterval(never)) << "mode " << mode;
        }
    }

    static void ExpectBlurredInOrder() {
        for (const double radius : {1.0, 3.0, 9.0}) {
            const auto withInterval = [radius](REALinteger interval) {
                return After(30, 20, [&] { return BlurZVK(&source, radius, interval); });
            };
            EXPECT_EQ(withInterval(0), withInterval(never)) << "radius " << radius;
        }
    }

    void ExpectEnlargedInOrder() {
        host.Offer("REALGetPropValueInteger", ReadSize);
        const auto withInterval = [](REALinteger interval) {
            return After(17, 9, [&] { return VandrelZVK(&source, 40, 24, 1, interval); });
        };
        EXPECT_EQ(withInterval(0), withInterval(never));
    }

    void ExpectAveragedInOrder() {
        host.Offer("REALGetPropValueInteger", ReadSize);
        const auto withInterval = [](REALinteger interval) {
            return After(30, 20, [&] { return VandrelZVK(&source, 21, 12, 0, interval); });
        };
        EXPECT_EQ(withInterval(0), withInterval(never));
    }

    void ExpectDrawnInOrder(bool reversesSource) {
        const auto withInterval = [reversesSource](REALinteger interval) {
            return After(20, 12, [&] {
                if (reversesSource) std::ranges::reverse(source.rows);
                NewPicture(31, 18, 32);
                EXPECT_TRUE(DrawPictureF(&created, &source, 3.25, 2.5, 0.75, interval));
                return &created;
            });
        };
        EXPECT_EQ(withInterval(0), withInterval(never)) << reversesSource;
    }

    static constexpr REALinteger never = std::numeric_limits<REALinteger>::max();

    FakeHost host;
};

TEST_F(SharedMemory, IsReadByScalingBeforeItIsWritten) {
    ExpectScaledInOrder();
}

TEST_F(SharedMemory, IsReadByScalingToTheSameSizeBeforeItIsWritten) {
    ExpectScaledInOrder(20, 12);
}

TEST_F(SharedMemory, IsBlurredInTheDefinitionsOrder) {
    ExpectBlurredInOrder();
}

TEST_F(SharedMemory, IsLeftAsItIsWhereTheBlurGetsNoMemory) {
    const auto untouched = After(30, 20, [] { return NewPicture(30, 20, 32); });
    int request = 1;
    for (;; ++request) {
        bool wasAsked = true;
        const auto found = After(30, 20, [&] {
            const testing::RefusedMemory refused(request);
            const REALpicture result = BlurZVK(&source, 3.0, 0);
            wasAsked = refused.WasAskedFor();
            return result;
        });
        if (!wasAsked) break;
        EXPECT_EQ(found, untouched) << "request " << request;
    }
    EXPECT_GT(request, 3);
}

TEST_F(SharedMemory, IsEnlargedByteAfterByte) {
    ExpectEnlargedInOrder();
    layOut = LieBetweenTheSourcesPixels;
    ExpectEnlargedInOrder();
}

TEST_F(SharedMemory, OfRowsIsWrittenInTheDefinitionsOrder) {
    layOut = OverlapRows;
    ExpectScaledInOrder();
    ExpectBlurredInOrder();
    ExpectEnlargedInOrder();
    ExpectAveragedInOrder();
}

TEST_F(SharedMemory, OfRowsThatAreMissingIsTheFirstRows) {
    layOut = LackRows;
    ExpectScaledInOrder();
    ExpectBlurredInOrder();
    ExpectEnlargedInOrder();
    ExpectAveragedInOrder();
}

TEST_F(SharedMemory, IsDrawnIntoInTheDefinitionsOrder) {
    for (const auto layout : {LieInTheSource, LieBetweenTheSourcesPixels, LieInTheSourcesRows,
                              LieApart, LieUpsideDown, LeaveAGap, OverlapRows, LackRows}) {
        layOut = layout;
        ExpectDrawnInOrder(false);
        ExpectDrawnInOrder(true);
    }
}

REALboolean ReadLesserSize(REALobject /*object*/, const char* /*name*/, REALinteger* value) {
    *value = 5;
    return 1;
}

using SourceLargerThanItSays = SharedMemory;

// At whole steps every sample is a pixel of the source.
TEST_F(SourceLargerThanItSays, IsReducedSmoothlyByTheSizeThatItHas) {
    host.Offer("REALGetPropValueInteger", ReadLesserSize);
    layOut = LieApart;
    After(30, 20, [] { return VandrelZVK(&source, 10, 10, 1, 0); });
    for (std::size_t y = 0; y < 10; ++y) {
        for (std::size_t x = 0; x < 10; ++x)
            ASSERT_EQ(created.rows[y][x], source.rows[2 * y][3 * x]) << x << ", " << y;
    }
}

TEST_F(SharedMemory, IsAveragedPixelByPixel) {
    host.Offer("REALGetPropValueInteger", ReadSize);
    for (const auto layout : {LieInTheSource, LieInTheSourcesRows}) {
        layOut = layout;
        const auto found = After(30, 3, [] { return VandrelZVK(&source, 29, 2, 0, 0); });

        After(30, 3, [] { return NewPicture(29, 2, 32); });
        std::vector<std::int32_t> starts;
        for (int x = 0; x < 29; ++x)
            starts.push_back(static_cast<std::int32_t>(x * (30.0 / 29.0)));
        for (std::size_t y = 0; y < 2; ++y) {
            const auto row = static_cast<std::size_t>(static_cast<double>(y) * 1.5);
            kernels::AverageRows(
                {.sources = {reinterpret_cast<std::uint8_t*>(source.rows[row])},
                 .ahead = {},
                 .rowCount = 1,
                 .sourceOrder = layouts::console,
                 .sourceWidth = 30,
                 .starts = starts.data(),
                 .boxWidth = 2,
                 .boxHeight = 2,
                 .rounded = false,
                 .order = layouts::console,
                 .width = 29,
                 .destinations = {reinterpret_cast<std::uint8_t*>(created.rows[y])},
                 .streams = false});
        }
        EXPECT_EQ(found, memory);
    }
}

TEST_F(SharedMemory, IsFoundWhereAnyRowMeetsAnother) {
    memory.resize(memorySize);
    const auto shares = [](std::int64_t offset, int width, int height) {
        source.Describe(memory.data(), 10, 4);
        std::ranges::reverse(source.rows);
        created.Describe(memory.data() + offset, width, height);
        PictureEditor first;
        PictureEditor second;
        EXPECT_TRUE(first.GetPictureEditor(&source, false, false));
        EXPECT_TRUE(second.GetPictureEditor(&created, false, false));
        // Pictures that lie apart as wholes are never searched.
        EXPECT_FALSE(LieApart(first, second) && SharesPixels(first, second));
        return SharesPixels(first, second);
    };
    // The source's rows descend in memory.
    EXPECT_TRUE(shares(0, 10, 4));
    EXPECT_TRUE(shares(3 * stride + 36, 5, 9));
    EXPECT_FALSE(shares(3 * stride + 40, 5, 9)) << "begins where the last row ends";
    EXPECT_FALSE(shares(40, 20, 4)) << "beside it, row by row";
    EXPECT_FALSE(shares(20 * stride, 10, 4));
}

TEST_F(SharedMemory, OfRowsIsFoundUnlessTheyFollowEachOther) {
    memory.resize(memorySize);
    created.Describe(memory.data(), 10, 4);
    const auto separate = [] {
        PictureEditor editor;
        EXPECT_TRUE(editor.GetPictureEditor(&created, false, false));
        return HasSeparateRows(editor);
    };
    EXPECT_TRUE(separate());
    std::reverse(created.rows.begin(), created.rows.begin() + 4);
    EXPECT_TRUE(separate()) << "the last row first";
    created.rows[1] = created.rows[0];
    EXPECT_FALSE(separate()) << "a row twice";
    created.rows[1] = created.rows[2] + 9;
    EXPECT_FALSE(separate()) << "one pixel in common";
    created.Describe(memory.data(), 10, 4);
    created.rows[2] = created.rows[1] + 9;
    EXPECT_FALSE(separate()) << "one pixel in common, the first row first";
    created.Describe(memory.data(), 10, 4);
    created.rows[3] = created.rows[2];
    EXPECT_FALSE(separate()) << "the last row twice";
}

TEST_F(SharedMemory, OfRowsHasAStepWhereTheyAreEvenlySpaced) {
    memory.resize(memorySize);
    created.Describe(memory.data(), 10, 4);
    const auto step = [] {
        PictureEditor editor;
        EXPECT_TRUE(editor.GetPictureEditor(&created, false, false));
        return RowStep(editor);
    };
    EXPECT_EQ(step(), stride);
    std::reverse(created.rows.begin(), created.rows.begin() + 4);
    EXPECT_EQ(step(), -stride) << "the last row first";
    created.rows[3] += 1;
    EXPECT_EQ(step(), std::nullopt) << "the last row elsewhere";
    created.Describe(memory.data(), 10, 4);
    created.rows[0] += 1;
    EXPECT_EQ(step(), std::nullopt) << "the first row elsewhere";
    created.Describe(memory.data(), 10, 2);
    EXPECT_EQ(step(), stride) << "two rows";
    created.Describe(memory.data(), 10, 1);
    EXPECT_EQ(step(), 0) << "one row";
}

TEST(RowSteps, AreThoseOfABitmapContextUnlessNoMemoryHasRoom) {
    PictureEditor editor;
    editor.pixelFormat = PixelFormat::SkipFirst;
    const auto step = [&editor](std::int64_t height, std::int64_t rowBytes) {
        editor.height = height;
        editor.rowBytes = rowBytes;
        return RowStep(editor);
    };
    EXPECT_EQ(step(3, 40), 40);
    EXPECT_EQ(step(3, -40), -40);
    EXPECT_EQ(step(1, std::numeric_limits<std::int64_t>::min()), 0) << "one row";
    EXPECT_EQ(step(2, std::int64_t{1} << 46), std::int64_t{1} << 46);
    EXPECT_EQ(step(2, -(std::int64_t{1} << 46)), -(std::int64_t{1} << 46));
    EXPECT_EQ(step(3, std::int64_t{1} << 46), std::nullopt);
    EXPECT_EQ(step(3, -(std::int64_t{1} << 46)), std::nullopt);
    EXPECT_EQ(step(3, std::numeric_limits<std::int64_t>::min()), std::nullopt);
}

TEST_F(SharedMemory, LiesApartWhereAllOfItLiesBehindAllOfTheOther) {
    memory.resize(memorySize);
    const auto apart = [](std::int64_t offset, bool reverses) {
        source.Describe(memory.data() + 8 * stride, 10, 4);
        created.Describe(memory.data() + offset, 5, 4);
        if (reverses) std::ranges::reverse(created.rows);
        PictureEditor one;
        PictureEditor other;
        EXPECT_TRUE(one.GetPictureEditor(&source, false, false));
        EXPECT_TRUE(other.GetPictureEditor(&created, false, false));
        EXPECT_EQ(LieApart(one, other), LieApart(other, one));
        return LieApart(one, other);
    };
    for (const bool reverses : {false, true}) {
        EXPECT_TRUE(apart(11 * stride + 40, reverses)) << "begins where the last row ends";
        EXPECT_FALSE(apart(11 * stride + 39, reverses));
        EXPECT_TRUE(apart(5 * stride - 20, reverses)) << "ends where the first row begins";
        EXPECT_FALSE(apart(5 * stride - 19, reverses));
        EXPECT_FALSE(apart(8 * stride + 40, reverses)) << "beside it, row by row";
    }
}

}  // namespace
}  // namespace zvk
