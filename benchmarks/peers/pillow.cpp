// Pillow in this process: the core functions behind its methods, called through Python's C
// interface without a line of Python between. Pictures are of its mode RGB, which keeps four bytes
// per pixel and computes three, as our methods do.
#include <Python.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

struct Unreferencer {
    void operator()(PyObject* object) const { Py_DECREF(object); }
};
using Object = std::unique_ptr<PyObject, Unreferencer>;

Object Checked(PyObject* object) {
    if (object == nullptr) {
        PyErr_Print();
        throw std::runtime_error("Pillow refused a job");
    }
    return Object(object);
}

void Require(const PyStatus& status) {
    if (PyStatus_Exception(status) != 0) throw std::runtime_error("Python does not start");
}

// The interpreter, once per process and until its end: modules written in C do not survive a
// second one.
PyObject* ImageModule() {
    static PyObject* const module = [] {
        PyConfig config;
        PyConfig_InitIsolatedConfig(&config);
        // Elsewhere there may be an interpreter that knows nothing of the system's Pillow.
        Require(PyConfig_SetBytesString(&config, &config.home, ZVK_PYTHON_HOME));
        config.site_import = 1;
        Require(Py_InitializeFromConfig(&config));
        PyConfig_Clear(&config);
        return Checked(PyImport_ImportModule("PIL.Image")).release();
    }();
    return module;
}

Object Attribute(PyObject* object, const char* name) {
    return Checked(PyObject_GetAttrString(object, name));
}

// The core object of an image with these pixels.
Object CoreOf(const Pixels& pixels) {
    const Object bytes = Checked(PyBytes_FromStringAndSize(
        reinterpret_cast<const char*>(pixels.data), static_cast<Py_ssize_t>(pixels.ByteCount())));
    const Object image = Checked(PyObject_CallMethod(ImageModule(), "frombytes", "s(ii)Oss", "RGB",
                                                     pixels.size.width, pixels.size.height,
                                                     bytes.get(), "raw", "RGBX"));
    return Attribute(image.get(), "im");
}

class CoreResult final : public Result {
  public:
    explicit CoreResult(Object core) : core_(std::move(core)) {}

    Raster Colours() const override {
        const Object empty = Checked(PyObject_CallMethod(ImageModule(), "Image", nullptr));
        const Object image = Checked(PyObject_CallMethod(empty.get(), "_new", "O", core_.get()));
        const Object bytes = Checked(PyObject_CallMethod(image.get(), "tobytes", nullptr));
        const auto* const begin =
            reinterpret_cast<const std::uint8_t*>(PyBytes_AsString(bytes.get()));
        const auto width = PyLong_AsLong(Attribute(image.get(), "width").get());
        const auto height = PyLong_AsLong(Attribute(image.get(), "height").get());
        return {{static_cast<int>(width), static_cast<int>(height)},
                {begin, begin + PyBytes_Size(bytes.get())}};
    }

  private:
    Object core_;
};

// An offer to call a method of the core with arguments that are made beforehand.
Offer CoreOffer(std::string name, Kinship kinship, std::string reason, const char* method,
                std::function<Object(const Job&)> arguments) {
    const auto prepare = [method, arguments = std::move(arguments)](const Scene& scene) -> Work {
        const Object core = CoreOf(scene.Source());
        const std::shared_ptr<PyObject> function = Attribute(core.get(), method);
        const std::shared_ptr<PyObject> tuple = arguments(scene.TheJob());
        return [function, tuple] {
            return std::make_unique<CoreResult>(
                Checked(PyObject_CallObject(function.get(), tuple.get())));
        };
    };
    return {"Pillow " + std::move(name), kinship, std::move(reason), Level::Baseline, prepare};
}

// Pillow's numbers for its filters.
enum class Resampling : int { Lanczos = 1, Bilinear = 2, Bicubic = 3, Box = 4 };

Offer ResizeOffer(const std::string& name, Kinship kinship, const std::string& reason,
                  Resampling filter) {
    return CoreOffer("resize " + name, kinship, reason, "resize", [filter](const Job& job) {
        return Checked(Py_BuildValue(
            "((ii)i(ffff))", job.target.width, job.target.height, static_cast<int>(filter), 0.0,
            0.0, static_cast<double>(job.source.width), static_cast<double>(job.source.height)));
    });
}

Offer ReduceOffer(Kinship kinship, const std::string& reason) {
    return CoreOffer("reduce", kinship, reason, "reduce", [](const Job& job) {
        return Checked(Py_BuildValue("((ii)(iiii))", job.source.width / job.target.width,
                                     job.source.height / job.target.height, 0, 0, job.source.width,
                                     job.source.height));
    });
}

bool HasWholeBlocks(const Job& job) {
    return Reduces(job) && job.source.width % job.target.width == 0 &&
           job.source.height % job.target.height == 0;
}

std::vector<Offer> ResamplingOffers(const Job& job) {
    if (KeepsSize(job)) {
        if (job.mode == Mode::Mitchell) return {};
        return {ResizeOffer("to the same size", Kinship::SameJob, "a copy", Resampling::Bilinear)};
    }
    const std::string same = "same kernel and area weighting";
    std::vector<Offer> offers;
    switch (job.mode) {
        case Mode::Triangle:
            offers.push_back(ResizeOffer("BILINEAR", Kinship::SameJob, same, Resampling::Bilinear));
            break;
        case Mode::Box:
            offers.push_back(ResizeOffer("BOX", Kinship::SameJob, same, Resampling::Box));
            if (HasWholeBlocks(job))
                offers.push_back(ReduceOffer(Kinship::SameJob, "box of whole pixels"));
            break;
        case Mode::Lanczos3:
            offers.push_back(ResizeOffer("LANCZOS", Kinship::SameJob, same, Resampling::Lanczos));
            break;
        case Mode::Bicubic:
            offers.push_back(ResizeOffer("BICUBIC", Kinship::Neighbour, "another kernel, a = -0.5",
                                         Resampling::Bicubic));
            break;
        default:
            break;
    }
    return offers;
}

std::vector<Offer> FastScalingOffers(const Job& job) {
    const std::string reason = "averages whole blocks, of all their rows";
    std::vector<Offer> offers;
    offers.push_back(ResizeOffer("BOX", Kinship::SameWork, reason, Resampling::Box));
    if (HasWholeBlocks(job)) offers.push_back(ReduceOffer(Kinship::SameWork, reason));
    return offers;
}

Offer BlurOffer() {
    return CoreOffer("BoxBlur", Kinship::SameJob, "box of the same side, rounded to nearest",
                     "box_blur", [](const Job& job) {
                         return Checked(Py_BuildValue("(fi)", static_cast<double>(job.radius), 1));
                     });
}

}  // namespace

std::vector<Offer> PillowOffers(const Job& job) {
    switch (job.task) {
        case Task::Resampling:
            return ResamplingOffers(job);
        case Task::FastScaling:
            return FastScalingOffers(job);
        case Task::SmoothEnlargement:
            return {ResizeOffer("BILINEAR", Kinship::SameWork,
                                "two taps per axis, weights linear instead of smooth",
                                Resampling::Bilinear)};
        case Task::Blur:
            return {BlurOffer()};
        case Task::Drawing:
            break;
    }
    return {};
}

std::string PillowVersion() {
    const Object version = Attribute(ImageModule(), "__version__");
    return std::string("Pillow ") + PyUnicode_AsUTF8(version.get());
}

}  // namespace bench
