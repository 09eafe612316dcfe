// Makes the calls of a command: checks them, loads what they need, calls, and judges the result.
// Used by the commands that run, time and demonstrate methods.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "workbench/calling/call.h"
#include "workbench/calling/invocation.h"
#include "workbench/commands/session.h"

namespace workbench {

/// A call that fits the declaration of a method, nothing loaded yet.
struct CheckedCall {
    std::string text;
    const Method* method = nullptr;
    std::vector<Literal> values;

    /// Whether one of the values is a picture from a file.
    bool DrawsAPicture() const;
};

/// Throws CallError.
CheckedCall CheckCall(const Session& session, const std::string& text);
std::vector<CheckedCall> CheckCalls(const Session& session, std::span<const std::string> texts);

/// A call with its pictures and strings in the host; it can be made any number of times.
class LoadedCall {
  public:
    /// Loads the pictures. `mask` (may be null) becomes the mask of each. Throws FileError.
    LoadedCall(Host& host, const CheckedCall& call, Picture* mask);

    const CheckedCall& Checked() const { return call_; }

    /// Calls the method, and nothing else.
    HostValue Invoke(REALpicture receiver) const;

  private:
    CheckedCall call_;
    std::vector<Held<Picture>> pictures_;
    std::vector<Held<Text>> texts_;
    std::vector<HostValue> arguments_;
};

/// What a call gave when it did not fail.
struct CallResult {
    Held<Picture> picture;  // none unless the method returns a picture
    std::string shown;      // a number or a text that was returned, in the host language
};

/// Calls the method on the receiver. Throws RaisedError for an exception of the host,
/// EmptyResultError for nil or false, with the reason as far as the host saw it, and Interrupted if
/// the user ended the run.
CallResult RunCall(Session& session, const LoadedCall& call, const Picture& receiver);

}  // namespace workbench
