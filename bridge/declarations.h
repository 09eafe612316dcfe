// Rewriting of method declarations for hosts that take the methods as global ones of a module:
// the picture becomes the first parameter.
#pragma once

#include "bridge/buffer.h"

namespace zvk {

// Returns `declaration` with the extended object of class `className` as first parameter, so that
// "Foo(a as integer)" becomes "Foo(extends ref as Picture, a as integer)"; null when out of memory.
// A result longer than a declaration may be is cut off.
Buffer<char> AddClassParameter(const char* declaration, const char* className);

// Returns `declaration` with the assigned value as last parameter, so that "Foo(a as integer)"
// becomes "Foo(a as integer, assigns value)"; null when out of memory.
Buffer<char> AddAssignedValue(const char* declaration);

// Returns a copy of `text` on the heap; null when out of memory.
Buffer<char> CopyString(const char* text);

}  // namespace zvk
