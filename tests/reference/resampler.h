// Two-pass resampling with one of the seven filters: every row to the new width, then every column
// of that to the new height. Called by tests that compare the plugin's method with it.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/reference/image.h"

namespace reference {

/// Destination columns and rows for whose list no memory could be had: they come out black.
struct FailedLists {
    std::vector<std::int64_t> columns;
    std::vector<std::int64_t> rows;
};

/// The source resampled to `width` by `height` in the layout `format`, always opaque.
Image Resample(const Image& source, int mode, std::int64_t width, std::int64_t height, int format,
               const FailedLists& failed = {});

}  // namespace reference
