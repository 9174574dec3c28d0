#include "io/out_of_memory.h"

#include <cerrno>
#include <new>
#include <system_error>

namespace orb::io {

void rethrowOutOfMemory(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error)) throw;
    const auto* const system = dynamic_cast<const std::system_error*>(&error);
    if (system && system->code() == std::errc::not_enough_memory) throw std::bad_alloc();
}

void throwIfOutOfMemory() {
    if (errno == ENOMEM) throw std::bad_alloc();
}

}  // namespace orb::io
