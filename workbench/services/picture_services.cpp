// Services for pictures: making them, masks, graphics, descriptions and their cache.
// Reached through the directory; what cannot be made is null.
#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <string>

#include "workbench/host/host.h"
#include "workbench/objects/graphics.h"
#include "workbench/objects/object_store.h"
#include "workbench/services/service_desk.h"

namespace workbench {

namespace {

/// A plain picture made by a service; null for a size that no picture has.
REALpicture MakePlainPicture(Host& host, REALinteger width, REALinteger height, Origin origin) {
    constexpr REALinteger most = std::numeric_limits<int>::max();
    if (width < 1 || height < 1 || width > most || height > most) return nullptr;
    PictureOptions options;
    options.width = static_cast<int>(width);
    options.height = static_cast<int>(height);
    try {
        auto picture = std::make_unique<Picture>();
        picture->Construct(options, host.Settings());
        if (host.Settings().onNewPicture) host.Settings().onNewPicture(*picture);
        return host.Objects().Keep(std::move(picture), origin).Release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

REALpicture ServiceDesk::REALNewPicture(REALinteger width, REALinteger height, REALinteger depth) {
    // All pictures have 32 bits per pixel, as the host's newer pictures do whatever is asked.
    constexpr REALinteger deepest = 32;
    if (depth < 1 || depth > deepest) return nullptr;
    return MakePlainPicture(host_, width, height, "newPicture");
}

REALinteger ServiceDesk::REALGetPictureType(REALpicture picture) {
    const Picture* found = host_.Find(picture, "PluginPictureGetType");
    return found == nullptr ? 0 : found->typeCode;
}

REALpicture ServiceDesk::REALGetPictureMask(REALpicture picture, REALboolean create) {
    constexpr Origin origin = "REALGetPictureMask";
    Picture* found = host_.Find(picture, origin);
    if (found == nullptr || found->HasAlphaChannel()) return nullptr;
    if (found->Mask() == nullptr && create != 0) {
        Held<Picture> mask(MakePlainPicture(host_, found->Width(), found->Height(), origin),
                           origin);
        if (mask) host_.SetMask(*found, &*mask);
    }
    const Picture* mask = found->Mask();
    if (mask == nullptr) return nullptr;
    host_.Objects().AddReference(mask->Address(), origin);
    return mask->Handle();
}

REALgraphics ServiceDesk::REALGetPictureGraphics(REALpicture picture) {
    constexpr Origin origin = "pluginPictureGraphicsGetter";
    const Picture* found = host_.Find(picture, origin);
    if (found == nullptr) return nullptr;
    constexpr Origin holder = "the graphics object drawing into it";
    host_.Objects().AddReference(found->Address(), holder);
    return host_.Objects()
        .Make<Graphics>(origin, Held<Picture>(found->Address(), holder))
        .Release();
}

REALboolean ServiceDesk::REALLockPictureDescription(REALpicture picture,
                                                    REALpictureDescription* description,
                                                    REALinteger kind) {
    constexpr Origin origin = "REALLockPictureDescription";
    Picture* found = host_.Find(picture, origin);
    if (found == nullptr || description == nullptr) return false;
    if (!found->Describe(kind, *description)) return false;
    host_.Books().Lock(picture, origin);
    return true;
}

void ServiceDesk::REALUnlockPictureDescription(REALpicture picture) {
    constexpr Origin origin = "unlockPictureDescription";
    if (host_.Find(picture, origin) != nullptr) host_.Books().Unlock(picture, origin);
}

void ServiceDesk::REALPictureClearCache(REALpicture picture) {
    if (Picture* found = host_.Find(picture, "REALPictureClearCache")) found->CountCacheClear();
}

REALpicture ServiceDesk::REALBuildPictureFromBuffer(std::int32_t width, std::int32_t height,
                                                    REALinteger pixelType, const void* pixels,
                                                    std::int32_t rowBytes) {
    // Pixel types are numbered as the layouts of bitmap contexts.
    constexpr REALinteger lastType = 6;
    if (pixels == nullptr || pixelType < 1 || pixelType > lastType) return nullptr;
    if (width < 1 || rowBytes / static_cast<std::int32_t>(sizeof(std::uint32_t)) < width) {
        return nullptr;
    }
    const REALpicture picture =
        MakePlainPicture(host_, width, height, "REALBuildPictureFromBuffer");
    Picture* made = host_.Find(picture);
    if (made == nullptr) return nullptr;
    const auto* row = static_cast<const std::byte*>(pixels);
    for (int y = 0; y < height; ++y, row += rowBytes) {
        const auto* words = reinterpret_cast<const std::uint32_t*>(row);
        for (int x = 0; x < width; ++x) {
            made->Put(x, y, DecodePixel(words[x], static_cast<int>(pixelType)));
        }
    }
    return picture;
}

}  // namespace workbench
