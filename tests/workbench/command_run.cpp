// Runs command lines inside the test.
#include "tests/workbench/command_run.h"

#include <algorithm>
#include <sstream>

#include "workbench/commands/run_command.h"

namespace workbench {

bool CommandResult::HasOneErrorLine() const {
    return std::count(errors.begin(), errors.end(), '\n') == 1 && errors.back() == '\n';
}

CommandResult RunLine(const std::vector<std::string>& arguments, std::optional<OwnPlugin> plugin,
                      bool errorsAreSeen) {
    std::ostringstream output;
    std::ostringstream errors;
    Environment environment{.output = output,
                            .errors = errors,
                            .errorsAreSeen = errorsAreSeen,
                            .defaultPlugin = ZVK_PLUGIN,
                            .version = "1.2.3"};
    if (plugin) {
        environment.openPlugin = [plugin](const std::filesystem::path& /*file*/) {
            return OpenOwnPlugin(*plugin);
        };
    }
    const int status = RunCommand(arguments, environment);
    return {status, output.str(), errors.str()};
}

}  // namespace workbench
