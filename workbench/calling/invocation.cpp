// Calls through libffi by what a declaration says. It keeps no state and knows no method.
#include "workbench/calling/invocation.h"

#include <ffi.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace workbench {
namespace {

ffi_type* MachineType(ValueType type) {
    switch (type) {
        case ValueType::Integer:
            return &ffi_type_sint64;
        case ValueType::Double:
            return &ffi_type_double;
        case ValueType::Boolean:
            return &ffi_type_sint8;
        case ValueType::Picture:
        case ValueType::String:
            return &ffi_type_pointer;
        case ValueType::Any:
            break;
    }
    throw std::invalid_argument("a value without a type cannot be passed");
}

// Room for one argument in the form that the machine passes.
union Slot {
    REALinteger integer;
    double real;
    REALboolean boolean;
    void* handle;
};

template <typename Held>
Held Required(const HostValue& value) {
    const Held* const held = std::get_if<Held>(&value);
    if (held == nullptr) throw std::invalid_argument("an argument is not of its parameter's type");
    return *held;
}

Slot Store(const HostValue& value, ValueType type) {
    Slot slot{};
    switch (type) {
        case ValueType::Integer:
            slot.integer = Required<REALinteger>(value);
            break;
        case ValueType::Double:
            slot.real = Required<double>(value);
            break;
        case ValueType::Boolean:
            slot.boolean = Required<bool>(value) ? 1 : 0;
            break;
        case ValueType::Picture:
            slot.handle = Required<REALpicture>(value);
            break;
        case ValueType::String:
            slot.handle = Required<REALstring>(value);
            break;
        case ValueType::Any:
            break;
    }
    return slot;
}

// libffi widens results narrower than a register to a whole one.
union Result {
    ffi_sarg word;
    REALinteger integer;
    double real;
    void* handle;
};

HostValue Load(const Result& result, const std::optional<ValueType>& type) {
    if (!type) return std::monostate{};
    switch (*type) {
        case ValueType::Integer:
            return result.integer;
        case ValueType::Double:
            return result.real;
        case ValueType::Boolean:
            return static_cast<REALboolean>(result.word) != 0;
        case ValueType::Picture:
            return static_cast<REALpicture>(result.handle);
        case ValueType::String:
            return static_cast<REALstring>(result.handle);
        case ValueType::Any:
            break;
    }
    throw std::invalid_argument("a result without a type cannot be returned");
}

}  // namespace

HostValue Invoke(REALfunction function, const Declaration& declaration, REALpicture receiver,
                 std::span<const HostValue> arguments) {
    const std::vector<Parameter>& parameters = declaration.parameters;
    if (arguments.size() != parameters.size())
        throw std::invalid_argument("the number of arguments is not that of the parameters");
    std::vector<ffi_type*> types{&ffi_type_pointer};
    std::vector<Slot> slots(1);
    slots.front().handle = receiver;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        types.push_back(MachineType(parameters[i].type));
        slots.push_back(Store(arguments[i], parameters[i].type));
    }
    std::vector<void*> values;
    values.reserve(slots.size());
    for (Slot& slot : slots)
        values.push_back(&slot);

    ffi_type* const resultType =
        declaration.result ? MachineType(*declaration.result) : &ffi_type_void;
    ffi_cif shape{};
    if (ffi_prep_cif(&shape, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), resultType,
                     types.data()) != FFI_OK)
        throw std::invalid_argument("the declaration cannot be called on this machine");
    Result result{};
    ffi_call(&shape, function, &result, values.data());
    return Load(result, declaration.result);
}

}  // namespace workbench
