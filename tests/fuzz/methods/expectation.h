// What a call must do where nothing fails and nobody changes pixels in a yield: the methods'
// documented results, with pixels by the references.
#pragma once

#include <cstdint>
#include <optional>

#include "tests/fuzz/methods/case.h"
#include "tests/fuzz/methods/scene.h"
#include "tests/reference/image.h"

namespace fuzz {

struct Expectation {
    enum class Result { Unknown, Nil, Receiver, NewPicture, Drawn, Exception };
    Result result = Result::Unknown;
    bool alphaChannel = false;               // of a new picture
    std::optional<reference::Image> pixels;  // of a new picture, or of the memory drawn into
    std::optional<reference::Image> mask;    // of a new picture

    /// How often an interval that always yields does; nothing where no page says it.
    std::optional<std::uint64_t> yieldPoints;
};

/// Whether nothing fails, and no yield of the call does anything that a result depends on.
bool IsPredictable(const Case& value);

/// What the call must do. To be asked before the call is made.
Expectation Expect(Session& session, const Case& value, const Scene& scene);

}  // namespace fuzz
