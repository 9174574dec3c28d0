#include "io/out_of_memory.h"

#include <cerrno>
#include <cstddef>
#include <new>
#include <system_error>

namespace orb::io {

bool isOutOfMemory(const std::exception& error) {
    const auto* const system = dynamic_cast<const std::system_error*>(&error);
    return system ? system->code() == std::errc::not_enough_memory
                  : dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
}

void throwOutOfMemory() {
    if (const std::new_handler freeSome = std::get_new_handler()) freeSome();
    throw std::bad_alloc();
}

void rethrowOutOfMemory(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error)) throw std::bad_alloc();
    if (isOutOfMemory(error)) throwOutOfMemory();
}

void throwIfOutOfMemory() {
    if (errno == ENOMEM) throwOutOfMemory();
}

void requireMemoryToList() {
    constexpr std::size_t kBytes = 96 << 10;  // most of it for the system's own buffer
    ::operator delete(::operator new(kBytes));
}

}  // namespace orb::io
