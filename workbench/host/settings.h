// What kind of host to be: chosen once, when a Host is made.
// Plain data, read by the host and by the pictures it makes.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace workbench {

class Picture;

/// Which runtime the host stands for: it decides what a new picture's memory is.
enum class Runtime {
    Console,  // truecolor libgd images
    Desktop,  // bitmap contexts
};

struct HostSettings {
    Runtime runtime = Runtime::Desktop;

    /// What the host reports as its version. Without a value the version service is missing and
    /// the host counts as older than every version known.
    std::optional<double> version = 2012.0;

    /// Layout, 1 to 6, of new bitmap contexts. A picture with an alpha channel is premultiplied
    /// always: layout 2 when this is even, else 1.
    int layout = 1;

    /// Bytes behind each row of a new bitmap context; a multiple of 4.
    std::size_t rowPadding = 0;

    /// Puts picture memory against inaccessible pages, so that a step outside a row is a crash.
    bool guardPages = false;

    /// Names of services that the resolver does not know. An unknown name is refused.
    std::set<std::string> missingServices = {};

    /// Which of the application classes exist ("Application", "WebApplication",
    /// "ConsoleApplication"); without a value the one of the runtime.
    std::optional<std::set<std::string>> applicationClasses = std::nullopt;

    /// A picture of more bytes of pixels than this cannot be made.
    std::size_t maximumPictureBytes = std::size_t{1} << 31U;

    /// Called with each picture that the plugin had made, before it learns of it: lets tests make a
    /// host whose new pictures are not what was asked for. Must not throw.
    std::function<void(Picture& picture)> onNewPicture = {};

    /// Called by the host's destructor with a report when objects, references or locks are left
    /// over or handles were misused. Without a function the report goes to standard error and
    /// the process aborts, so that no such error is overlooked. Must not throw.
    std::function<void(const std::string& report)> onUnclean = {};
};

}  // namespace workbench
