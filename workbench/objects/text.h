// Host strings: bytes with an encoding tag, and their conversion between encodings.
// Made and read by the string services and by exceptions' messages.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "hostapi/host_types.h"
#include "workbench/objects/object.h"

namespace workbench {

class Text : public Object {
  public:
    Text(std::string content, REALencoding tag) : bytes(std::move(content)), encoding(tag) {}

    std::string_view ClassName() const override { return "String"; }
    std::string_view Kind() const override { return "string"; }
    REALstring Handle() const { return ToHandle<REALstring>(Address()); }

    std::string bytes;
    REALencoding encoding;
};

/// `bytes` taken as `from` and written as `to`. What is not valid in `from` becomes U+FFFD, what
/// `to` cannot express becomes a question mark. The system's default is UTF-8; bytes of unknown
/// encoding are taken for UTF-8 too, and converting to unknown changes nothing.
/// Throws std::invalid_argument for an encoding without a name here.
std::string ConvertText(std::string_view bytes, REALencoding from, REALencoding to);

}  // namespace workbench
