// Loads the plugin into a host of its own and checks the books when the session ends.
#include "tests/support/session.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/plugin_under_test.h"
#include "workbench/plugins/open_plugin.h"

namespace contract {
namespace {

HostSettings Reporting(HostSettings settings) {
    settings.onUnclean = [](const std::string& report) { ADD_FAILURE() << report; };
    return settings;
}

// Anything but 0 is true to a host, and not every host says 1.
REALboolean HostBoolean(bool value) {
    return value ? -1 : 0;
}

}  // namespace

Session::Session(HostSettings settings, const std::function<void(Session&)>& prepare)
    : Session(workbench::OpenPlugin(PluginUnderTest()), std::move(settings), prepare) {
}

Session::Session(std::unique_ptr<workbench::PluginLibrary> library, HostSettings settings,
                 const std::function<void(Session&)>& prepare)
    : library_(std::move(library)),
      host_(std::make_unique<Host>(Reporting(std::move(settings)))),
      allocations_(std::make_unique<PluginAllocations>(*library_)) {
    if (prepare) prepare(*this);
    host_->LoadPlugin(*library_);
    blocksKept_ = allocations_->LiveBlocks();
    refusedWhileLoading_ = allocations_->Refused();
    allocations_->GrantAll();
    host_->Failing().ForgetCalls();
}

Session::~Session() {
    EXPECT_EQ(allocations_->LiveBlocks(), blocksKept_) << "blocks of working memory before and now";
    host_.reset();
    allocations_->FreeKept();
    allocations_.reset();
}

Held<Picture> Session::Scaling(REALpicture picture, std::int64_t mode, std::int64_t width,
                               std::int64_t height, std::int64_t yield) {
    using Signature = REALpicture(REALpicture, REALinteger, REALinteger, REALinteger, REALinteger);
    return host_->Adopt(Method<Signature>("ScalingZVK")(picture, mode, width, height, yield));
}

Held<Picture> Session::Scale(REALpicture picture, std::int64_t width, std::int64_t height,
                             bool antiAlias, std::int64_t yieldTicks) {
    using Signature = REALpicture(REALpicture, REALinteger, REALinteger, REALboolean, REALinteger);
    return host_->Adopt(
        Method<Signature>("ScaleZVK")(picture, width, height, HostBoolean(antiAlias), yieldTicks));
}

Held<Picture> Session::ScaleImageAndMask(REALpicture picture, std::int64_t width,
                                         std::int64_t height, bool antiAlias,
                                         std::int64_t yieldTicks) {
    using Signature = REALpicture(REALpicture, REALinteger, REALinteger, REALboolean, REALinteger);
    return host_->Adopt(Method<Signature>("ScaleImageAndMaskZVK")(
        picture, width, height, HostBoolean(antiAlias), yieldTicks));
}

Held<Picture> Session::Blur(REALpicture picture, double radius, std::int64_t yield) {
    using Signature = REALpicture(REALpicture, double, REALinteger);
    return host_->Adopt(Method<Signature>("BlurZVK")(picture, radius, yield));
}

bool Session::DrawPicture(REALpicture self, REALpicture picture, double x, double y, double alpha,
                          std::int64_t yield) const {
    using Signature = REALboolean(REALpicture, REALpicture, double, double, double, REALinteger);
    return Method<Signature>("DrawPictureFZVK")(self, picture, x, y, alpha, yield) != 0;
}

void Session::YieldAlways() {
    constexpr std::uint64_t second = 1'000'000'000;
    host_->Time().Set(second);
    host_->Time().AdvanceAtEachReading(second);
}

void Session::UnlockDescription(REALpicture picture) {
    const auto function = reinterpret_cast<void (*)(REALpicture)>(
        Host::Resolver()(workbench::Info(Service::REALUnlockPictureDescription).name.data()));
    function(picture);
}

void Session::KeepTrace() {
    host_->Tracing().Clear();
    host_->Tracing().Keep(true);
}

std::vector<std::string> Session::ServicesCalled() {
    std::vector<std::string> names;
    for (const workbench::TraceEntry& entry : host_->Tracing().Entries()) {
        if (!entry.missing) names.push_back(entry.name);
    }
    return names;
}

std::vector<std::string> Session::CallsOf(Service service) {
    std::vector<std::string> lines;
    for (const workbench::TraceEntry& entry : host_->Tracing().Entries()) {
        if (!entry.missing && entry.service == service) lines.push_back(entry.Line());
    }
    return lines;
}

REALfunction Session::FunctionOf(std::string_view name) const {
    const std::string start = std::string(name) + "(";
    for (const workbench::RegisteredMethod& method : host_->Methods()) {
        if (method.declaration.starts_with(start)) return method.function;
    }
    throw std::runtime_error("the plugin registered no method " + std::string(name));
}

PictureOptions Sized(int width, int height) {
    PictureOptions options;
    options.width = width;
    options.height = height;
    return options;
}

HostSettings Desktop(int layout) {
    HostSettings settings;
    settings.runtime = Runtime::Desktop;
    settings.layout = layout;
    return settings;
}

HostSettings Console() {
    HostSettings settings;
    settings.runtime = Runtime::Console;
    return settings;
}

}  // namespace contract
