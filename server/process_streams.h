#pragma once

#include <cstdio>

namespace orb::unitview::ipc {

/// The descriptor on which binary frames leave; the parent opens it before the start.
inline constexpr int kBinaryDescriptor = 3;

/// A C stream for binary writing on `kBinaryDescriptor`, or null when the parent did not open it.
/// Call it before anything else opens a descriptor, which might otherwise get that number.
std::FILE* openBinaryChannel();

/// Untranslated standard streams that block, and writes to a closed pipe or beyond a file size
/// limit that fail instead of ending us.
void prepareStandardStreams();

}  // namespace orb::unitview::ipc
