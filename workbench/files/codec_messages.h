// Catches what libgd and the libraries behind it say about a file, so that it can be put into one
// line instead of going to standard error; what they would print themselves is dropped. Used while
// a file is decoded or encoded, one at a time.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "workbench/files/byte_source.h"

namespace workbench {

class CodecMessages {
  public:
    /// Catches messages while it lives. There may be one at a time. Throws std::system_error if the
    /// process can open no more files.
    CodecMessages();
    CodecMessages(const CodecMessages&) = delete;
    CodecMessages& operator=(const CodecMessages&) = delete;
    ~CodecMessages();

    /// The first message that tells of damage or a failure, in one line; empty if there was none.
    const std::string& First() const { return first_; }

    /// Takes in a message; called by the handlers.
    void Add(std::string message);

  private:
    std::string first_;
    std::FILE* errors_;  // the standard error stream of the C library
    std::unique_ptr<std::FILE, FileCloser> nowhere_;
};

}  // namespace workbench
