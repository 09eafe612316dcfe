// The road of one call: literals become host values, the method is called by its declaration, and
// nil, false and exceptions become errors that say why.
#include "workbench/commands/call_run.h"

#include <algorithm>
#include <utility>

#include "workbench/commands/failures.h"
#include "workbench/commands/interruption.h"
#include "workbench/files/picture_files.h"

namespace workbench {
namespace {

void ThrowIfRaised(Host& host, const std::string& call) {
    std::string text;
    while (const std::optional<RaisedException> raised = host.TakeException()) {
        if (text.empty()) text = raised->className + ": " + raised->MessageUtf8();
    }
    if (!text.empty()) throw RaisedError(text + " (raised by " + call + ")");
}

[[noreturn]] void FailWithoutResult(const CheckedCall& call, const Picture& receiver,
                                    std::string_view result, const std::string& failedService) {
    std::string text = call.text + " returned " + std::string(result) + ": ";
    if (!failedService.empty()) {
        text += "the host answered " + failedService;
    } else {
        text += "no host service failed, so the method refused its arguments or its receiver (" +
                std::to_string(receiver.Width()) + " x " + std::to_string(receiver.Height()) +
                " pixels), or had no memory for the work; it is declared " +
                ToText(call.method->declaration);
    }
    throw EmptyResultError(text);
}

}  // namespace

bool CheckedCall::DrawsAPicture() const {
    const std::vector<Parameter>& parameters = method->declaration.parameters;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].type == ValueType::Picture &&
            std::holds_alternative<QuotedText>(values[i]))
            return true;
    }
    return false;
}

CheckedCall CheckCall(const Session& session, const std::string& text) {
    const Call call = ParseCall(text);
    const Method& method = session.Methods().at(FindMethod(session.Declarations(), call));
    return {text, &method, BindArguments(method.declaration, call)};
}

std::vector<CheckedCall> CheckCalls(const Session& session, std::span<const std::string> texts) {
    std::vector<CheckedCall> calls;
    for (const std::string& text : texts)
        calls.push_back(CheckCall(session, text));
    return calls;
}

LoadedCall::LoadedCall(Host& host, const CheckedCall& call, Picture* mask) : call_(call) {
    for (std::size_t i = 0; i < call.values.size(); ++i) {
        const Literal& value = call.values[i];
        const ValueType type = call.method->declaration.parameters[i].type;
        const auto* const text = std::get_if<QuotedText>(&value);
        if (type == ValueType::Picture && text != nullptr) {
            pictures_.push_back(LoadPicture(host, text->text));
            if (mask != nullptr) host.SetMask(*pictures_.back(), mask);
            arguments_.emplace_back(pictures_.back().Handle());
        } else if (type == ValueType::Picture) {
            arguments_.emplace_back(REALpicture{});
        } else if (text != nullptr) {
            texts_.push_back(host.CreateText(text->text));
            arguments_.emplace_back(texts_.back().Handle());
        } else if (const auto* const integer = std::get_if<std::int64_t>(&value)) {
            arguments_.emplace_back(*integer);
        } else if (const auto* const real = std::get_if<double>(&value)) {
            arguments_.emplace_back(*real);
        } else {
            arguments_.emplace_back(std::get<bool>(value));
        }
    }
}

HostValue LoadedCall::Invoke(REALpicture receiver) const {
    return workbench::Invoke(call_.method->registered.function, call_.method->declaration, receiver,
                             arguments_);
}

CallResult RunCall(Session& session, const LoadedCall& call, const Picture& receiver) {
    const CheckedCall& checked = call.Checked();
    Host& host = session.RunningHost();
    if (session.Watch() != nullptr) session.Watch()->Forget();
    const HostValue value = call.Invoke(receiver.Handle());
    CallResult result;
    if (const auto* const picture = std::get_if<REALpicture>(&value))
        result.picture = host.Adopt(*picture);
    if (const auto* const string = std::get_if<REALstring>(&value)) {
        const Held<Text> text = host.Adopt(*string);
        result.shown = text ? ToText(Literal(QuotedText{text->bytes})) : "nil";
    }
    ThrowIfRaised(host, checked.text);
    Interruption::Check();
    const std::string failure = session.Watch() != nullptr ? session.Watch()->LastFailure() : "";
    if (std::holds_alternative<REALpicture>(value) && !result.picture)
        FailWithoutResult(checked, receiver, "nil", failure);
    const auto* const boolean = std::get_if<bool>(&value);
    if (boolean != nullptr && !*boolean) FailWithoutResult(checked, receiver, "false", failure);
    if (const auto* const integer = std::get_if<REALinteger>(&value))
        result.shown = ToText(Literal(*integer));
    if (const auto* const real = std::get_if<double>(&value)) result.shown = ToText(Literal(*real));
    return result;
}

}  // namespace workbench
