#include "server/memory_reserve.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <sys/resource.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace orb::unitview::ipc {
namespace {

constexpr std::size_t kSmallAllocation = 64 << 10;
constexpr std::size_t kBytesForSmallOnes = 1 << 20;
constexpr std::size_t kBytesForTheWayOut = 16 << 20;
/// Of the address space, where that is limited: destroying a JSON array takes as much memory as the
/// array. One grows by doubling, so that the last time that this fits into three quarters there is
/// room for as much again in the whole.
constexpr std::size_t kShareForTheWayOut = 4;
/// Less than this is no help.
constexpr std::size_t kSmallestBlock = 64 << 10;
/// The stack is to be mapped when memory runs out: to grow into a page that is not there ends the
/// process. Deeply nested requests and models take a tenth of it.
constexpr std::size_t kStackBytes = 1 << 20;

#ifdef _WIN32

std::size_t addressSpaceLimit() {
    return 0;
}

void* map(std::size_t size) {
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void unmap(void* memory, std::size_t) {
    VirtualFree(memory, 0, MEM_RELEASE);
}

#else

/// 0 where there is none.
std::size_t addressSpaceLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return 0;
    return static_cast<std::size_t>(limit.rlim_cur);
}

/// Not the allocator's, which would change its ways with large blocks once this one is freed.
void* map(std::size_t size) {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

void unmap(void* memory, std::size_t size) {
    munmap(memory, size);
}

#endif

/// Memory that is set aside; any thread may give it up.
class Block {
public:
    explicit constexpr Block(std::size_t wanted) : wanted_(wanted) {}

    void want(std::size_t size) { wanted_ = size; }
    bool isWhole() const { return memory_ && held_ == wanted_; }

    /// As much of it as there is.
    void hold() {
        giveUp();
        for (held_ = wanted_; held_ >= kSmallestBlock; held_ /= 2)
            if ((memory_ = map(held_))) return;
    }
    void giveUp() {
        if (void* const memory = memory_.exchange(nullptr)) unmap(memory, held_);
    }

private:
    std::size_t wanted_;
    std::size_t held_ = 0;
    std::atomic<void*> memory_ = nullptr;
};

constinit Block forSmallOnes(kBytesForSmallOnes);
constinit Block forTheWayOut(kBytesForTheWayOut);
constinit std::atomic<bool> hasRunOut = false;

void mapStack() {
    volatile char room[kStackBytes];
    room[0] = 0;
    static_cast<void>(room[0]);
}

void giveUpAll() {
    hasRunOut = true;
    forSmallOnes.giveUp();
    forTheWayOut.giveUp();
}

void* allocateInNeed(std::size_t size) {
    if (size <= kSmallAllocation) {
        forSmallOnes.giveUp();
        if (void* const memory = std::malloc(size)) return memory;
    }
    giveUpAll();
    throw std::bad_alloc();
}

}  // namespace

void prepareForLittleMemory() {
    if (const std::size_t limit = addressSpaceLimit(); limit > 0) {
        forTheWayOut.want(limit / kShareForTheWayOut);
        mapStack();
#ifdef __GLIBC__
        mallopt(M_ARENA_MAX, 1);  // each thread would take 64 MiB of it for its own
#endif
    }
    refillMemoryReserve();
    std::set_new_handler(giveUpAll);  // for memory that others have asked for in vain
}

void refillMemoryReserve() {
    hasRunOut = false;
    if (forSmallOnes.isWhole() && forTheWayOut.isWhole()) return;
#ifdef __GLIBC__
    malloc_trim(0);
#endif
    forSmallOnes.hold();
    forTheWayOut.hold();
}

bool hasMemoryRunOut() {
    return hasRunOut;
}

}  // namespace orb::unitview::ipc

void* operator new(std::size_t size) {
    size = std::max<std::size_t>(size, 1);
    void* const memory = std::malloc(size);
    return memory ? memory : orb::unitview::ipc::allocateInNeed(size);
}

// As the library's own would be; a sanitizer brings another, which does not go with what is here.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (...) {
        return nullptr;
    }
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
