// The methods ScaleZVK and ScaleImageAndMaskZVK: they choose between the picture itself, smooth
// enlargement and fast scaling, and carry a mask or an alpha channel over. They never raise.
#include "bridge/host_drawing.h"
#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "bridge/picture_methods.h"
#include "bridge/yielding.h"
#include "pixels/picture_properties.h"
#include "scaling/picture_scaling.h"

namespace zvk {

namespace {

using ScaleRoutine = REALpicture (*)(REALpicture picture, std::int64_t width, std::int64_t height);

// Smooth enlargement is for pictures that grow along both sides.
bool EnlargesSmoothly(REALboolean antiAlias, PictureSize from, PictureSize to) {
    return antiAlias != 0 && to.width > from.width && to.height > from.height;
}

// Gives `result` the mask of `picture`, scaled by `scale`, if it has one.
void CarryMaskOver(REALpicture picture, REALpicture result, PictureSize size, ScaleRoutine scale) {
    const PictureReference mask(REALGetPictureMask(picture, 0));
    if (!mask) return;
    const PictureReference scaledMask(scale(mask.get(), size.width, size.height));
    if (!scaledMask) return;
    const PictureReference target(REALGetPictureMask(result, 1));
    if (!target) return;
    GraphicsDrawPicture(target.get(), scaledMask.get(), size.width, size.height, size.width,
                        size.height);
}

// Scales the picture and its mask with one routine, never with two different ones.
PictureReference ScaleWithMask(REALpicture picture, PictureSize size, ScaleRoutine scale) {
    PictureReference result(scale(picture, size.width, size.height));
    if (result) CarryMaskOver(picture, result.get(), size, scale);
    return result;
}

PictureReference VandrelImageAndMaskInternal(REALpicture picture, PictureSize size,
                                             REALboolean antiAlias, PictureSize oldSize) {
    if (EnlargesSmoothly(antiAlias, oldSize, size)) {
        PictureReference result = ScaleWithMask(picture, size, ScalePictureNiceBigger);
        if (result) return result;
    }
    return ScaleWithMask(picture, size, ScalePictureFast);
}

// Gives `target` the mask that the host makes of the alpha channel of `source`.
void CopyAlphaToMask(REALpicture source, REALpicture target) {
    using CopyMask = REALpicture (*)(REALpicture picture);
    using SetMask = void (*)(REALpicture picture, REALpicture mask);
    const auto copyMask =
        reinterpret_cast<CopyMask>(REALLoadObjectMethod(source, "CopyMask as Picture"));
    const PictureReference mask(copyMask != nullptr ? copyMask(source) : nullptr);
    const auto setMask =
        reinterpret_cast<SetMask>(REALLoadObjectMethod(target, "Mask(assigns newMask As Picture)"));
    if (setMask != nullptr) setMask(target, mask.get());
}

PictureReference ScaleAlphaChannelPicture(REALpicture picture, PictureSize size,
                                          REALboolean antiAlias, PictureSize oldSize) {
    const PictureReference plain(REALNewPicture(size.width, size.height, 32));
    if (!plain) return {};
    // Deliberate: the picture is drawn at its own scale and clipped to the requested size; what is
    // scaled below has that size already.
    GraphicsDrawPicture(plain.get(), picture, size.width, size.height, size.width, size.height);
    CopyAlphaToMask(picture, plain.get());
    return VandrelImageAndMaskInternal(plain.get(), size, antiAlias, oldSize);
}

}  // namespace

REALpicture VandrelZVK(REALpicture picture, REALinteger width, REALinteger height,
                       REALboolean antiAlias, REALinteger yieldTicks) {
    yield = {.interval = yieldTicks, .last = 0};
    const PictureSize size{.width = width, .height = height};
    const PictureSize oldSize = picture == nullptr ? PictureSize{} : ReadPictureSize(picture);
    if (oldSize == size) return picture == nullptr ? nullptr : AddReference(picture);
    if (EnlargesSmoothly(antiAlias, oldSize, size)) {
        PictureReference result(ScalePictureNiceBigger(picture, width, height));
        if (result) return result.Release();
    }
    return ScalePictureFast(picture, width, height);
}

REALpicture VandrelImageAndMaskZVK(REALpicture picture, REALinteger width, REALinteger height,
                                   REALboolean antiAlias, REALinteger yieldTicks) {
    if (picture == nullptr) return nullptr;
    yield = {.interval = yieldTicks, .last = 0};
    const PictureSize size{.width = width, .height = height};
    const PictureSize oldSize = ReadPictureSize(picture);
    if (oldSize == size) return AddReference(picture);
    if (HasAlphaChannel(picture)) {
        return ScaleAlphaChannelPicture(picture, size, antiAlias, oldSize).Release();
    }
    return VandrelImageAndMaskInternal(picture, size, antiAlias, oldSize).Release();
}

}  // namespace zvk
