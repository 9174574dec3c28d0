#include "server/memory_reserve.h"

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

constexpr std::size_t kReserveBytes = 16 << 20;
/// Of the address space, where that is limited: destroying a JSON array takes as much memory as the
/// array. One grows by doubling, so that the last time that this fits into three quarters there is
/// room for as much again in the whole.
constexpr std::size_t kReserveShare = 4;
/// Less than this is no help.
constexpr std::size_t kSmallestReserve = 256 << 10;
/// The stack is to be mapped when memory runs out: to grow into a page that is not there ends the
/// process. Deeply nested requests and models take a tenth of it.
constexpr std::size_t kStackBytes = 1 << 20;

std::size_t wantedBytes = kReserveBytes;
std::size_t heldBytes = 0;
std::atomic<void*> reserve{nullptr};
std::atomic<bool> hasRunOut{false};

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

void mapStack() {
    volatile char room[kStackBytes];
    room[0] = 0;
    static_cast<void>(room[0]);
}

/// Called by any thread whose allocation has failed.
[[noreturn]] void giveUpReserve() {
    hasRunOut = true;
    if (void* const memory = reserve.exchange(nullptr)) unmap(memory, heldBytes);
    throw std::bad_alloc();
}

}  // namespace

void prepareForLittleMemory() {
    if (const std::size_t limit = addressSpaceLimit(); limit > 0) {
        wantedBytes = limit / kReserveShare;
        mapStack();
#ifdef __GLIBC__
        mallopt(M_ARENA_MAX, 1);  // each thread would take 64 MiB of it for its own
#endif
    }
    refillMemoryReserve();
    std::set_new_handler(giveUpReserve);
}

void refillMemoryReserve() {
    hasRunOut = false;
    if (reserve && heldBytes == wantedBytes) return;
    if (void* const memory = reserve.exchange(nullptr)) unmap(memory, heldBytes);
#ifdef __GLIBC__
    malloc_trim(0);
#endif
    for (heldBytes = wantedBytes; heldBytes >= kSmallestReserve; heldBytes /= 2) {
        reserve = map(heldBytes);
        if (reserve) return;
    }
}

bool hasMemoryRunOut() {
    return hasRunOut;
}

}  // namespace orb::unitview::ipc
