// Host strings built from bytes in any of the encodings that the plugin knows. The caller owns the
// returned reference and gives it back with REALUnlockString.
#pragma once

#include <cstdint>
#include <utility>

#include "bridge/host_services.h"
#include "hostapi/host_types.h"

namespace zvk {

// Holds one reference to a host string, or none.
class StringReference {
  public:
    explicit StringReference(REALstring string) : string_(string) {}
    StringReference(const StringReference&) = delete;
    StringReference& operator=(const StringReference&) = delete;
    ~StringReference() {
        if (string_ != nullptr) REALUnlockString(string_);
    }

    REALstring get() const { return string_; }
    explicit operator bool() const { return string_ != nullptr; }
    REALstring Release() { return std::exchange(string_, nullptr); }

  private:
    REALstring string_;
};

// Builds a host string from `length` bytes of text. Text in UTF-16 and UTF-32 is converted to
// UTF-8; other text is tagged with its encoding, plain ASCII as such. Null where there are no
// bytes, where the length is beyond 31 bits or where the host fails. An exception of the standard
// library inside is raised as a host exception, and the result is null.
REALstring REALBuildUnicodeString(const void* data, std::int64_t length, REALencoding encoding);

// As REALBuildUnicodeString, but lets exceptions through.
REALstring BuildUnicodeStringUnguarded(const void* data, std::int64_t length,
                                       REALencoding encoding);

// Builds a host string in UTF-8 from `length` bytes of UTF-16; null if any step fails.
REALstring REALBuildUnicodeStringUTF16(const void* data, std::int64_t length);

}  // namespace zvk
