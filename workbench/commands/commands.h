// The commands of the program, each in a file of its own. Called by RunCommand only; what goes
// wrong is thrown.
#pragma once

#include "workbench/commands/environment.h"
#include "workbench/commands/failures.h"
#include "workbench/commands/options.h"
#include "workbench/commands/session.h"

namespace workbench {

/// Calls the methods on one picture and writes the result.
ExitStatus RunOnFile(Session& session, const Options& options, const Environment& environment);

/// The same for many files: a file that fails is reported and the others are finished.
ExitStatus RunOnFiles(Session& session, const Options& options, const Environment& environment);

/// Times one call.
ExitStatus RunBenchmark(Session& session, const Options& options, const Environment& environment);

/// Lists what the plugin registered.
ExitStatus ListMethods(Session& session, const Environment& environment);

/// Writes the demonstration pictures and says where they are.
ExitStatus RunDemonstration(Session& session, const Options& options,
                            const Environment& environment);

}  // namespace workbench
