// The check of a console description against the image it carries.
#include "bridge/console_image.h"

#include <algorithm>

namespace zvk {

const REALconsoleImage* DescribedConsoleImage(const REALpictureDescription& description) {
    if (description.kind != REALdescriptionKind::ConsoleImage) return nullptr;
    const auto* image = static_cast<const REALconsoleImage*>(description.handle);
    if (image == nullptr || image->tpixels == nullptr) return nullptr;
    if (description.width < 0 || description.width > image->sx) return nullptr;
    if (description.height < 1 || description.height > image->sy) return nullptr;
    const bool hasAllRows = std::all_of(image->tpixels, image->tpixels + description.height,
                                        [](const int* row) { return row != nullptr; });
    return hasAllRows ? image : nullptr;
}

}  // namespace zvk
