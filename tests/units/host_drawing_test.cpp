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

}  // namespace
}  // namespace zvk
