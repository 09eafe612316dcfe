// A call as a host programmer writes it, `ScalingZVK(3, 640, height = 480)`, and its check against
// a declaration. Used by the command line; it knows no method by name and makes no call itself.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "workbench/calling/declaration.h"

namespace workbench {

struct WrittenArgument {
    std::optional<std::string> name;  // none: by position
    Literal value;
};

struct Call {
    std::string name;
    std::vector<WrittenArgument> arguments;
    std::string text;  // as written, for messages
};

/// A call that cannot be read or does not fit; what() is one sentence for the user, and says the
/// declaration where there is one.
class CallError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Parses any text; throws CallError. The parentheses may be left out where no argument is passed.
Call ParseCall(std::string_view text);

/// The index of the declaration that the call names. Throws CallError, with the nearest name there
/// is, if no declaration has the name.
std::size_t FindMethod(std::span<const Declaration> declarations, const Call& call);

/// The name nearest to the one given, by the number of letters to change; empty if no name is near.
std::string NearestName(std::string_view name, std::span<const std::string> candidates);

/// One value for every parameter, in the order of declaration: the arguments by position and by
/// name, defaults for the others. Integers become doubles where a double is declared; a picture is
/// Nil or the QuotedText of a file's name. Throws CallError for a wrong number, type or name.
std::vector<Literal> BindArguments(const Declaration& declaration, const Call& call);

}  // namespace workbench
