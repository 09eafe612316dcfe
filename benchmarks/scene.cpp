// Makes the pictures of a job in the host and gives access to their memory.
// Everything but NewResult happens outside the measured time.
#include "benchmarks/scene.h"

#include <stdexcept>
#include <utility>

namespace bench {

namespace {

using workbench::Held;
using workbench::Picture;
using workbench::PictureOptions;

// Different pictures of the same kind.
enum Variation : std::uint32_t { sourceVariation, maskVariation, canvasVariation };

Raster ColoursOf(const Pixels& pixels) {
    Raster raster{pixels.size, {}};
    raster.bytes.reserve(pixels.ByteCount() / 4 * 3);
    const std::uint8_t* const end = pixels.data + pixels.ByteCount();
    for (const std::uint8_t* pixel = pixels.data; pixel != end; pixel += 4)
        raster.bytes.insert(raster.bytes.end(), pixel, pixel + 3);
    return raster;
}

class CanvasResult final : public Result {
  public:
    explicit CanvasResult(const Canvas& canvas) : canvas_(canvas) {}
    Raster Colours() const override { return ColoursOf(canvas_.Memory()); }

  private:
    const Canvas& canvas_;
};

}  // namespace

Pixels PixelsOf(Picture& picture) {
    const Size size{picture.Width(), picture.Height()};
    const Pixels pixels{reinterpret_cast<std::uint8_t*>(picture.Row(0).data()), size};
    const auto* const last =
        reinterpret_cast<const std::uint8_t*>(picture.Row(size.height - 1).data());
    if (last != pixels.Row(size.height - 1)) throw std::logic_error("a picture has padding");
    return pixels;
}

Raster PictureResult::Colours() const {
    return ColoursOf(Memory());
}

std::unique_ptr<Result> Canvas::AsResult() const {
    return std::make_unique<CanvasResult>(*this);
}

Scene::Scene(ResultPictures& results, const Job& job, PictureKind kind)
    : results_(results), job_(job), kind_(kind), source_(NewPicture(job.source)) {
    Fill(Source(), kind, sourceVariation);
    if (!job.masked) return;
    mask_ = NewPicture(job.source);
    Fill(Mask(), kind, maskVariation);
    TheHost().SetMask(*source_, &*mask_);
}

Held<Picture> Scene::NewPicture(Size size) const {
    PictureOptions options;
    options.width = size.width;
    options.height = size.height;
    return TheHost().CreatePicture(options);
}

std::unique_ptr<PictureResult> Scene::NewResult() const {
    return std::make_unique<PictureResult>(results_.Make(job_.target));
}

std::shared_ptr<Canvas> Scene::NewCanvas() const {
    auto canvas = std::make_shared<Canvas>(NewPicture(job_.target));
    Fill(canvas->Memory(), kind_, canvasVariation);
    return canvas;
}

}  // namespace bench
