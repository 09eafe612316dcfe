// One call from the plugin into the host: run, and recorded if somebody wants a trace.
// Used for services and for the methods of host objects alike.
#pragma once

#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "workbench/host/host.h"
#include "workbench/services/call_text.h"
#include "workbench/services/directory.h"

namespace workbench {

/// The result of `body(entry)`, which may mark the entry as faulted. The entry with arguments and
/// result goes to the trace when the call ends, also by an exception.
template <typename Body, typename... Types>
auto TracedCall(Host& host, std::optional<Service> service, std::string_view name,
                const std::tuple<Types...>& arguments, Body&& body)
    -> std::invoke_result_t<Body, TraceEntry&> {
    using Result = std::invoke_result_t<Body, TraceEntry&>;
    const ServingScope serving(true);
    TraceEntry entry;
    if (!host.Tracing().IsWanted()) return body(entry);
    entry.service = service;
    entry.name = name;
    entry.arguments = call_text::Arguments(host.Books(), arguments);
    try {
        if constexpr (std::is_void_v<Result>) {
            body(entry);
            host.Tracing().Add(std::move(entry));
        } else {
            const Result result = body(entry);
            entry.result = call_text::Of(host.Books(), result);
            if (result != Result{}) entry.result += call_text::Outputs(arguments);
            host.Tracing().Add(std::move(entry));
            return result;
        }
    } catch (...) {
        entry.threw = true;
        host.Tracing().Add(std::move(entry));
        throw;
    }
}

}  // namespace workbench
