#pragma once

namespace orb::unitview::ipc {

/// What keeps a request that the memory cannot hold from ending the process: memory that is set
/// aside and given up when an allocation fails first, so that there is some for the way out (a JSON
/// value takes memory to be destroyed) and for the error reply.
///
/// Call it once, before any thread is started.
void prepareForLittleMemory();

/// Sets the reserve aside again where it is gone. Call it when nothing of a request is left.
void refillMemoryReserve();

/// Whether an allocation has failed since then. Whatever has been computed meanwhile may lack
/// something, even where the failure was taken for that of a file.
bool hasMemoryRunOut();

}  // namespace orb::unitview::ipc
