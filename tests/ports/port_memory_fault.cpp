#include "tests/ports/port_memory_fault.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<DWORD> g_thread{0};  // 0: memory is plentiful
// Touched by that thread only.
std::size_t g_requestsLeft = 0;
bool g_struck = false;

bool Strike() {
    if (g_thread != ::GetCurrentThreadId() || g_struck || --g_requestsLeft > 0) {
        return false;
    }
    g_struck = true;
    return true;
}

}  // namespace

void* operator new(std::size_t size) {
    if (!Strike()) {
        if (void* memory = std::malloc(size > 0 ? size : 1); memory != nullptr) {
            return memory;
        }
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace ksp::test {

MemoryFault::MemoryFault(std::size_t nth) {
    g_requestsLeft = nth;
    g_struck = false;
    g_thread = ::GetCurrentThreadId();
}

// A fault of another thread goes on.
MemoryShelter::MemoryShelter() : thread_(::GetCurrentThreadId()) {
    if (!g_thread.compare_exchange_strong(thread_, 0)) {
        thread_ = 0;
    }
}

MemoryShelter::~MemoryShelter() {
    if (thread_ != 0) {
        g_thread = thread_;
    }
}

MemoryFault::~MemoryFault() {
    g_thread = 0;
}

bool MemoryFault::Struck() const {
    return g_struck;
}

}  // namespace ksp::test
