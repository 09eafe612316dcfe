// Loads builds of the plugin and turns jobs into calls of its methods.
// The files of the builds are named by the build system.
#include "benchmarks/plugin_levels.h"

#include <array>
#include <cstddef>
#include <utility>

namespace bench {

namespace {

using workbench::Host;

constexpr std::array levelNames{"baseline", "sse41", "avx2", "avx512"};

std::optional<Level> LevelOf(std::string_view name) {
    for (std::size_t index = 0; index < levelNames.size(); ++index) {
        if (name == levelNames[index]) return static_cast<Level>(index);
    }
    return std::nullopt;
}

using ScalingMethod = REALpicture(REALpicture, REALinteger, REALinteger, REALinteger, REALinteger);
using ScaleMethod = REALpicture(REALpicture, REALinteger, REALinteger, REALboolean, REALinteger);
using BlurMethod = REALpicture(REALpicture, double, REALinteger);
using DrawingMethod = REALboolean(REALpicture, REALpicture, double, double, double, REALinteger);

template <typename Method>
Method* As(REALfunction function) {
    return reinterpret_cast<Method*>(function);
}

/// A method's result in the host's hands; throws if there is none.
std::unique_ptr<Result> Taken(Host& host, REALpicture picture) {
    if (picture == nullptr) throw std::runtime_error("a method of the plugin gave no picture");
    return std::make_unique<PictureResult>(host.Adopt(picture));
}

Work ResamplingWork(const Scene& scene, ScalingMethod* method) {
    return [&scene, method] {
        const Job& job = scene.TheJob();
        return Taken(scene.TheHost(), method(scene.SourceHandle(), static_cast<int>(job.mode),
                                             job.target.width, job.target.height, 0));
    };
}

Work ScaleWork(const Scene& scene, ScaleMethod* method, bool antiAlias) {
    return [&scene, method, antiAlias] {
        const Size target = scene.TheJob().target;
        return Taken(scene.TheHost(), method(scene.SourceHandle(), target.width, target.height,
                                             antiAlias ? 1 : 0, 0));
    };
}

Work BlurWork(const Scene& scene, BlurMethod* method) {
    return [&scene, method] {
        return Taken(scene.TheHost(), method(scene.SourceHandle(), scene.TheJob().radius, 0));
    };
}

Work DrawingWork(const Scene& scene, DrawingMethod* method) {
    return [&scene, method, canvas = scene.NewCanvas()] {
        const Size corner = DrawingCorner(scene.TheJob());
        const REALboolean drawn =
            method(canvas->Handle(), scene.SourceHandle(), corner.width + drawingFraction,
                   corner.height + drawingFraction, 1.0, 0);
        if (drawn == 0) throw std::runtime_error("a method of the plugin did not draw");
        return canvas->AsResult();
    };
}

}  // namespace

std::vector<PluginBuild> ExistingBuilds() {
    constexpr std::array<std::pair<const char*, const char*>, ZVK_BUILD_COUNT> files{{ZVK_BUILDS}};
    std::vector<PluginBuild> builds;
    builds.reserve(files.size());
    for (const auto& [name, file] : files)
        builds.push_back({name, LevelOf(name), file});
    return builds;
}

Level HighestLevel() {
    if (!__builtin_cpu_supports("sse4.1")) return Level::Baseline;
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return Level::Sse41;
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512vnni");
    return avx512 ? Level::Avx512 : Level::Avx2;
}

std::string NameOf(Level level) {
    return levelNames[static_cast<std::size_t>(level)];
}

LoadedPlugin::LoadedPlugin(Host& host, const PluginBuild& build)
    : name_(build.name),
      level_(build.level.value_or(HighestLevel())),
      library_(workbench::OpenSharedLibrary(build.file)) {
    const std::size_t before = host.Methods().size();
    library_->EntryPoint()(ResultPictures::Resolver());
    const std::vector<std::string> problems = host.RegistrationProblems();
    if (!problems.empty()) throw workbench::PluginError(build.name + ": " + problems.front());
    methods_.assign(host.Methods().begin() + static_cast<std::ptrdiff_t>(before),
                    host.Methods().end());
}

Offer LoadedPlugin::OfferFor(const Job& job) const {
    Offer offer{name_, Kinship::Ours, "", level_, nullptr};
    switch (job.task) {
        case Task::Resampling:
            offer.prepare = [method = As<ScalingMethod>(Find("ScalingZVK"))](const Scene& scene) {
                return ResamplingWork(scene, method);
            };
            break;
        case Task::FastScaling:
        case Task::SmoothEnlargement:
            offer.prepare = [method = As<ScaleMethod>(Find("ScaleZVK")),
                             smooth = job.task == Task::SmoothEnlargement](const Scene& scene) {
                return ScaleWork(scene, method, smooth);
            };
            break;
        case Task::Blur:
            offer.prepare = [method = As<BlurMethod>(Find("BlurZVK"))](const Scene& scene) {
                return BlurWork(scene, method);
            };
            break;
        case Task::Drawing:
            offer.prepare = [method = As<DrawingMethod>(Find("DrawPictureFZVK"))](
                                const Scene& scene) { return DrawingWork(scene, method); };
            break;
    }
    return offer;
}

REALfunction LoadedPlugin::Find(std::string_view method) const {
    const std::string start = std::string(method) + "(";
    for (const workbench::RegisteredMethod& registered : methods_) {
        if (registered.declaration.starts_with(start)) return registered.function;
    }
    throw workbench::PluginError(name_ + " registered no method " + std::string(method));
}

}  // namespace bench
