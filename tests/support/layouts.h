// Pairs of pixel layouts and sizes for contract tests: what a source picture is like and what the
// host makes new pictures like. Rows of such hosts have padding and stand against guard pages.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/reference/image.h"
#include "tests/support/session.h"

namespace contract {

struct Size {
    int width;
    int height;
};

std::ostream& operator<<(std::ostream& stream, Size size);

struct Layouts {
    int source;
    int destination;    // of pictures that the host makes
    bool alphaChannel;  // of the source
};

/// A name that test programs accept: "Layout3To6".
std::ostream& operator<<(std::ostream& stream, const Layouts& layouts);

/// The console's layout, both layouts of pictures with an alpha channel, and every pair of the six
/// layouts of bitmap contexts.
std::vector<Layouts> AllLayouts();

/// A host that makes pictures in the destination's layout, padded and guarded.
HostSettings GuardedHost(const Layouts& layouts);

/// A picture in the source's layout; its rows are padded and guarded as its host's are.
PictureOptions SourceOptions(const Layouts& layouts, Size size);

/// "Layout3To6, 7 x 5 to 11 x 9" and whatever else there is to say.
std::string Describe(const Layouts& layouts, Size from, Size to, const std::string& more = {});

/// The colours of the image in another layout, opaque: what drawing an opaque picture gives.
reference::Image InLayout(const reference::Image& image, int format);

}  // namespace contract
