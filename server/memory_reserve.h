#pragma once

namespace orb::unitview::ipc {

/// Keeps a request that the memory cannot hold from ending the process. Two blocks are set aside.
/// The first is given up when a small allocation fails, which then succeeds after all: those come
/// where no exception can leave, in destructors and within the standard library. The second is
/// given up when that is used up or a large one fails; then std::bad_alloc is thrown and there is
/// memory for the way out (a JSON value takes some to be destroyed) and for the error reply.
///
/// Call it once, before any thread is started.
void prepareForLittleMemory();

/// Sets the blocks aside again where they are gone. Call it when nothing of a request is left.
void refillMemoryReserve();

/// Whether std::bad_alloc has been thrown since then, so that it is behind an error, whatever its
/// text says.
bool hasMemoryRunOut();

}  // namespace orb::unitview::ipc
