// The handlers that libgd and its TIFF library call. They live as long as a CodecMessages does and
// must not throw, since C code stands above them on the stack.
#include "workbench/files/codec_messages.h"

#include <dlfcn.h>
#include <gd.h>
#include <gd_errors.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace workbench {
namespace {

CodecMessages* current = nullptr;

void Take(const char* format, std::va_list arguments) {
    std::array<char, 512> text{};
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (current != nullptr && length > 0) current->Add(text.data());
}

void TakeFromGd(int priority, const char* format, std::va_list arguments) {
    if (priority <= GD_WARNING) Take(format, arguments);
}

void TakeFromTiff(const char* /*module*/, const char* format, std::va_list arguments) {
    Take(format, arguments);
}

void Ignore(const char* /*module*/, const char* /*format*/, std::va_list /*arguments*/) {
}

using TiffHandler = void (*)(const char* module, const char* format, std::va_list arguments);

// libgd leaves the messages of its TIFF library to that library, which prints them. The library is
// in the process when libgd is, but is none of ours to link: hence by name.
void SetTiffHandler(const char* setter, TiffHandler handler) {
    void* const found = dlsym(RTLD_DEFAULT, setter);
    if (found != nullptr) reinterpret_cast<TiffHandler (*)(TiffHandler)>(found)(handler);
}

}  // namespace

CodecMessages::CodecMessages() : errors_(stderr), nowhere_(std::fopen("/dev/null", "w")) {
    if (current != nullptr) throw std::logic_error("codec messages are caught already");
    if (nowhere_ == nullptr) throw std::system_error(errno, std::generic_category());
    current = this;
    // libgd gives the PNG library no handler for warnings, and so it prints them. They matter to
    // nobody: after a warning it either goes on or says what is wrong as an error.
    stderr = nowhere_.get();
    gdSetErrorMethod(TakeFromGd);
    SetTiffHandler("TIFFSetErrorHandler", TakeFromTiff);
    SetTiffHandler("TIFFSetWarningHandler", Ignore);
}

CodecMessages::~CodecMessages() {
    stderr = errors_;
    gdClearErrorMethod();
    current = nullptr;
}

void CodecMessages::Add(std::string message) {
    if (!first_.empty()) return;
    std::replace(message.begin(), message.end(), '\n', ' ');
    while (!message.empty() && message.back() == ' ')
        message.pop_back();
    first_ = std::move(message);
}

}  // namespace workbench
