// Parses calls and binds their arguments to parameters. Called by the command line with whatever a
// user wrote; every mistake becomes a CallError.
#include "workbench/calling/call.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "workbench/calling/scanner.h"

namespace workbench {
namespace {

std::vector<WrittenArgument> ReadArguments(Scanner& scanner) {
    std::vector<WrittenArgument> arguments;
    if (scanner.Accept(')')) return arguments;
    bool isNamed = false;
    do {
        WrittenArgument argument;
        argument.name = scanner.AcceptNameAndEquals();
        if (isNamed && !argument.name)
            throw ScanError("an argument without a name follows one with a name");
        isNamed = argument.name.has_value();
        argument.value = scanner.ExpectLiteral(
            R"(a value (a number, true, false, nil or "the name of a file"))");
        arguments.push_back(std::move(argument));
    } while (scanner.Accept(','));
    scanner.Expect(')');
    return arguments;
}

[[noreturn]] void FailToBind(const Declaration& declaration, const std::string& reason) {
    throw CallError(declaration.name + ": " + reason + "; it is declared " + ToText(declaration));
}

std::string ArticleAndType(ValueType type) {
    switch (type) {
        case ValueType::Integer:
            return "an integer";
        case ValueType::Double:
            return "a double";
        case ValueType::Boolean:
            return "true or false";
        case ValueType::Picture:
            return "a picture (the name of a file in double quotes, or nil)";
        case ValueType::String:
            return "a string in double quotes";
        case ValueType::Any:
            break;
    }
    return "of no type that can be passed";
}

bool Fits(const Literal& value, ValueType type) {
    switch (type) {
        case ValueType::Integer:
            return std::holds_alternative<std::int64_t>(value);
        case ValueType::Double:
            return std::holds_alternative<std::int64_t>(value) ||
                   std::holds_alternative<double>(value);
        case ValueType::Boolean:
            return std::holds_alternative<bool>(value);
        case ValueType::Picture:
            return std::holds_alternative<QuotedText>(value) || std::holds_alternative<Nil>(value);
        case ValueType::String:
            return std::holds_alternative<QuotedText>(value);
        case ValueType::Any:
            break;
    }
    return false;
}

// The value in the form of a type that it fits.
Literal Convert(const Literal& value, ValueType type) {
    const auto* const integer = std::get_if<std::int64_t>(&value);
    if (type == ValueType::Double && integer != nullptr) return static_cast<double>(*integer);
    return value;
}

std::size_t ParameterIndex(const Declaration& declaration, const std::string& name) {
    const auto& parameters = declaration.parameters;
    const auto found =
        std::find_if(parameters.begin(), parameters.end(),
                     [&](const Parameter& each) { return SameName(each.name, name); });
    if (found != parameters.end()) return static_cast<std::size_t>(found - parameters.begin());
    std::vector<std::string> names;
    names.reserve(parameters.size());
    for (const Parameter& each : parameters)
        names.push_back(each.name);
    const std::string nearest = NearestName(name, names);
    FailToBind(declaration, "there is no parameter \"" + name + "\"" +
                                (nearest.empty() ? "" : ", did you mean \"" + nearest + "\"?"));
}

std::string CountText(const Declaration& declaration) {
    const std::size_t most = declaration.parameters.size();
    const auto least = static_cast<std::size_t>(
        std::count_if(declaration.parameters.begin(), declaration.parameters.end(),
                      [](const Parameter& each) { return !each.defaultValue; }));
    const std::string range = least == most ? std::to_string(most)
                                            : std::to_string(least) + " to " + std::to_string(most);
    return range + (most == 1 ? " argument" : " arguments");
}

// The number of letters to insert, delete or change.
std::size_t EditDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < right.size(); ++j) {
            const bool isSame = SameName(left.substr(i, 1), right.substr(j, 1));
            const std::size_t changed = diagonal + (isSame ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

Call ParseCall(std::string_view text) {
    Scanner scanner(text);
    Call call;
    call.text = text;
    try {
        call.name = scanner.ExpectName("the name of a method");
        if (scanner.Accept('(')) call.arguments = ReadArguments(scanner);
        if (!scanner.AtEnd()) scanner.Fail("the end of the call");
    } catch (const ScanError& error) {
        throw CallError("cannot read the call " + call.text + ": " + error.what());
    }
    return call;
}

std::string NearestName(std::string_view name, std::span<const std::string> candidates) {
    constexpr std::size_t longestName = 100;  // beyond it a name is noise, not a slip
    std::string nearest;
    if (name.size() > longestName) return nearest;
    std::size_t smallest = std::numeric_limits<std::size_t>::max();
    for (const std::string& candidate : candidates) {
        const std::size_t distance = EditDistance(name, candidate);
        const bool isNear = distance <= std::max(name.size(), candidate.size()) * 2 / 3;
        if (isNear && distance < smallest) {
            smallest = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::size_t FindMethod(std::span<const Declaration> declarations, const Call& call) {
    std::vector<std::string> names;
    names.reserve(declarations.size());
    for (std::size_t i = 0; i < declarations.size(); ++i) {
        if (SameName(declarations[i].name, call.name)) return i;
        names.push_back(declarations[i].name);
    }
    const std::string nearest = NearestName(call.name, names);
    throw CallError("there is no method \"" + call.name + "\"" +
                    (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?"));
}

std::vector<Literal> BindArguments(const Declaration& declaration, const Call& call) {
    const auto& parameters = declaration.parameters;
    if (call.arguments.size() > parameters.size())
        FailToBind(declaration, std::to_string(call.arguments.size()) + " arguments given, " +
                                    CountText(declaration) + " expected");
    std::vector<std::optional<Literal>> bound(parameters.size());
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        const WrittenArgument& argument = call.arguments[i];
        const std::size_t index = argument.name ? ParameterIndex(declaration, *argument.name) : i;
        const Parameter& parameter = parameters[index];
        if (bound[index])
            FailToBind(declaration, "the argument \"" + parameter.name + "\" is given twice");
        if (!Fits(argument.value, parameter.type))
            FailToBind(declaration, "the argument \"" + parameter.name + "\" must be " +
                                        ArticleAndType(parameter.type) + ", not " +
                                        ToText(argument.value));
        bound[index] = Convert(argument.value, parameter.type);
    }
    std::vector<Literal> values;
    values.reserve(parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (!bound[i]) bound[i] = parameters[i].defaultValue;
        if (!bound[i])
            FailToBind(declaration, "the argument \"" + parameters[i].name + "\" is missing (" +
                                        CountText(declaration) + " expected)");
        values.push_back(*std::move(bound[i]));
    }
    return values;
}

}  // namespace workbench
