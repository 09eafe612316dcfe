// The tiny host's services. Only those that a scaling call of an opaque picture needs are there.
#include "tests/platform_absent/tiny_host.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace platform_absent {
namespace {

TinyHost* current = nullptr;

std::vector<TinyPicture*>& All() {
    static std::vector<TinyPicture*> all;
    return all;
}

double ReportVersion() {
    return 2012.0;
}

void TakeInterfaceVersion(std::int32_t /*version*/) {
}

void TakeExtension(REALclassDefinition* definition) {
    for (std::int64_t index = 0; index < definition->methodCount; ++index) {
        const std::string_view declaration = definition->methods[index].declaration;
        if (declaration.starts_with("ScalingZVK(")) {
            current->scaling = definition->methods[index].function;
        }
    }
}

void Yield() {
    ++current->yields;
}

void AddReference(REALobject object) {
    ++TinyPicture::Of(static_cast<REALpicture>(object)).references;
}

void ReleaseReference(REALobject object) {
    --TinyPicture::Of(static_cast<REALpicture>(object)).references;
}

REALpicture NewPicture(REALinteger width, REALinteger height, REALinteger /*depth*/) {
    current->created.push_back(
        std::make_unique<TinyPicture>(static_cast<int>(width), static_cast<int>(height)));
    return current->created.back()->Handle();
}

REALboolean LockDescription(REALpicture picture, REALpictureDescription* description,
                            REALinteger kind) {
    if (kind != static_cast<REALinteger>(current->kind)) return 0;
    TinyPicture& tinyPicture = TinyPicture::Of(picture);
    tinyPicture.Describe(*description, current->kind);
    ++tinyPicture.locks;
    ++current->locksGranted;
    return 1;
}

void UnlockDescription(REALpicture picture) {
    --TinyPicture::Of(picture).locks;
    ++current->locksReturned;
}

struct Entry {
    std::string_view name;
    REALfunction function;
};

REALfunction Resolve(const char* name) {
    static const std::vector<Entry> entries = {
        {"REALGetRBVersion", reinterpret_cast<REALfunction>(&ReportVersion)},
        {"RegisterPluginVersion", reinterpret_cast<REALfunction>(&TakeInterfaceVersion)},
        {"PluginRegisterClassExtension", reinterpret_cast<REALfunction>(&TakeExtension)},
        {"REALYieldToRB", reinterpret_cast<REALfunction>(&Yield)},
        {"REALLockObject", reinterpret_cast<REALfunction>(&AddReference)},
        {"REALUnlockObject", reinterpret_cast<REALfunction>(&ReleaseReference)},
        {"newPicture", reinterpret_cast<REALfunction>(&NewPicture)},
        {"REALLockPictureDescription", reinterpret_cast<REALfunction>(&LockDescription)},
        {"unlockPictureDescription", reinterpret_cast<REALfunction>(&UnlockDescription)},
    };
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const Entry& entry) { return entry.name == name; });
    return found == entries.end() ? nullptr : found->function;
}

}  // namespace

TinyPicture::TinyPicture(int width, int height)
    : rows_(static_cast<std::size_t>(height),
            std::vector<std::uint32_t>(static_cast<std::size_t>(width))) {
    for (auto& row : rows_)
        rowTable_.push_back(reinterpret_cast<int*>(row.data()));
    image_.sx = width;
    image_.sy = height;
    image_.trueColor = 1;
    image_.tpixels = rowTable_.data();
    All().push_back(this);
}

TinyPicture::~TinyPicture() {
    std::erase(All(), this);
}

REALpicture TinyPicture::Handle() {
    return &handle_;
}

TinyPicture& TinyPicture::Of(REALpicture handle) {
    const auto found = std::find_if(All().begin(), All().end(), [&](TinyPicture* picture) {
        return picture->Handle() == handle;
    });
    return **found;
}

void TinyPicture::Describe(REALpictureDescription& description, REALdescriptionKind kind) {
    description.kind = kind;
    description.handle = &image_;
    description.width = image_.sx;
    description.height = image_.sy;
}

LoadedPlugin::LoadedPlugin(TinyHost& host) : library_(dlopen(ZVK_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) throw std::runtime_error(dlerror());
    current = &host;
    const auto entry = reinterpret_cast<void (*)(REALresolver)>(dlsym(library_, "REALPluginMain"));
    if (entry == nullptr) throw std::runtime_error("the plugin has no entry point");
    entry(&Resolve);
    if (host.scaling == nullptr) throw std::runtime_error("ScalingZVK was not registered");
}

LoadedPlugin::~LoadedPlugin() {
    current = nullptr;
    dlclose(library_);
}

REALpicture LoadedPlugin::Scaling(REALpicture picture, std::int64_t mode, std::int64_t width,
                                  std::int64_t height, std::int64_t yield) const {
    using Signature = REALpicture(REALpicture, REALinteger, REALinteger, REALinteger, REALinteger);
    return reinterpret_cast<Signature*>(current->scaling)(picture, mode, width, height, yield);
}

}  // namespace platform_absent
