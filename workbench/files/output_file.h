// A file that appears whole or not at all: written beside its target and put in its place at the
// end. Used by everything of the workbench that writes files, one file at a time.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace workbench {

class OutputFile {
  public:
    /// Where the unfinished file lies.
    enum class Place {
        Nameless,  // in no folder, where the file system can do that: gone with the process
        Named,     // under a hidden name beside its target
    };

    /// Makes an empty file on the target's file system; named if it cannot be nameless. A target
    /// that is a symbolic link stands for what it links to. Throws FileError, which names the
    /// target, if the target cannot be written.
    explicit OutputFile(std::filesystem::path target, Place place = Place::Nameless);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Leaves nothing behind unless Commit was called.
    ~OutputFile();

    /// Where to write; closed by Commit.
    std::FILE* Stream() const { return stream_; }

    /// Makes sure that everything was written and puts the file in the target's place. Throws
    /// FileError and leaves the target as it was if the disk is full or anything else fails.
    void Commit();

    /// Removes the hidden name of the unfinished file, if there is one, and nothing else. For a
    /// signal handler that ends the process.
    static void RemoveUnfinished();

  private:
    [[noreturn]] void Fail(int reason) const;
    void Discard();
    void OpenNameless();
    void OpenNamed();
    void Link();
    void Rename();

    std::filesystem::path target_;  // as it was given, for messages
    std::filesystem::path file_;    // what is replaced
    std::string temporary_;         // empty while there is no hidden name
    int descriptor_ = -1;
    std::FILE* stream_ = nullptr;
};

}  // namespace workbench
