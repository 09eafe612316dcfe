// The two ways of copying a picture through the host's own drawing.
#include "pixels/picture_copy.h"

#include "bridge/host_drawing.h"
#include "bridge/host_services.h"
#include "bridge/host_version.h"
#include "pixels/picture_properties.h"

namespace zvk {

namespace {

PictureReference CopyWithAlphaChannel(REALpicture source, PictureSize size) {
    if (rbversion_rbversion < REALversion::AlphaChannelPictures) return {};
    PictureReference copy(static_cast<REALpicture>(REALnewInstance("Picture")));
    if (!copy || !ConstructAlphaChannelPicture(copy.get(), size.width, size.height)) return {};
    GraphicsDrawPicture(copy.get(), source, size.width, size.height, size.width, size.height);
    return copy;
}

void SetMask(REALpicture picture, REALpicture mask) {
    using MaskSetter = void (*)(REALpicture picture, REALpicture mask);
    const auto setMask = reinterpret_cast<MaskSetter>(
        REALLoadObjectMethod(picture, "Mask(assigns newMask As Picture)"));
    if (setMask != nullptr) setMask(picture, mask);
}

PictureReference CopyWithoutMask(REALpicture source, PictureSize size) {
    const PictureReference mask(REALGetPictureMask(source, 0));
    if (mask) SetMask(source, nullptr);
    PictureReference copy(REALNewPicture(size.width, size.height, 32));
    if (copy) {
        GraphicsDrawPicture(copy.get(), source, size.width, size.height, size.width, size.height);
    }
    if (mask) SetMask(source, mask.get());
    return copy;
}

}  // namespace

PictureReference CopyPicture(REALpicture source) {
    const PictureSize size = ReadPictureSize(source);
    if (size.width < 1 || size.height < 1) return {};
    return HasAlphaChannel(source) ? CopyWithAlphaChannel(source, size)
                                   : CopyWithoutMask(source, size);
}

}  // namespace zvk
