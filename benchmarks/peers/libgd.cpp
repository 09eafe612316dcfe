// libgd's own scaling methods, which make their result themselves. Pixels are copied into an image
// of the library before anything is timed.
#include <gd.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

struct Destroyer {
    void operator()(gdImage* image) const { gdImageDestroy(image); }
};
using Image = std::unique_ptr<gdImage, Destroyer>;

class ImageResult final : public Result {
  public:
    explicit ImageResult(Image image) : image_(std::move(image)) {}

    Raster Colours() const override {
        Raster raster{{image_->sx, image_->sy}, {}};
        for (int y = 0; y < image_->sy; ++y) {
            for (int x = 0; x < image_->sx; ++x) {
                const int word = gdImageTrueColorPixel(image_.get(), x, y);
                for (const int channel :
                     {gdTrueColorGetRed(word), gdTrueColorGetGreen(word), gdTrueColorGetBlue(word)})
                    raster.bytes.push_back(static_cast<std::uint8_t>(channel));
            }
        }
        return raster;
    }

  private:
    Image image_;
};

std::shared_ptr<gdImage> CopyOf(const Pixels& pixels) {
    Image image(gdImageCreateTrueColor(pixels.size.width, pixels.size.height));
    if (image == nullptr) throw std::runtime_error("libgd made no image");
    for (int y = 0; y < pixels.size.height; ++y) {
        const std::uint8_t* pixel = pixels.Row(y);
        for (int x = 0; x < pixels.size.width; ++x, pixel += 4)
            gdImageTrueColorPixel(image.get(), x, y) = gdTrueColor(pixel[0], pixel[1], pixel[2]);
    }
    return image;
}

Offer ScaleOffer(std::string name, Kinship kinship, std::string reason,
                 gdInterpolationMethod method) {
    const auto prepare = [method](const Scene& scene) -> Work {
        const std::shared_ptr<gdImage> source = CopyOf(scene.Source());
        gdImageSetInterpolationMethod(source.get(), method);
        return [source, size = scene.TheJob().target] {
            Image target(gdImageScale(source.get(), static_cast<unsigned>(size.width),
                                      static_cast<unsigned>(size.height)));
            if (target == nullptr) throw std::runtime_error("libgd did not scale");
            return std::make_unique<ImageResult>(std::move(target));
        };
    };
    return {"libgd " + std::move(name), kinship, std::move(reason), Level::Baseline, prepare};
}

struct Method {
    std::string name;
    gdInterpolationMethod method;
};

std::optional<Method> MethodOf(const Job& job) {
    if (KeepsSize(job) && job.mode != Mode::Mitchell) return std::nullopt;
    switch (job.mode) {
        case Mode::Triangle:
            return Method{"triangle", GD_TRIANGLE};
        case Mode::Box:
            return Reduces(job) ? Method{"box", GD_BOX}
                                : Method{"nearest neighbour", GD_NEAREST_NEIGHBOUR};
        case Mode::Lanczos3:
            return Method{"Lanczos3", GD_LANCZOS3};
        case Mode::Lanczos8:
            return Method{"Lanczos8", GD_LANCZOS8};
        case Mode::Mitchell:
            return Method{"Mitchell", GD_MITCHELL};
        default:
            return std::nullopt;
    }
}

}  // namespace

std::vector<Offer> LibgdOffers(const Job& job) {
    if (job.task == Task::SmoothEnlargement) {
        return {ScaleOffer("bilinear fixed", Kinship::SameWork,
                           "two taps per axis, weights linear instead of smooth",
                           GD_BILINEAR_FIXED)};
    }
    if (job.task != Task::Resampling) return {};
    const auto method = MethodOf(job);
    if (!method) return {};
    return {ScaleOffer(method->name, Kinship::SameJob, "same kernel", method->method)};
}

std::string LibgdVersion() {
    return std::string("libgd ") + gdVersionString();
}

}  // namespace bench
