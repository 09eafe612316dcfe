// What is wrong with a file, in one line for a person. Thrown by everything that reads or writes
// image files; the command line shows it as it is.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace workbench {

class FileError : public std::runtime_error {
  public:
    /// "photo.jpg: `reason`"
    FileError(const std::filesystem::path& file, const std::string& reason)
        : std::runtime_error(file.string() + ": " + reason) {}
};

}  // namespace workbench
