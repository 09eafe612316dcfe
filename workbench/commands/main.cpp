// The program: hands its arguments and streams to RunCommand.
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "workbench/commands/run_command.h"

int main(int argumentCount, char** arguments) {
    // A file that may not grow further is to be a failed write, like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    const std::vector<std::string> words(arguments + (argumentCount > 0 ? 1 : 0),
                                         arguments + argumentCount);
    const workbench::Environment environment{.output = std::cout,
                                             .errors = std::cerr,
                                             .errorsAreSeen = isatty(STDERR_FILENO) == 1,
                                             .defaultPlugin = ZVK_DEFAULT_PLUGIN,
                                             .version = ZVK_VERSION};
    return workbench::RunCommand(words, environment);
}
