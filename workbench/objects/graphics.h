// A picture's graphics object.
// Made by the graphics service; keeps its picture alive.
#pragma once

#include <string_view>
#include <utility>

#include "workbench/objects/object.h"
#include "workbench/pictures/picture.h"

namespace workbench {

class Graphics : public Object {
  public:
    explicit Graphics(Held<Picture> picture) : picture_(std::move(picture)) {}

    std::string_view ClassName() const override { return "Graphics"; }
    std::string_view Kind() const override { return "graphics"; }
    REALgraphics Handle() const { return ToHandle<REALgraphics>(Address()); }

    /// The picture drawn into; null if somebody took away its last reference.
    workbench::Picture* Target() const { return picture_.Get(); }

  private:
    Held<Picture> picture_;
};

}  // namespace workbench
