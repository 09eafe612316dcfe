// What a plugin registered, checked and copied out of its records.
// The registration services fill it while the plugin's entry runs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostapi/host_records.h"

namespace workbench {

/// One method that host code can call.
struct RegisteredMethod {
    std::string declaration;  // in the host language, as registered
    REALfunction function = nullptr;
    REALfunction setter = nullptr;  // for assignment syntax, or null
    std::uint32_t flags = 0;
    bool fromModule = false;  // a global method; else a method of `owner`
    std::string owner;        // the extended class's or the module's name
};

/// Which record a host of some version takes.
enum class RegistrationPath { ClassExtension, Module };

/// The path of a host of `version`: modules from 2013.0 up to, not including, 3000.0.
RegistrationPath ExpectedPath(double version);

class Registration {
  public:
    explicit Registration(std::optional<double> hostVersion) : hostVersion_(hostVersion) {}

    /// What the services of the same purpose are given; null is a problem, not a crash.
    void TakeInterfaceVersion(std::int32_t interfaceVersion);
    void TakeClassExtension(const REALclassDefinition* definition);
    void TakeModule(const REALmoduleDefinition* definition);

    /// The methods of records that were as they should be, in their order.
    const std::vector<RegisteredMethod>& Methods() const { return methods_; }

    /// The interface version that the plugin announced, if it did.
    std::optional<std::int32_t> InterfaceVersion() const { return interfaceVersion_; }

    /// The flags word of the class record, if one was registered.
    std::optional<std::uint32_t> ClassFlags() const { return classFlags_; }

    /// One line per thing wrong with what was registered; the records concerned are not used.
    const std::vector<std::string>& Problems() const { return problems_; }

  private:
    bool Accept(RegistrationPath path, const char* name, std::uint32_t version);
    void TakeMethods(RegistrationPath path, const std::string& owner,
                     const REALmethodDefinition* methods, std::int64_t count);
    bool AcceptMethod(RegistrationPath path, const std::string& owner,
                      const REALmethodDefinition& method, std::int64_t index);

    std::optional<double> hostVersion_;
    std::optional<std::int32_t> interfaceVersion_;
    std::optional<std::uint32_t> classFlags_;
    std::vector<RegisteredMethod> methods_;
    std::vector<std::string> problems_;
};

}  // namespace workbench
