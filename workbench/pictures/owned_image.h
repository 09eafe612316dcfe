// A libgd image with an owner, for headers that need not know libgd.
// Console pictures are such images, and image files are read into and written from them.
#pragma once

#include <memory>

struct gdImageStruct;

namespace workbench {

struct ImageDestroyer {
    void operator()(gdImageStruct* image) const;
};
using OwnedImage = std::unique_ptr<gdImageStruct, ImageDestroyer>;

}  // namespace workbench
