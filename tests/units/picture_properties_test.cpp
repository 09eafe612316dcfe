// Properties that a host cannot read although it leaves something behind.
#include "pixels/picture_properties.h"

#include <gtest/gtest.h>

#include "fake_host.h"

namespace zvk {
namespace {

using testing::FakeHost;

REALboolean answer = 0;

REALboolean ReadInteger(REALobject /*object*/, const char* name, REALinteger* value) {
    *value = name[0] == 'W' ? 7 : 5;
    return answer;
}

REALboolean ReadBoolean(REALobject /*object*/, const char* /*name*/, REALboolean* value) {
    *value = 1;
    return answer;
}

TEST(PictureProperties, CountOnlyIfTheHostSaysThatItCouldReadThem) {
    FakeHost host;
    host.Offer("REALGetPropValueInteger", ReadInteger);
    host.Offer("REALGetPropValueBool", ReadBoolean);
    REALpictureStruct picture;
    answer = 0;
    EXPECT_EQ(ReadPictureSize(&picture), PictureSize{});
    EXPECT_FALSE(HasAlphaChannel(&picture));
    answer = 1;
    EXPECT_EQ(ReadPictureSize(&picture), (PictureSize{.width = 7, .height = 5}));
    EXPECT_TRUE(HasAlphaChannel(&picture));
}

}  // namespace
}  // namespace zvk
