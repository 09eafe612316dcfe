// A host with a plugin in it, and the plugin's methods by their parsed declarations.
// Every command that calls a method makes one; it knows no method by name.
#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "workbench/calling/declaration.h"
#include "workbench/host/host.h"
#include "workbench/reports/service_watch.h"

namespace workbench {

/// A method that can be called.
struct Method {
    Declaration declaration;
    RegisteredMethod registered;
};

class Session {
  public:
    /// Lets the plugin register its methods. Every service called becomes a line on `trace` unless
    /// that is null. `report` receives what is left over at the end. Both must outlive the session.
    /// Throws RegistrationError if nothing is registered that can be called.
    Session(HostSettings settings, std::unique_ptr<PluginLibrary> plugin, std::ostream* trace,
            std::string& report);

    Host& RunningHost() { return *host_; }

    /// What the host's services are seen to do; null once watching has stopped.
    ServiceWatch* Watch() { return watch_.get(); }

    /// Lets services run without being watched from now on, since that takes time.
    void StopWatching() { watch_.reset(); }

    const std::vector<Method>& Methods() const { return methods_; }

    /// The declarations of the methods, in their order.
    const std::vector<Declaration>& Declarations() const { return declarations_; }

    /// One line each: what was registered but cannot be used.
    const std::vector<std::string>& Problems() const { return problems_; }

  private:
    std::unique_ptr<PluginLibrary> library_;  // outlives the host, whose end may still call it
    std::unique_ptr<Host> host_;
    std::unique_ptr<ServiceWatch> watch_;
    std::vector<Method> methods_;
    std::vector<Declaration> declarations_;
    std::vector<std::string> problems_;
};

}  // namespace workbench
