// The check of what a plugin registers, as a host of some version expects it.
// Called by the registration services; reads the plugin's records and changes nothing in them.
#include "workbench/host/registration.h"

#include <cstddef>
#include <memory>
#include <string_view>

#include "hostapi/host_types.h"

namespace workbench {

namespace {

constexpr std::uint32_t oldMethodFlags = 0x000C0000;  // moved to the low half by the plugin
constexpr std::uint32_t moduleMethodFlag = 0x10;
constexpr std::uint32_t oldestInterface = 9;

/// The newest interface that a host of `version` speaks.
std::uint32_t NewestInterface(double version) {
    if (version >= REALversion::Interface13) return 13;
    if (version >= REALversion::Interface12) return 12;
    if (version >= REALversion::Interface11) return 11;
    if (version >= REALversion::Interface10) return 10;
    return oldestInterface;
}

std::string_view RecordName(RegistrationPath path) {
    return path == RegistrationPath::Module ? "module" : "class extension";
}

/// Keeps a module's record for the life of the process, as hosts do: the plugin never frees it.
void KeepForever(const REALmoduleDefinition* definition) {
    static auto* const kept =
        std::make_unique<std::vector<const REALmoduleDefinition*>>().release();
    kept->push_back(definition);
}

}  // namespace

RegistrationPath ExpectedPath(double version) {
    const bool module =
        version >= REALversion::Interface11 && version < REALversion::ExtensionsAgain;
    return module ? RegistrationPath::Module : RegistrationPath::ClassExtension;
}

void Registration::TakeInterfaceVersion(std::int32_t interfaceVersion) {
    interfaceVersion_ = interfaceVersion;
}

void Registration::TakeClassExtension(const REALclassDefinition* definition) {
    if (definition == nullptr) {
        problems_.emplace_back("a null class extension was registered");
        return;
    }
    if (!Accept(RegistrationPath::ClassExtension, definition->name, definition->version)) return;
    if (std::string_view(definition->name) != "Picture") {
        problems_.push_back("there is no class to extend named " + std::string(definition->name));
        return;
    }
    if ((definition->flags & oldMethodFlags) != 0) {
        problems_.emplace_back("the class extension's flags are still the old ones");
        return;
    }
    classFlags_ = definition->flags;
    TakeMethods(RegistrationPath::ClassExtension, definition->name, definition->methods,
                definition->methodCount);
}

void Registration::TakeModule(const REALmoduleDefinition* definition) {
    if (definition == nullptr) {
        problems_.emplace_back("a null module was registered");
        return;
    }
    KeepForever(definition);
    if (!Accept(RegistrationPath::Module, definition->name, definition->version)) return;
    TakeMethods(RegistrationPath::Module, definition->name, definition->methods,
                definition->methodCount);
}

bool Registration::Accept(RegistrationPath path, const char* name, std::uint32_t version) {
    const std::string record(RecordName(path));
    const std::size_t before = problems_.size();
    if (name == nullptr || *name == '\0') problems_.push_back("the " + record + " has no name");
    if (path != ExpectedPath(hostVersion_.value_or(0.0))) {
        problems_.push_back("this version of the host takes no " + record);
    }
    const std::uint32_t newest = NewestInterface(hostVersion_.value_or(0.0));
    if (version < oldestInterface || version > newest) {
        problems_.push_back("the " + record + " is of interface version " +
                            std::to_string(version) + "; the host speaks " +
                            std::to_string(oldestInterface) + " to " + std::to_string(newest));
    }
    if (interfaceVersion_ && static_cast<std::uint32_t>(*interfaceVersion_) != version) {
        problems_.push_back("the " + record + " is of interface version " +
                            std::to_string(version) + " but the plugin announced " +
                            std::to_string(*interfaceVersion_));
    }
    return problems_.size() == before;
}

void Registration::TakeMethods(RegistrationPath path, const std::string& owner,
                               const REALmethodDefinition* methods, std::int64_t count) {
    if (count < 0 || (count > 0 && methods == nullptr)) {
        problems_.push_back(owner + " has a list of " + std::to_string(count) +
                            " methods that cannot be read");
        return;
    }
    for (std::int64_t index = 0; index < count; ++index) {
        const REALmethodDefinition& method = methods[index];
        if (!AcceptMethod(path, owner, method, index)) continue;
        methods_.push_back({method.declaration, method.function, method.setter, method.flags,
                            path == RegistrationPath::Module, owner});
    }
}

bool Registration::AcceptMethod(RegistrationPath path, const std::string& owner,
                                const REALmethodDefinition& method, std::int64_t index) {
    const std::string name = "method " + std::to_string(index) + " of " + owner;
    const std::size_t before = problems_.size();
    if (method.declaration == nullptr) problems_.push_back(name + " has no declaration");
    if (method.function == nullptr && method.setter == nullptr) {
        problems_.push_back(name + " has no function");
    }
    if ((method.flags & oldMethodFlags) != 0) problems_.push_back(name + " has the old flags");
    const bool global = (method.flags & moduleMethodFlag) != 0;
    if (global != (path == RegistrationPath::Module)) {
        problems_.push_back(name + (global ? " is" : " is not") + " marked as a global method");
    }
    if (method.reserved != 0) problems_.push_back(name + " has a reserved word that is not 0");
    return problems_.size() == before;
}

}  // namespace workbench
