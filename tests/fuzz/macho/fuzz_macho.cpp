// The loader of plugins in the format of macOS. The input is a library, whole or damaged: it
// becomes an image within its limits, or a reason is given. Nothing of it is run.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "tests/fuzz/support/checks.h"
#include "tests/fuzz/support/target.h"
#include "workbench/macho/exports.h"
#include "workbench/macho/image.h"
#include "workbench/macho/imports.h"
#include "workbench/macho/unwinding.h"

namespace {

using fuzz::Require;
using workbench::macho::File;
using workbench::macho::Image;

std::size_t countUnderWay = 0;

void CheckSegments(const File& file) {
    std::uint64_t end = 0;
    for (const auto& segment : file.segments) {
        Require(segment.address >= end, "segments overlap");
        Require(segment.contents.size() <= segment.size, "a segment is smaller than its contents");
        end = segment.end();
    }
    Require(end <= workbench::macho::largestImage, "the image is larger than the limit");
    Require(file.ImageSize() >= end, "the image is smaller than its segments");
    for (const auto& section : file.sections) {
        const auto* const segment = file.SegmentAt(section.address);
        Require(section.size == 0 || (segment != nullptr && segment->address <= section.address &&
                                      section.address + section.size <= segment->end()),
                "a section is in no segment");
    }
}

void CheckSlots(const File& file, const Image& image) {
    const auto base = reinterpret_cast<std::uintptr_t>(image.At(0));
    for (const auto& slot : image.importSlots()) {
        const std::uint64_t address = reinterpret_cast<std::uintptr_t>(slot.place) - base;
        const auto* const segment = file.SegmentAt(address);
        Require(segment != nullptr && segment->end() - address >= sizeof(void*),
                "a pointer is in no segment");
        Require(workbench::macho::ResolveImport(slot.symbol, {}) != nullptr,
                "a pointer is bound to nothing");
    }
}

// Every byte of the image that may be read can be read.
std::uint64_t SumOfContents(const File& file, const Image& image) {
    std::uint64_t sum = 0;
    for (const auto& segment : file.segments) {
        if ((segment.protection & workbench::macho::protectionRead) == 0) continue;
        for (std::size_t i = 0; i < segment.contents.size(); ++i)
            sum += *image.At(segment.address + i);
    }
    return sum;
}

// The unwinder looks through the records that are registered at every exception.
void ThrowBeside(std::uint8_t* frames) {
    const workbench::macho::UnwindRegistration registration(frames);
    bool isCaught = false;
    try {
        throw 1;
    } catch (int) {
        isCaught = true;
    }
    Require(isCaught, "an exception is lost");
}

void Load(workbench::macho::Bytes bytes) {
    const File file = workbench::macho::Parse(bytes);
    CheckSegments(file);
    const auto entry = workbench::macho::ExportedAddress(file, "_REALPluginMain");
    const Image image(file, workbench::macho::ResolveImport);
    CheckSlots(file, image);
    const std::uint64_t sum = SumOfContents(file, image);
    std::uint8_t* const frames = workbench::macho::FramesOf(file, image);
    if (frames != nullptr) ThrowBeside(frames);
    if (fuzz::IsVerbose()) {
        std::cerr << "loaded, " << file.ImageSize() << " bytes with the sum " << sum
                  << (entry ? ", with an entry point" : "") << '\n';
    }
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    fuzz::StopAtFailures([] { return "a library of " + std::to_string(countUnderWay) + " bytes"; });
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    countUnderWay = count;
    try {
        Load({bytes, count});
    } catch (const workbench::macho::MachOError& error) {
        Require(!std::string_view(error.what()).empty(), "an error gives no reason");
        if (fuzz::IsVerbose()) std::cerr << "refused: " << error.what() << '\n';
    } catch (const std::exception& error) {
        Require(false, std::string("an error that says nothing of a file: ") + error.what());
    }
    return 0;
}
