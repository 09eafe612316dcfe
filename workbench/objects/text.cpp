// Conversion of text between the encodings of the host, by the C library's iconv.
// Called by the string services and for exceptions' messages; never fails for bad bytes.
#include "workbench/objects/text.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace workbench {

namespace {

// Everything goes through UTF-32, so that what is not valid in the one encoding and what cannot be
// expressed in the other are told apart.
constexpr const char* pivot = "UTF-32LE";
constexpr std::string_view replacement{"\xFD\xFF\0\0", 4};  // U+FFFD
constexpr std::string_view questionMark{"?\0\0\0", 4};
constexpr std::size_t bytesPerCodePoint = 4;

struct Encoding {
    const char* name;          // as iconv knows it
    std::size_t bytesPerUnit;  // what is skipped where the bytes are not valid
};

Encoding Describe(REALencoding encoding) {
    switch (encoding) {
        case REALencoding::SystemDefault:
        case REALencoding::Unknown:
        case REALencoding::Utf8:
            return {"UTF-8", 1};
        case REALencoding::Utf16:
            return {"UTF-16LE", 2};
        case REALencoding::Utf32:
            return {pivot, bytesPerCodePoint};
        case REALencoding::WindowsLatin1:
            return {"CP1252", 1};
        case REALencoding::Ascii:
            return {"ASCII", 1};
    }
    throw std::invalid_argument("no such text encoding: " +
                                std::to_string(static_cast<std::uint32_t>(encoding)));
}

class Converter {
  public:
    Converter(const char* from, const char* to) : descriptor_(iconv_open(to, from)) {
        constexpr std::intptr_t failure = -1;
        if (reinterpret_cast<std::intptr_t>(descriptor_) == failure) {
            throw std::invalid_argument(std::string("no conversion from ") + from + " to " + to);
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { iconv_close(descriptor_); }

    /// Converts as much of `input` as is possible, appends it and removes it from `input`.
    /// True when nothing is left.
    bool Append(std::string_view& input, std::string& output) {
        std::array<char, 1024> buffer{};
        for (;;) {
            char* read = const_cast<char*>(input.data());
            std::size_t left = input.size();
            char* write = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t outcome = iconv(descriptor_, &read, &left, &write, &room);
            const bool full = outcome == static_cast<std::size_t>(-1) && errno == E2BIG;
            output.append(buffer.data(), buffer.size() - room);
            input.remove_prefix(input.size() - left);
            if (!full) return input.empty();
        }
    }

  private:
    iconv_t descriptor_;
};

std::string ToPivot(std::string_view bytes, const Encoding& from) {
    Converter converter(from.name, pivot);
    std::string codePoints;
    while (!converter.Append(bytes, codePoints)) {
        codePoints += replacement;
        bytes.remove_prefix(std::min(bytes.size(), from.bytesPerUnit));
    }
    return codePoints;
}

std::string FromPivot(std::string_view codePoints, const Encoding& to) {
    Converter converter(pivot, to.name);
    std::string bytes;
    while (!converter.Append(codePoints, bytes)) {
        std::string_view substitute = questionMark;
        converter.Append(substitute, bytes);
        codePoints.remove_prefix(std::min(codePoints.size(), bytesPerCodePoint));
    }
    return bytes;
}

}  // namespace

std::string ConvertText(std::string_view bytes, REALencoding from, REALencoding to) {
    if (to == REALencoding::Unknown) return std::string(bytes);
    return FromPivot(ToPivot(bytes, Describe(from)), Describe(to));
}

}  // namespace workbench
