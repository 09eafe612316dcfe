// Arguments and results of calls as text.
// Reads what the arguments point to only as far as the services themselves may.
#include "workbench/services/call_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace workbench::call_text {

namespace {

constexpr std::int32_t longestQuote = 64;

std::string Number(const char* format, auto value) {
    std::array<char, 48> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, value);
    return buffer.data();
}

std::string Truth(REALboolean value) {
    return value != 0 ? "true" : "false";
}

}  // namespace

std::string Of(const Ledger& ledger, const void* address) {
    return ledger.Name(address);
}

std::string Of(const Ledger&, REALclassRef reference) {
    return reference == nullptr ? "null" : "a class";
}

std::string Of(const Ledger&, REALfunction function) {
    return function == nullptr ? "null" : "a method";
}

std::string Of(const Ledger&, REALboolean value) {
    return Truth(value);
}

std::string Of(const Ledger&, std::int32_t value) {
    return std::to_string(value);
}

std::string Of(const Ledger&, REALinteger value) {
    return std::to_string(value);
}

std::string Of(const Ledger&, double value) {
    return Number("%.10g", value);
}

std::string Of(const Ledger&, REALencoding encoding) {
    return Number("0x%X", static_cast<unsigned>(encoding));
}

std::string Of(const Ledger&, const REALclassDefinition* definition) {
    return definition == nullptr ? "null" : "class " + Quoted(definition->name);
}

std::string Of(const Ledger&, const REALmoduleDefinition* definition) {
    return definition == nullptr ? "null" : "module " + Quoted(definition->name);
}

std::string Quoted(const char* text) {
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string Quoted(const char* bytes, std::int32_t length) {
    if (bytes == nullptr) return "null";
    std::string text = "\"";
    const std::int32_t shown = std::clamp(length, 0, longestQuote);
    for (std::int32_t index = 0; index < shown; ++index) {
        const auto byte = static_cast<unsigned char>(bytes[index]);
        const bool printable = byte >= ' ' && byte < 127;
        text += printable ? std::string(1, bytes[index]) : Number("\\x%02X", unsigned{byte});
    }
    return text + (shown < length ? "..." : "") + '"';
}

std::string Written(const REALinteger* value) {
    return value == nullptr ? "null" : std::to_string(*value);
}

std::string Written(const REALboolean* value) {
    return value == nullptr ? "null" : Truth(*value);
}

std::string Written(const REALpictureDescription* description) {
    if (description == nullptr) return "null";
    return "kind " + std::to_string(static_cast<int>(description->kind)) + ", " +
           std::to_string(description->width) + " by " + std::to_string(description->height) +
           (description->handle == nullptr ? ", no handle" : "");
}

}  // namespace workbench::call_text
