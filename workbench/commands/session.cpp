// Starts a host, loads the plugin and reads what it registered.
#include "workbench/commands/session.h"

#include <utility>

#include "workbench/commands/failures.h"

namespace workbench {

Session::Session(HostSettings settings, std::unique_ptr<PluginLibrary> plugin, std::ostream* trace,
                 std::string& report)
    : library_(std::move(plugin)) {
    settings.onUnclean = [&report](const std::string& text) { report = text; };
    host_ = std::make_unique<Host>(std::move(settings));
    watch_ = std::make_unique<ServiceWatch>(host_->Tracing(), trace);
    host_->LoadPlugin(*library_);
    problems_ = host_->RegistrationProblems();
    for (const RegisteredMethod& registered : host_->Methods()) {
        try {
            const Declaration declaration = ParseDeclaration(registered.declaration);
            if (registered.function == nullptr) continue;  // assignment only, nothing to call
            methods_.push_back({declaration, registered});
            declarations_.push_back(declaration);
        } catch (const DeclarationError& error) {
            problems_.emplace_back(error.what());
        }
    }
    if (!methods_.empty()) return;
    std::string reasons;
    for (const std::string& problem : problems_)
        reasons += (reasons.empty() ? ": " : "; ") + problem;
    throw RegistrationError("the plugin registered no method" + reasons);
}

}  // namespace workbench
