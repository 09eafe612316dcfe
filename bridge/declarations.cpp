// The two rewritings of declarations, in a fixed line of text whose end cuts off what is too long.
#include "bridge/declarations.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace zvk {

namespace {

// One byte is kept back for the terminating zero.
constexpr std::size_t lineLength = 999;
using Line = std::array<char, lineLength + 1>;

// Copies `text` into the zeroed line up to the first of `stops` and returns how far it came.
std::size_t CopyUpTo(Line& line, const char* text, const char* stops) {
    std::size_t length = std::strcspn(text, stops);
    if (length > lineLength) length = lineLength;
    std::memcpy(line.data(), text, length);
    return length;
}

// Writes formatted text behind the first `position` characters of the line. The limit counts the
// terminating zero and leaves the line's own last byte alone.
template <typename... Arguments>
void WriteBehind(Line& line, std::size_t position, const char* format, Arguments... arguments) {
    std::snprintf(line.data() + position, lineLength - position, format, arguments...);
}

}  // namespace

Buffer<char> CopyString(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    Buffer<char> copy = AllocateZeroed<char>(static_cast<std::int64_t>(size));
    if (copy != nullptr) std::memcpy(copy.get(), text, size);
    return copy;
}

Buffer<char> AddClassParameter(const char* declaration, const char* className) {
    Line line{};
    const std::size_t position = CopyUpTo(line, declaration, " (");
    const char* rest = declaration + position;
    if (*rest == ' ') {
        WriteBehind(line, position, "(extends ref as %s)%s", className, rest);
    } else if (*rest == '(') {
        // Deliberate: an empty parameter list becomes "(extends ref as Picture, )"; hosts have
        // always been given it so.
        WriteBehind(line, position, "(extends ref as %s, %s", className, rest + 1);
    } else {
        std::snprintf(line.data(), line.size(), "%s(extends ref as %s)", declaration, className);
    }
    return CopyString(line.data());
}

Buffer<char> AddAssignedValue(const char* declaration) {
    Line line{};
    if (std::strchr(declaration, ')') != nullptr) {
        const std::size_t position = CopyUpTo(line, declaration, ")");
        WriteBehind(line, position, ", assigns value%s)", declaration + position + 1);
    } else {
        const std::size_t position = CopyUpTo(line, declaration, " ");
        WriteBehind(line, position, "(assigns value%s)", declaration + position);
    }
    return CopyString(line.data());
}

}  // namespace zvk
