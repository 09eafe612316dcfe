// Makes any bytes fit to be shown. It must not depend on the locale.
#include "workbench/reports/text_line.h"

#include <array>
#include <cstdio>

namespace workbench {

std::string OneLine(std::string_view text) {
    constexpr std::size_t longestLine = 2000;
    std::string line;
    for (const char character : text.substr(0, longestLine)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7F) {
            line += character;
        } else if (character == '\n') {
            line += "\\n";
        } else if (character == '\t') {
            line += "\\t";
        } else {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02x", unsigned{byte});
            line += escape.data();
        }
    }
    if (text.size() > longestLine) line += "...";
    return line;
}

std::string Joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

std::string Fixed(double value, int digits) {
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

}  // namespace workbench
