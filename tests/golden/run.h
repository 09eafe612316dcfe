// Runs a case by a plugin in a host of its own, made for the case.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/golden/golden_case.h"
#include "tests/golden/pixels.h"
#include "tests/reference/image.h"

namespace golden {

/// The pictures of a case as they are before the call.
struct Inputs {
    reference::Image picture{0, 0, 1};
    std::optional<reference::Image> mask;      // the picture's own, or what the host makes of its
                                               // alpha channel where the call asks for that
    std::optional<reference::Image> receiver;  // of a drawing
};

/// What a call gives: a picture, or the receiver drawn onto, and the mask if it has one.
struct Results {
    Pixels picture;
    std::optional<Pixels> mask;

    friend bool operator==(const Results&, const Results&) = default;
};

/// A call's results, or a word that says why there are none: "nil" and "false" are what the method
/// returned, "exception" was raised, "overrun" means that bytes behind the rows were written,
/// "leftover" that something was not given back.
struct Outcome {
    Inputs inputs;
    Results results;
    std::string failure;
    std::string report;  // what was left over, with its history
    std::uint64_t yields = 0;
};

/// Throws workbench::PluginError for a plugin that does not load or lacks the method.
Outcome RunCase(const Case& item, const std::filesystem::path& plugin);

/// What the list says of an outcome: eight hexadecimal digits, eight more behind a plus sign for a
/// mask, or the word of the failure.
std::string Checksum(const Outcome& outcome);

/// The checksum of results.
std::string Checksum(const Results& results);

}  // namespace golden
