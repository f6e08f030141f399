#include "tests/host/allocation_count.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace ksp::test {
namespace {

TEST(AllocationCountTest, CountsWhatTheModuleAsksForAndHolds) {
    AllocationCount count(::GetModuleHandleW(nullptr));
    ASSERT_TRUE(count.works());
    EXPECT_EQ(count.requests(), 0U);
    void* volatile memory = std::malloc(1000);
    EXPECT_EQ(count.requests(), 1U);
    EXPECT_GE(count.bytes_held(), 1000);
    memory = std::realloc(memory, 2000);
    EXPECT_EQ(count.requests(), 2U);
    EXPECT_GE(count.bytes_held(), 2000);
    EXPECT_LT(count.bytes_held(), 3000);
    std::free(memory);
    EXPECT_EQ(count.bytes_held(), 0);
    {
        const std::wstring text(100, L'x');
        EXPECT_EQ(count.requests(), 3U) << "operator new";
    }
    const HGLOBAL block = ::GlobalAlloc(GMEM_FIXED, 10);
    ::GlobalFree(block);
    EXPECT_EQ(count.requests(), 4U);
    count.Reset();
    EXPECT_EQ(count.requests(), 0U);
}

TEST(AllocationCountTest, CountsNoOtherModuleAndStopsAtItsEnd) {
    {
        const AllocationCount count(::GetModuleHandleW(L"msvcrt.dll"));
        void* volatile memory = std::malloc(10);
        std::free(memory);
        EXPECT_EQ(count.requests(), 0U);
        EXPECT_FALSE(count.works()) << "the runtime does not import its own functions";
    }
    void* volatile memory = std::malloc(10);
    std::free(memory);
}

}  // namespace
}  // namespace ksp::test
