// String building by encoding and by host version.
#include "bridge/host_strings.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <span>

#include "bridge/buffer.h"
#include "bridge/host_exceptions.h"
#include "bridge/host_version.h"

namespace zvk {

namespace {

constexpr std::int64_t longestString = std::numeric_limits<std::int32_t>::max();

// The length of a checked string as the services take it.
std::int32_t ServiceLength(std::int64_t length) {
    return static_cast<std::int32_t>(length);
}

bool IsAscii(const char* bytes, std::int64_t length) {
    return std::all_of(bytes, bytes + length,
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

bool MayBeAscii(REALencoding encoding) {
    return encoding == REALencoding::SystemDefault || encoding == REALencoding::WindowsLatin1 ||
           encoding == REALencoding::Unknown;
}

// Writes one code point as UTF-16 and returns the number of units, 1 or 2. What lies beyond
// Unicode becomes the replacement character.
std::size_t EncodeUtf16(std::uint32_t codePoint, char16_t* units) {
    if (codePoint > 0x10FFFF) {
        units[0] = 0xFFFD;
        return 1;
    }
    if (codePoint < 0x10000) {
        units[0] = static_cast<char16_t>(codePoint);
        return 1;
    }
    units[0] = static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
    units[1] = static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    return 2;
}

// Converts `count` code points; `units` has room for two each.
REALstring BuildFromCodePoints(const char* data, std::int64_t count, char16_t* units) {
    std::size_t unitCount = 0;
    for (std::int64_t index = 0; index < count; ++index) {
        std::uint32_t codePoint = 0;
        std::memcpy(&codePoint, data + index * std::int64_t{sizeof codePoint}, sizeof codePoint);
        unitCount += EncodeUtf16(codePoint, units + unitCount);
    }
    return REALBuildUnicodeStringUTF16(units,
                                       static_cast<std::int64_t>(unitCount * sizeof(char16_t)));
}

// Hosts before 2013.0 know no UTF-32, so it goes through UTF-16.
REALstring BuildUtf32OnOldHost(const char* data, std::int64_t length) {
    constexpr std::int64_t shortLength = 800;
    const std::int64_t count = length / std::int64_t{sizeof(std::uint32_t)};
    if (length < shortLength) {
        std::array<char16_t, 2 * shortLength / sizeof(std::uint32_t)> units{};
        return BuildFromCodePoints(data, count, units.data());
    }
    const Buffer<char16_t> units = AllocateZeroed<char16_t>(2 * count + 1);
    return units == nullptr ? nullptr : BuildFromCodePoints(data, count, units.get());
}

REALstring ConvertToUtf8(const StringReference& string) {
    return string ? REALConvertString(string.get(), REALencoding::Utf8) : nullptr;
}

REALstring BuildUtf32(const char* data, std::int64_t length) {
    if (rbversion_rbversion < REALversion::Interface11) return BuildUtf32OnOldHost(data, length);
    const StringReference string(
        REALBuildStringWithEncoding(data, ServiceLength(length), REALencoding::Utf32));
    return ConvertToUtf8(string);
}

}  // namespace

REALstring REALBuildUnicodeStringUTF16(const void* data, std::int64_t length) {
    if (length > longestString) return nullptr;
    const char* bytes = static_cast<const char*>(data);
    if (rbversion_rbversion < REALversion::Interface10) {
        const StringReference string(originalREALBuildString(bytes, ServiceLength(length)));
        if (string) REALSetStringEncoding(string.get(), REALencoding::Utf16);
        return ConvertToUtf8(string);
    }
    const StringReference string(
        REALBuildStringWithEncoding(bytes, ServiceLength(length), REALencoding::Utf16));
    return ConvertToUtf8(string);
}

REALstring BuildUnicodeStringUnguarded(const void* data, std::int64_t length,
                                       REALencoding encoding) {
    if (data == nullptr || length < 1 || length > longestString) return nullptr;
    const char* bytes = static_cast<const char*>(data);
    if (MayBeAscii(encoding) && IsAscii(bytes, length)) encoding = REALencoding::Ascii;
    if (encoding == REALencoding::Utf16) return REALBuildUnicodeStringUTF16(data, length);
    if (encoding == REALencoding::Utf32) return BuildUtf32(bytes, length);
    StringReference string(originalREALBuildString(bytes, ServiceLength(length)));
    if (string) REALSetStringEncoding(string.get(), encoding);
    return string.Release();
}

REALstring REALBuildUnicodeString(const void* data, std::int64_t length, REALencoding encoding) {
    try {
        return BuildUnicodeStringUnguarded(data, length, encoding);
    } catch (...) {
        RaiseCurrentException();
        return nullptr;
    }
}

}  // namespace zvk
