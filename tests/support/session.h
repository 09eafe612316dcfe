// One host with one freshly loaded plugin, for one case of a contract test: methods are called as
// a host calls them, through what the plugin registered. When the session ends everything must
// have been given back; what was not fails the test with the history of each object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostapi/host_types.h"
#include "tests/support/plugin_allocations.h"
#include "workbench/host/host.h"

namespace contract {

using workbench::Held;
using workbench::Host;
using workbench::HostSettings;
using workbench::Picture;
using workbench::PictureOptions;
using workbench::Runtime;
using workbench::Service;

/// Options for a picture of a size, everything else following the host's settings.
PictureOptions Sized(int width, int height);

class Session {
  public:
    /// `prepare` is run before the plugin is loaded.
    explicit Session(HostSettings settings = {},
                     const std::function<void(Session&)>& prepare = nullptr);

    /// The same with a library of the caller's choice instead of the plugin under test.
    Session(std::unique_ptr<workbench::PluginLibrary> library, HostSettings settings,
            const std::function<void(Session&)>& prepare = nullptr);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Fails the test if objects, references, locks or working memory are left over.
    ~Session();

    Host& host() { return *host_; }
    PluginAllocations& allocations() { return *allocations_; }

    /// Requests for memory that were refused while the plugin was loaded.
    std::uint64_t RefusedWhileLoading() const { return refusedWhileLoading_; }

    /// A new picture as the host's settings have it, or as the options say.
    Held<Picture> Create(int width, int height) { return Create(Sized(width, height)); }
    Held<Picture> Create(const PictureOptions& options) { return host_->CreatePicture(options); }

    // The five methods. A picture returned comes with the one reference that the plugin gives.
    Held<Picture> Scaling(REALpicture picture, std::int64_t mode, std::int64_t width,
                          std::int64_t height, std::int64_t yield = 0);
    Held<Picture> Scale(REALpicture picture, std::int64_t width, std::int64_t height,
                        bool antiAlias = false, std::int64_t yieldTicks = 0);
    Held<Picture> ScaleImageAndMask(REALpicture picture, std::int64_t width, std::int64_t height,
                                    bool antiAlias = false, std::int64_t yieldTicks = 0);
    Held<Picture> Blur(REALpicture picture, double radius, std::int64_t yield = 0);
    bool DrawPicture(REALpicture self, REALpicture picture, double x, double y, double alpha = 1.0,
                     std::int64_t yield = 0) const;

    /// The function of the method whose declaration starts with `name` and a parenthesis. Throws
    /// std::runtime_error if the plugin registered none.
    template <typename Signature>
    Signature* Method(std::string_view name) const {
        return reinterpret_cast<Signature*>(FunctionOf(name));
    }

    /// Makes every yield point yield: the clock moves by a second whenever it is read.
    void YieldAlways();

    /// How often the plugin gave time to the host.
    std::uint64_t Yields() const { return host_->Calls(Service::REALYieldToRB); }

    /// Calls a host service as the host itself would, to put right what a test made the plugin
    /// leave behind.
    void UnlockDescription(REALpicture picture);

    /// Starts keeping the calls of services, forgetting earlier ones.
    void KeepTrace();

    /// The names of the services and host methods called since KeepTrace, in order. Searches for
    /// missing services are left out.
    std::vector<std::string> ServicesCalled();

    /// The calls of one service since KeepTrace, with arguments and result, in order.
    std::vector<std::string> CallsOf(Service service);

  private:
    REALfunction FunctionOf(std::string_view name) const;

    std::unique_ptr<workbench::PluginLibrary> library_;
    std::unique_ptr<Host> host_;
    std::unique_ptr<PluginAllocations> allocations_;
    std::size_t blocksKept_ = 0;
    std::uint64_t refusedWhileLoading_ = 0;
};

/// Settings of a host of one runtime; `layout` is that of new desktop pictures.
HostSettings Desktop(int layout = 1);
HostSettings Console();

}  // namespace contract
