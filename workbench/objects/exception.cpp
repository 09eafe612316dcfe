// The host's exception classes and instances.
// Made by the services and the host; what a raised one tells is copied out here.
#include "workbench/objects/exception.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace workbench {

namespace {

constexpr std::array<std::string_view, 5> exceptionClasses{
    "RuntimeException", "NilObjectException", "OutOfMemoryException", "OutOfBoundsException",
    "IllegalCastException"};

}  // namespace

std::string RaisedException::MessageUtf8() const {
    return message ? ConvertText(*message, encoding, REALencoding::Utf8) : std::string();
}

RaisedException ExceptionInstance::Told() const {
    RaisedException told;
    told.className = className_;
    told.errorNumber = errorNumber;
    if (const Text* text = message.Get(); text != nullptr) {
        told.message = text->bytes;
        told.encoding = text->encoding;
    }
    return told;
}

std::optional<std::string_view> FindExceptionClass(std::string_view name) {
    const auto* const found =
        std::find_if(exceptionClasses.begin(), exceptionClasses.end(), [name](auto known) {
            return known.size() == name.size() &&
                   strncasecmp(known.data(), name.data(), name.size()) == 0;
        });
    if (found == exceptionClasses.end()) return std::nullopt;
    return *found;
}

}  // namespace workbench
