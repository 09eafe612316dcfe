// The host's drawing method, and the row copy that stands in for it.
#include "bridge/host_drawing.h"

#include <cstring>

#include "bridge/console_image.h"
#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "bridge/locked_description.h"

namespace zvk {

namespace {

using DrawPictureMethod = void (*)(REALgraphics graphics, REALpicture image, REALinteger x,
                                   REALinteger y, REALinteger w, REALinteger h, REALinteger sx,
                                   REALinteger sy, REALinteger sw, REALinteger sh);

constexpr const char* drawPictureDeclaration =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as "
    "Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

void CopyDescribedRows(const REALpictureDescription& destination,
                       const REALpictureDescription& source) {
    if (destination.width != source.width || destination.height != source.height) return;
    const REALconsoleImage* to = DescribedConsoleImage(destination);
    const REALconsoleImage* from = DescribedConsoleImage(source);
    if (to == nullptr || from == nullptr) return;

    const std::size_t rowSize = static_cast<std::size_t>(source.width) * sizeof(std::uint32_t);
    for (std::int32_t y = 0; y < source.height; ++y) {
        // A host may describe one image twice, so the rows may be the same memory.
        std::memmove(to->tpixels[y], from->tpixels[y], rowSize);
    }
}

void CopyRows(REALpicture destination, REALpicture source) {
    {
        const LockedDescription from(source, REALdescriptionKind::ConsoleImage);
        const LockedDescription to(destination, REALdescriptionKind::ConsoleImage);
        if (from.IsLocked() && to.IsLocked()) {
            CopyDescribedRows(to.description(), from.description());
        }
    }
    REALPictureClearCache(destination);
}

}  // namespace

void GraphicsDrawPicture(REALpicture destination, REALpicture source, REALinteger w, REALinteger h,
                         REALinteger sw, REALinteger sh) {
    const HostReference<REALgraphicsStruct> graphics(REALGetPictureGraphics(destination));
    if (source != nullptr && graphics) {
        const auto drawPicture = reinterpret_cast<DrawPictureMethod>(
            REALLoadObjectMethod(graphics.get(), drawPictureDeclaration));
        if (drawPicture != nullptr) {
            drawPicture(graphics.get(), source, 0, 0, w, h, 0, 0, sw, sh);
            return;
        }
    }
    if (destination != nullptr && source != nullptr && sw == w && sh == h) {
        CopyRows(destination, source);
    }
}

}  // namespace zvk
