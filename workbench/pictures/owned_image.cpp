// Gives libgd images back to libgd.
#include "workbench/pictures/owned_image.h"

#include <gd.h>

namespace workbench {

void ImageDestroyer::operator()(gdImageStruct* image) const {
    gdImageDestroy(image);
}

}  // namespace workbench
