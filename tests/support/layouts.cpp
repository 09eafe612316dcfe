// Layout pairs and the hosts and pictures that have them.
#include "tests/support/layouts.h"

#include <cstddef>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/reference/image.h"
#include "tests/support/session.h"

namespace contract {

std::ostream& operator<<(std::ostream& stream, Size size) {
    return stream << size.width << " x " << size.height;
}

std::ostream& operator<<(std::ostream& stream, const Layouts& layouts) {
    stream << "Layout" << layouts.source << "To" << layouts.destination;
    return stream << (layouts.alphaChannel ? "WithAlphaChannel" : "");
}

std::vector<Layouts> AllLayouts() {
    constexpr int last = 6;
    std::vector<Layouts> all = {{8, 8, false}, {1, 1, true}, {2, 2, true}};
    for (int source = 1; source <= last; ++source) {
        for (int destination = 1; destination <= last; ++destination) {
            all.push_back({source, destination, false});
        }
    }
    return all;
}

HostSettings GuardedHost(const Layouts& layouts) {
    const bool console = layouts.destination == workbench::consoleLayout;
    HostSettings settings = console ? Console() : Desktop(layouts.destination);
    if (!console) settings.rowPadding = 12;
    settings.guardPages = true;
    return settings;
}

PictureOptions SourceOptions(const Layouts& layouts, Size size) {
    PictureOptions options = Sized(size.width, size.height);
    options.alphaChannel = layouts.alphaChannel;
    if (layouts.source != workbench::consoleLayout && !layouts.alphaChannel) {
        options.layout = layouts.source;
    }
    return options;
}

std::string Describe(const Layouts& layouts, Size from, Size to, const std::string& more) {
    std::ostringstream text;
    text << layouts << ", " << from << " to " << to << ", " << more;
    return text.str();
}

reference::Image InLayout(const reference::Image& image, int format) {
    reference::Image result(image.width, image.height, format);
    for (std::size_t i = 0; i < image.words.size(); ++i) {
        result.words[i] =
            reference::EncodeOpaque(reference::Decode(image.words[i], image.format), format);
    }
    return result;
}

}  // namespace contract
