// Property reads and the constructor call, by the names that the host gives them.
#include "pixels/picture_properties.h"

#include "bridge/host_services.h"

namespace zvk {

namespace {

std::int64_t ReadInteger(REALpicture picture, const char* name) {
    REALinteger value = 0;
    return REALGetPropValueInteger(picture, name, &value) != 0 ? value : 0;
}

}  // namespace

PictureSize ReadPictureSize(REALpicture picture) {
    const std::int64_t width = ReadInteger(picture, "Width");
    const std::int64_t height = ReadInteger(picture, "Height");
    return {.width = width, .height = height};
}

bool HasAlphaChannel(REALpicture picture) {
    REALboolean value = 0;
    return REALGetPropValueBoolean(picture, "HasAlphaChannel", &value) != 0 && value != 0;
}

bool ConstructAlphaChannelPicture(REALpicture instance, std::int64_t width, std::int64_t height) {
    using Constructor = void (*)(REALpicture instance, REALinteger width, REALinteger height);
    const auto constructor = reinterpret_cast<Constructor>(
        REALLoadObjectMethod(instance, "Constructor(width as integer, height as integer)"));
    if (constructor == nullptr) return false;
    constructor(instance, width, height);
    return true;
}

}  // namespace zvk
