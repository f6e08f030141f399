#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace ksp::test {

// What the library that is built for memory faults counts, and which of its requests for memory is
// refused. It lives in the test program, so that it covers everything from the loading of the
// library to its end; the library finds it through an environment variable.
struct MemoryPlan {
    volatile LONG requests = 0;  // since it was last set to 0
    volatile LONG refused = 0;   // the number of the request to refuse, from 1; 0: none
    volatile LONG struck = 0;    // 1 once that request was made
    volatile LONG blocks = 0;    // handed out and not given back
};

// Holds the plan's address, as a decimal number.
inline constexpr wchar_t kMemoryPlanVariable[] = L"KSP_TEST_MEMORY_PLAN";

// A plan that libraries which are loaded while it lives find; they are gone before it is.
struct PublishedPlan : MemoryPlan {
    PublishedPlan() {
        const auto address = reinterpret_cast<std::uintptr_t>(static_cast<MemoryPlan*>(this));
        ::SetEnvironmentVariableW(kMemoryPlanVariable, std::to_wstring(address).c_str());
    }
    ~PublishedPlan() { ::SetEnvironmentVariableW(kMemoryPlanVariable, nullptr); }
    PublishedPlan(const PublishedPlan&) = delete;
    PublishedPlan& operator=(const PublishedPlan&) = delete;
};

// The file of the library that obeys a plan.
inline constexpr wchar_t kPlannedLibrary[] = L"kspmon_planned_memory.dll";

}  // namespace ksp::test
