// Method declarations of the host language, as plugins register them:
//   "ScaleZVK(width as integer, height as integer, AntiAlias as boolean=false) as picture"
// The host parses every registered declaration once; calls are checked and made by the result.
// Nothing here knows the name of any method.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace workbench {

/// What a parameter or a result can be.
enum class ValueType {
    Integer,  // signed, 64 bits
    Double,
    Boolean,  // one byte
    Picture,
    String,
    Any,  // an assigned value whose type the declaration leaves open; it cannot be passed
};

/// The type's name in the host language.
std::string_view TypeName(ValueType type);

/// A constant as it is written in a declaration or a call.
struct Nil {
    bool operator==(const Nil&) const = default;
};
struct QuotedText {
    std::string text;
    bool operator==(const QuotedText&) const = default;
};
using Literal = std::variant<Nil, std::int64_t, double, bool, QuotedText>;

/// The literal in the host language, such that reading it again gives the same literal.
std::string ToText(const Literal& literal);

struct Parameter {
    std::string name;
    ValueType type = ValueType::Integer;
    std::optional<Literal> defaultValue;
    bool isAssigned = false;  // "assigns name": the value on the right of an assignment
};

struct Declaration {
    std::string name;
    // "ref", if the first parameter was "extends ref as Picture": it is the receiver
    std::optional<std::string> receiver;
    std::vector<Parameter> parameters;  // those that a caller passes, the receiver not among them
    std::optional<ValueType> result;    // none: the method returns nothing
};

/// The declaration written out again in one uniform spelling.
std::string ToText(const Declaration& declaration);

/// A declaration that is not of the host language; what() says what was expected where.
class DeclarationError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Parses any text; throws DeclarationError. Names and types are case-insensitive in the language,
/// and are kept here as they are written. A comma before the closing parenthesis is accepted, since
/// that is how a declaration with an empty list comes out when a receiver is put in front.
Declaration ParseDeclaration(std::string_view text);

/// Whether two names are the same in the host language, which ignores the case of ASCII letters.
bool SameName(std::string_view left, std::string_view right);

}  // namespace workbench
