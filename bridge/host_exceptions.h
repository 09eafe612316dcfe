// Raising host exceptions. The host unwinds its own program when the plugin's method returns, so a
// method returns at once after raising, with a null or false result.
#pragma once

namespace zvk {

// Raises an exception of the host class `className`, or of "RuntimeException" where the host has no
// such class, with the ASCII text `message`; a null message leaves the exception without one.
void RaiseException(const char* className, const char* message);

// Raises the C++ exception that is being handled as the host exception that stands for its type.
// To be called from a catch clause.
void RaiseCurrentException();

}  // namespace zvk
