// Loading of plugins that are shared libraries of the system's own format.
// Called by the program and by tests; never runs anything of the plugin but its initialisers.
#include "workbench/host/plugin_library.h"

#include <dlfcn.h>

#include <string>
#include <system_error>

namespace workbench {

namespace {

constexpr const char* entryName = "REALPluginMain";

struct LibraryCloser {
    void operator()(void* handle) const { dlclose(handle); }
};

std::string LoaderMessage() {
    const char* message = dlerror();
    return message == nullptr ? "unknown error" : message;
}

class SharedLibrary : public PluginLibrary {
  public:
    explicit SharedLibrary(const std::filesystem::path& file)
        // A path without a slash would be searched for among the system's libraries.
        : handle_(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            throw PluginError("cannot load the plugin " + file.string() + ": " + LoaderMessage());
        }
        entry_ = reinterpret_cast<Entry>(dlsym(handle_.get(), entryName));
        if (entry_ == nullptr) {
            throw PluginError("the library " + file.string() + " is no plugin: it has no " +
                              entryName);
        }
    }

    Entry EntryPoint() const override { return entry_; }

  private:
    std::unique_ptr<void, LibraryCloser> handle_;
    Entry entry_ = nullptr;
};

}  // namespace

std::unique_ptr<PluginLibrary> OpenSharedLibrary(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        throw PluginError("cannot load the plugin " + file.string() + ": there is no such file");
    }
    return std::make_unique<SharedLibrary>(file);
}

}  // namespace workbench
