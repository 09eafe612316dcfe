// Drawing through the host with sizes that none of the methods asks for.
#include "bridge/host_drawing.h"

#include <gtest/gtest.h>

#include "fake_host.h"

namespace zvk {
namespace {

using testing::FakeHost;

int lockCount = 0;
int clearCount = 0;

REALboolean CountLock(REALpicture /*picture*/, REALpictureDescription* /*description*/,
                      REALinteger /*kind*/) {
    ++lockCount;
    return 0;
}

void CountClear(REALpicture /*picture*/) {
    ++clearCount;
}

class HostDrawingWithoutGraphics : public ::testing::Test {
  protected:
    HostDrawingWithoutGraphics() {
        lockCount = 0;
        clearCount = 0;
        host.Offer("REALLockPictureDescription", CountLock);
        host.Offer("REALPictureClearCache", CountClear);
    }

    FakeHost host;
    REALpictureStruct destination;
    REALpictureStruct source;
};

TEST_F(HostDrawingWithoutGraphics, DrawsNothingWhereScalingIsAskedFor) {
    GraphicsDrawPicture(&destination, &source, 4, 4, 8, 4);
    GraphicsDrawPicture(&destination, &source, 4, 4, 4, 8);
    EXPECT_EQ(lockCount, 0);
    EXPECT_EQ(clearCount, 0);
}

TEST_F(HostDrawingWithoutGraphics, DrawsNothingWithoutOneOfThePictures) {
    GraphicsDrawPicture(nullptr, &source, 4, 4, 4, 4);
    GraphicsDrawPicture(&destination, nullptr, 4, 4, 4, 4);
    EXPECT_EQ(lockCount, 0);
    EXPECT_EQ(clearCount, 0);
}

TEST_F(HostDrawingWithoutGraphics, TriesTheRowsOfEqualSizesAndClearsTheCacheWhateverLocks) {
    GraphicsDrawPicture(&destination, &source, 4, 4, 4, 4);
    EXPECT_EQ(lockCount, 2);
    EXPECT_EQ(clearCount, 1);
}

// A console picture of one pixel.
struct TestPicture : REALpictureStruct {
    int pixel = 0;
    int* row = &pixel;
    REALconsoleImage image{};
};

REALpicture unlocked = nullptr;

// Describes every picture, also the one that it says not to have locked.
REALboolean LockAllButOne(REALpicture picture, REALpictureDescription* description,
                          REALinteger /*kind*/) {
    REALconsoleImage& image = static_cast<TestPicture*>(picture)->image;
    image.sx = 1;
    image.sy = 1;
    image.tpixels = &static_cast<TestPicture*>(picture)->row;
    description->kind = REALdescriptionKind::ConsoleImage;
    description->handle = &image;
    description->width = 1;
    description->height = 1;
    return picture == unlocked ? 0 : 1;
}

TEST(HostDrawing, TakesWhatADescriptionSaysOnlyWhereItIsLocked) {
    FakeHost host;
    host.Offer("REALLockPictureDescription", LockAllButOne);
    TestPicture source;
    TestPicture destination;
    source.pixel = 1;
    for (const REALpicture picture : {&source, &destination}) {
        unlocked = picture;
        GraphicsDrawPicture(&destination, &source, 1, 1, 1, 1);
        EXPECT_EQ(destination.pixel, 0);
    }
    unlocked = nullptr;
    GraphicsDrawPicture(&destination, &source, 1, 1, 1, 1);
    EXPECT_EQ(destination.pixel, 1);
}

}  // namespace
}  // namespace zvk
