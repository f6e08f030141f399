// A file of its own, away from the code that allocates: a compiler that sees one half of a
// replaced pair of operators in line takes the other half for a mistake.

#include "tests/support/scarce_memory.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr int kUnlimited = std::numeric_limits<int>::max();

// How many more large requests are met.
std::atomic<int> g_largeLeft{kUnlimited};

}  // namespace

void* operator new(std::size_t size) {
    if (size >= ksp::test::ScarceMemory::kLarge && g_largeLeft != kUnlimited &&
        g_largeLeft-- <= 0) {
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size > 0 ? size : 1); memory != nullptr) {
        return memory;
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

ScarceMemory::ScarceMemory(int largeRequestsMet) {
    g_largeLeft = largeRequestsMet;
}

ScarceMemory::~ScarceMemory() {
    g_largeLeft = kUnlimited;
}

}  // namespace ksp::test
