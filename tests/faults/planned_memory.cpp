// The operators of the library that is built for memory faults: they count, and refuse one request.

#include <atomic>
#include <cstdlib>
#include <cwchar>
#include <new>

#include "tests/faults/memory_plan.h"

namespace {

using ksp::test::MemoryPlan;

// Without a plan the library is like any other.
MemoryPlan* FindPlan() {
    wchar_t address[32] = {};
    const DWORD length = ::GetEnvironmentVariableW(ksp::test::kMemoryPlanVariable, address, 32);
    return length > 0 && length < 32
               ? reinterpret_cast<MemoryPlan*>(std::wcstoull(address, nullptr, 10))
               : nullptr;
}

// Not a local static: the guard of one costs a kernel handle. Whoever comes first finds the same.
std::atomic<bool> g_searched = false;
std::atomic<MemoryPlan*> g_plan = nullptr;

MemoryPlan* Plan() {
    if (!g_searched) {
        g_plan = FindPlan();
        g_searched = true;
    }
    return g_plan;
}

bool IsRefused(MemoryPlan& plan) {
    if (::InterlockedIncrement(&plan.requests) != plan.refused) {
        return false;
    }
    ::InterlockedExchange(&plan.struck, 1);
    return true;
}

void Release(void* memory) noexcept {
    if (memory != nullptr) {
        if (MemoryPlan* const plan = Plan(); plan != nullptr) {
            ::InterlockedDecrement(&plan->blocks);
        }
        std::free(memory);
    }
}

}  // namespace

void* operator new(std::size_t size) {
    MemoryPlan* const plan = Plan();
    if (plan == nullptr || !IsRefused(*plan)) {
        if (void* memory = std::malloc(size > 0 ? size : 1); memory != nullptr) {
            if (plan != nullptr) {
                ::InterlockedIncrement(&plan->blocks);
            }
            return memory;
        }
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    Release(memory);
}
