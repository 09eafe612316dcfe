// Unfinished files beside their targets. Nothing of the target is touched before the end.
#include "workbench/files/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "workbench/files/file_error.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

// The hidden name of the file being written, for RemoveUnfinished; null while there is none.
std::atomic<const char*> unfinished{nullptr};
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads it");

constexpr mode_t rightsBeforeMask = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

// The rights that a file made in the ordinary way would have.
mode_t OrdinaryRights() {
    const mode_t mask = umask(0);
    umask(mask);
    return rightsBeforeMask & ~mask;
}

// Follows symbolic links also where the last one leads to nothing yet.
fs::path WithoutLinks(const fs::path& target) {
    constexpr int mostLinks = 40;
    fs::path file = target;
    std::error_code ignored;
    for (int links = 0; fs::is_symlink(fs::symlink_status(file, ignored)); ++links) {
        const fs::path next = fs::read_symlink(file, ignored);
        if (links == mostLinks || next.empty())
            throw FileError(target, std::string("cannot be written: ") + std::strerror(ELOOP));
        file = file.parent_path() / next;
    }
    return file;
}

fs::path FolderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

std::FILE* OpenStream(int descriptor) {
    const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (own < 0) return nullptr;
    std::FILE* const stream = fdopen(own, "wb");
    if (stream == nullptr) close(own);
    return stream;
}

std::string PathOfDescriptor(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace

OutputFile::OutputFile(fs::path target, Place place)
    : target_(std::move(target)), file_(WithoutLinks(target_)) {
    std::error_code ignored;
    const fs::file_status status = fs::status(file_, ignored);
    if (fs::is_directory(status)) throw FileError(target_, "cannot be written: it is a directory");
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw FileError(target_, "cannot be written: it is not an ordinary file");
    if (place == Place::Nameless) OpenNameless();
    if (descriptor_ < 0) OpenNamed();
    // The stream has a descriptor of its own: it is closed, which may fail, before there is a name.
    stream_ = OpenStream(descriptor_);
    if (stream_ != nullptr) return;
    const int reason = errno;
    Discard();
    Fail(reason);
}

OutputFile::~OutputFile() {
    Discard();
}

void OutputFile::Discard() {
    if (stream_ != nullptr) std::fclose(std::exchange(stream_, nullptr));
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
    if (unfinished == temporary_.c_str()) RemoveUnfinished();
}

void OutputFile::Fail(int reason) const {
    throw FileError(target_, std::string("cannot be written: ") +
                                 (reason != 0 ? std::strerror(reason) : "the disk may be full"));
}

void OutputFile::OpenNameless() {
    descriptor_ = open(FolderOf(file_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, rightsBeforeMask);
    // Its name is given by way of this path, which a machine may lack.
    if (descriptor_ < 0 || access(PathOfDescriptor(descriptor_).c_str(), F_OK) == 0) return;
    close(std::exchange(descriptor_, -1));
}

void OutputFile::OpenNamed() {
    temporary_ = (FolderOf(file_) / ".zvk-XXXXXX").string();
    // Told before the name is made, so that there is no moment in which it is not known.
    unfinished = temporary_.c_str();
    descriptor_ = mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ >= 0 && fchmod(descriptor_, OrdinaryRights()) == 0) return;
    const int reason = errno;
    if (descriptor_ < 0) unfinished = nullptr;
    Discard();
    Fail(reason);
}

// A nameless file gets its target's name at once where that is free, else a hidden name first,
// since only a rename replaces what is there.
void OutputFile::Link() {
    const std::string source = PathOfDescriptor(descriptor_);
    const auto linkTo = [&](const fs::path& name) {
        return linkat(AT_FDCWD, source.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    if (linkTo(file_)) return;
    for (int attempt = 0; errno == EEXIST; ++attempt) {
        temporary_ =
            (FolderOf(file_) / (".zvk-" + std::to_string(getpid()) + "-" + std::to_string(attempt)))
                .string();
        if (!linkTo(temporary_)) continue;
        unfinished = temporary_.c_str();
        return Rename();
    }
    Fail(errno);
}

void OutputFile::Rename() {
    if (std::rename(temporary_.c_str(), file_.c_str()) != 0) Fail(errno);
    unfinished = nullptr;
}

void OutputFile::Commit() {
    errno = 0;
    const bool hadError = std::ferror(stream_) != 0;
    const bool isClosed = std::fclose(std::exchange(stream_, nullptr)) == 0;
    if (hadError || !isClosed) Fail(errno);
    if (temporary_.empty())
        Link();
    else
        Rename();
}

void OutputFile::RemoveUnfinished() {
    const char* const name = unfinished.exchange(nullptr);
    if (name != nullptr) unlink(name);
}

}  // namespace workbench
