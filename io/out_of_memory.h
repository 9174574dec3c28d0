#pragma once

#include <exception>

namespace orb::io {

/// For a handler that takes an exception for the fault of what was read: one that says that there
/// was no memory leaves it as std::bad_alloc.
void rethrowOutOfMemory(const std::exception& error);

/// Throws std::bad_alloc where opening a file has just failed because there was no memory for it.
void throwIfOutOfMemory();

}  // namespace orb::io
