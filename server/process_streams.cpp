#include "server/process_streams.h"

#include <csignal>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <stdlib.h>
#else
#include <fcntl.h>
#endif

namespace orb::unitview::ipc {

#ifdef _WIN32

std::FILE* openBinaryChannel() {
    // An unopened descriptor is an invalid parameter there, which ends the process by default.
    const auto ignore = [](const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {};
    const auto previous = _set_invalid_parameter_handler(ignore);
    std::FILE* const file =
        _setmode(kBinaryDescriptor, _O_BINARY) == -1 ? nullptr : _fdopen(kBinaryDescriptor, "wb");
    _set_invalid_parameter_handler(previous);
    return file;
}

void prepareStandardStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

#else

namespace {

/// A parent that opens a pipe without blocking may hand that on. A pause in its requests would
/// then end the input, and a reply or frame that it does not read at once would be cut off.
void letBlock(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags != -1 && (flags & O_NONBLOCK) != 0) fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK);
}

}  // namespace

std::FILE* openBinaryChannel() {
    letBlock(kBinaryDescriptor);
    return fdopen(kBinaryDescriptor, "wb");
}

void prepareStandardStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    for (int descriptor = 0; descriptor <= 2; ++descriptor) letBlock(descriptor);
}

#endif

}  // namespace orb::unitview::ipc
