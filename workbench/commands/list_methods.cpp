// Shows the declarations that the plugin registered, as they were understood.
#include <ostream>

#include "workbench/commands/commands.h"
#include "workbench/reports/text_line.h"

namespace workbench {

ExitStatus ListMethods(Session& session, const Environment& environment) {
    const Host& host = session.RunningHost();
    std::ostream& output = environment.output;
    const RegisteredMethod& first = session.Methods().front().registered;
    output << (first.fromModule ? "module " : "extension of class ") << OneLine(first.owner);
    if (const std::optional<std::int32_t> version = host.Registered().InterfaceVersion())
        output << ", plugin interface " << *version;
    const std::optional<double> hostVersion = host.Settings().version;
    if (hostVersion) output << ", host " << OneLine(ToText(Literal(*hostVersion)));
    output << '\n';
    for (const Declaration& declaration : session.Declarations())
        output << OneLine(ToText(declaration)) << '\n';
    return ExitStatus::Ok;
}

}  // namespace workbench
