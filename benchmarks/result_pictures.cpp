// Recycles picture memory by making pictures that share it: a size has one block, given out as long
// as nobody holds the picture made with it before.
#include "benchmarks/result_pictures.h"

#include <new>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

using workbench::Held;
using workbench::Host;
using workbench::Picture;
using workbench::PictureOptions;
using workbench::Service;

// Services are functions without a context and find the pictures here.
ResultPictures* current = nullptr;

REALpicture NewPicture(REALinteger width, REALinteger height, REALinteger) {
    if (current == nullptr || width < 1 || height < 1) return nullptr;
    try {
        return current->Make({static_cast<int>(width), static_cast<int>(height)}).Release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

REALfunction Resolve(const char* name) {
    if (name == workbench::Info(Service::REALNewPicture).name)
        return reinterpret_cast<REALfunction>(&NewPicture);
    return Host::Resolver()(name);
}

PictureOptions Sized(Size size) {
    PictureOptions options;
    options.width = size.width;
    options.height = size.height;
    return options;
}

}  // namespace

ResultPictures::ResultPictures(Host& host, ResultMemory memory) : host_(host), memory_(memory) {
    if (current != nullptr) throw std::logic_error("there are result pictures already");
    current = this;
}

ResultPictures::~ResultPictures() {
    current = nullptr;
}

Held<Picture> ResultPictures::Make(Size size) {
    if (memory_ == ResultMemory::Fresh) return MakeFresh(size);
    Slot& slot = slots_[{size.width, size.height}];
    if (!slot.owner) slot.owner = MakeFresh(size);
    if (host_.Books().IsLive(slot.borrower)) return MakeFresh(size);
    PictureOptions options = Sized(size);
    options.shares = workbench::SharedPixels{&*slot.owner};
    Held<Picture> picture = host_.CreatePicture(options);
    slot.borrower = picture.Handle();
    return picture;
}

Held<Picture> ResultPictures::MakeFresh(Size size) const {
    return host_.CreatePicture(Sized(size));
}

REALresolver ResultPictures::Resolver() {
    return &Resolve;
}

}  // namespace bench
