// Arguments and results of calls as text, for the trace.
// Used by the directory and by the host objects' methods.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "hostapi/host_records.h"
#include "workbench/host/ledger.h"

namespace workbench::call_text {

std::string Of(const Ledger& ledger, const void* address);
std::string Of(const Ledger& ledger, REALclassRef reference);
std::string Of(const Ledger& ledger, REALfunction function);
std::string Of(const Ledger& ledger, REALboolean value);
std::string Of(const Ledger& ledger, std::int32_t value);
std::string Of(const Ledger& ledger, REALinteger value);
std::string Of(const Ledger& ledger, double value);
std::string Of(const Ledger& ledger, REALencoding encoding);
std::string Of(const Ledger& ledger, const REALclassDefinition* definition);
std::string Of(const Ledger& ledger, const REALmoduleDefinition* definition);

/// A C string in quotes, or null.
std::string Quoted(const char* text);

/// A count of bytes in quotes, shortened; what cannot be printed is written in hex.
std::string Quoted(const char* bytes, std::int32_t length);

/// What a service wrote through an output argument.
std::string Written(const REALinteger* value);
std::string Written(const REALboolean* value);
std::string Written(const REALpictureDescription* description);

template <typename T>
inline constexpr bool isOutput =
    std::is_same_v<T, REALinteger*> || std::is_same_v<T, REALboolean*> ||
    std::is_same_v<T, REALpictureDescription*>;

/// One argument before the call; text with a length needs the argument behind it too.
template <std::size_t index, typename... Types>
std::string Argument(const Ledger& ledger, const std::tuple<Types...>& arguments) {
    using Type = std::tuple_element_t<index, std::tuple<Types...>>;
    const auto& argument = std::get<index>(arguments);
    if constexpr (std::is_same_v<Type, const char*>) {
        if constexpr (index + 1 < sizeof...(Types)) {
            const auto& next = std::get<index + 1>(arguments);
            if constexpr (std::is_same_v<decltype(next), const std::int32_t&>) {
                return Quoted(argument, next);
            }
        }
        return Quoted(argument);
    } else if constexpr (isOutput<Type>) {
        return argument == nullptr ? "null" : "&";
    } else {
        return Of(ledger, argument);
    }
}

/// All arguments before the call, separated by commas.
template <typename... Types>
std::string Arguments(const Ledger& ledger, const std::tuple<Types...>& arguments) {
    std::string text;
    const auto append = [&text](const std::string& argument) {
        text += (text.empty() ? "" : ", ") + argument;
    };
    [&]<std::size_t... indices>(std::index_sequence<indices...>) {
        (append(Argument<indices>(ledger, arguments)), ...);
    }
    (std::index_sequence_for<Types...>());
    return text;
}

/// What was written through the output arguments of a call that succeeded.
template <typename... Types>
std::string Outputs(const std::tuple<Types...>& arguments) {
    std::string text;
    const auto append = [&text](const auto& argument) {
        if constexpr (isOutput<std::decay_t<decltype(argument)>>)
            text += " -> " + Written(argument);
    };
    std::apply([&append](const auto&... argument) { (append(argument), ...); }, arguments);
    return text;
}

}  // namespace workbench::call_text
