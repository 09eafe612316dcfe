// Creating the picture that a writer is attached to.
#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "bridge/host_version.h"
#include "pixels/picture_editor.h"
#include "pixels/picture_properties.h"

namespace zvk {

namespace {

// Longest side of a picture without an alpha channel. Deliberate: pictures with one have no such
// bound; the host refuses what it cannot make.
constexpr std::int64_t longestOpaqueSide = 32767;

PictureReference NewPictureWithAlphaChannel(std::int64_t width, std::int64_t height) {
    if (width < 1 || height < 1) return {};
    if (rbversion_rbversion < REALversion::AlphaChannelPictures) return {};
    PictureReference created(static_cast<REALpicture>(REALnewInstance("Picture")));
    if (created && !ConstructAlphaChannelPicture(created.get(), width, height)) {
        // Deliberate: an instance that was never constructed is not given back. Its destructor
        // has nothing to work on.
        created.Release();
    }
    return created;
}

PictureReference NewOpaquePicture(std::int64_t width, std::int64_t height) {
    const auto inRange = [](std::int64_t side) { return side >= 1 && side <= longestOpaqueSide; };
    if (!inRange(width) || !inRange(height)) return {};
    return PictureReference(REALNewPicture(width, height, 32));
}

}  // namespace

bool PictureWriter::NewPictureWriter(const PictureReader& source, std::int64_t newWidth,
                                     std::int64_t newHeight) {
    const PictureReference created = source.hasAlpha
                                         ? NewPictureWithAlphaChannel(newWidth, newHeight)
                                         : NewOpaquePicture(newWidth, newHeight);
    return created && GetPictureEditor(created.get(), false, true);
}

}  // namespace zvk
