// The ways in which a command can end other than well, each with its exit status.
// Thrown anywhere below the commands and turned into one line and a status in one place.
#pragma once

#include <stdexcept>

namespace workbench {

enum class ExitStatus : int {
    Ok = 0,
    HostException = 1,  // also: a file of a batch failed
    BadInput = 2,       // or wrong usage, a method that returned nil or false, no way to write
    Unclean = 3,        // objects, references or locks left over
    // 128 and the signal's number (so 130 for Ctrl-C) when a signal ended the run
};

/// Options or words on the command line that make no sense together.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A plugin that registers nothing that can be called.
class RegistrationError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A method raised an exception of the host language.
class RaisedError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A method returned nil or false.
class EmptyResultError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The user ended the run. It is thrown out of a yield and passes through the plugin, which has no
/// clause for it, since it is no std::exception.
struct Interrupted {
    int signal = 0;
};

}  // namespace workbench
