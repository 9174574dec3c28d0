#pragma once

#include <exception>

namespace orb::io {

/// Whether an exception says that there was no memory, be it for the standard library or for the
/// system.
bool isOutOfMemory(const std::exception& error);

/// For a handler that takes an exception for the fault of what was read: one that says that there
/// was no memory leaves it as std::bad_alloc.
void rethrowOutOfMemory(const std::exception& error);

/// Throws std::bad_alloc for memory that the system or a library asked for in vain, as if we had:
/// the new-handler has freed what it can.
[[noreturn]] void throwOutOfMemory();

/// Throws std::bad_alloc where opening a file has just failed because there was no memory for it.
void throwIfOutOfMemory();

/// Throws std::bad_alloc unless a folder can be listed: the standard library takes memory for that
/// where it can throw nothing.
void requireMemoryToList();

}  // namespace orb::io
