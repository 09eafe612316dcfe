// Properties of host pictures, read as the editors and the scale methods need them.
#pragma once

#include <cstdint>

#include "hostapi/host_types.h"

namespace zvk {

struct PictureSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

// The picture's "Width" and "Height" in pixels; a value that cannot be read counts as 0.
PictureSize ReadPictureSize(REALpicture picture);

// Whether the picture's "HasAlphaChannel" can be read and is true.
bool HasAlphaChannel(REALpicture picture);

// Calls the host's constructor on a new instance of "Picture", which makes it an alpha-channel
// picture of the given size; false if the host has no such constructor.
bool ConstructAlphaChannelPicture(REALpicture instance, std::int64_t width, std::int64_t height);

}  // namespace zvk
