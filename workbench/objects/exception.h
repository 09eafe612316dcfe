// Instances of the host's exception classes, and what is told of one that was raised.
// Made by the instance service and by the host's own methods; taken from the host by the caller.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "workbench/host/held.h"
#include "workbench/objects/object.h"
#include "workbench/objects/text.h"

namespace workbench {

/// A raised exception, copied out of its instance.
struct RaisedException {
    std::string className;
    std::optional<std::string> message;             // the bytes as tagged; nothing for null
    REALencoding encoding = REALencoding::Unknown;  // of the message
    std::int64_t errorNumber = 0;

    /// The message in UTF-8; empty for null.
    std::string MessageUtf8() const;
};

/// An instance of an exception class, raised or not.
class ExceptionInstance : public Object {
  public:
    explicit ExceptionInstance(std::string_view className) : className_(className) {}

    std::string_view ClassName() const override { return className_; }
    std::string_view Kind() const override { return "exception"; }
    REALobject Handle() const { return ToHandle<REALobject>(Address()); }

    /// What the instance tells, copied.
    RaisedException Told() const;

    Held<Text> message;  // empty for null
    std::int64_t errorNumber = 0;

  private:
    std::string_view className_;
};

/// The exception class of that name, in any case of letters, as the host writes it; nothing for a
/// name that no exception class has. The text lives as long as the process.
std::optional<std::string_view> FindExceptionClass(std::string_view name);

}  // namespace workbench
