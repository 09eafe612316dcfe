// The decoder of image files. The input is a file, whole or damaged: it gives a picture within the
// limit or one line that says what is wrong.
#include <gd.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "tests/fuzz/images/file_in_memory.h"
#include "tests/fuzz/support/checks.h"
#include "tests/fuzz/support/target.h"
#include "workbench/files/decoding.h"
#include "workbench/files/file_error.h"

namespace {

using fuzz::Require;

// Small, so that files that claim much are refused or decoded fast.
constexpr std::size_t maximumBytes = std::size_t{1} << 20U;

std::size_t countUnderWay = 0;

std::optional<workbench::DecodedFile> Decoded(const std::filesystem::path& file) {
    try {
        return workbench::DecodeFile(file, maximumBytes);
    } catch (const workbench::FileError& error) {
        const std::string_view text = error.what();
        Require(text.starts_with(file.string() + ": "), "an error does not name its file");
        Require(text.size() > file.string().size() + 2, "an error gives no reason");
        Require(text.find('\n') == std::string_view::npos, "an error is longer than a line");
    } catch (const std::exception& error) {
        Require(false, std::string("an error that says nothing of a file: ") + error.what());
    }
    return std::nullopt;
}

void CheckImage(const workbench::DecodedFile& decoded) {
    const gdImage& image = *decoded.image;
    Require(gdImageTrueColor(&image) != 0, "the picture has no colours of its own");
    Require(image.sx > 0 && image.sy > 0, "the picture is empty");
    const std::size_t bytes = static_cast<std::size_t>(image.sx) *
                              static_cast<std::size_t>(image.sy) * sizeof(std::uint32_t);
    Require(bytes <= maximumBytes, "the picture is larger than the limit");
    bool hasTransparency = false;
    for (int y = 0; y < image.sy; ++y) {
        for (int x = 0; x < image.sx; ++x)
            hasTransparency = hasTransparency || gdTrueColorGetAlpha(image.tpixels[y][x]) != 0;
    }
    Require(hasTransparency == decoded.hasTransparency, "the transparency is not what is said");
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    fuzz::StopAtFailures([] { return "a file of " + std::to_string(countUnderWay) + " bytes"; });
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static const fuzz::FileInMemory file;
    countUnderWay = count;
    file.Write({bytes, count});
    const auto decoded = Decoded(file.Path());
    if (decoded) CheckImage(*decoded);
    if (fuzz::IsVerbose()) std::cerr << (decoded ? "decoded\n" : "refused\n");
    return 0;
}
