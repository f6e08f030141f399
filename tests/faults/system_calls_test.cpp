// Whether what the matrix makes fail is what the library calls.

#include "tests/faults/system_calls.h"

#include <gmock/gmock.h>

#include <string_view>

#include "tests/faults/memory_plan.h"
#include "tests/host/monitor_test.h"
#include "tests/host/patched_import.h"
#include "tools/host/monitor_library.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SystemCallsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(library_.Load(BesideTheProgram(kPlannedLibrary)));
        SystemCalls::Watch(library_.module());
        SystemCalls::Clear();
    }
    void TearDown() override { SystemCalls::Clear(); }

    // As the library calls it.
    template <class Function>
    [[nodiscard]] Function Called(const char* name, Function /*function*/) const {
        return reinterpret_cast<Function>(*FindImport(library_.module(), name));
    }
    static int NumberOf(std::string_view name) {
        int number = 0;
        while (SystemFunctionName(number) != name) {
            ++number;
        }
        return number;
    }

    host::MonitorLibrary library_;
};

TEST_F(SystemCallsTest, EachFunctionIsOneThatTheLibraryImports) {
    for (size_t function = 0; function < SystemFunctionCount(); ++function) {
        const char* const name = SystemFunctionName(static_cast<int>(function));
        EXPECT_NE(FindImport(library_.module(), name), nullptr) << name;
    }
}

TEST_F(SystemCallsTest, TheChosenCallFailsOnceAndWhatOthersTookIsAwaitedBack) {
    const auto alloc = Called("GlobalAlloc", &::GlobalAlloc);
    const auto free = Called("GlobalFree", &::GlobalFree);
    SystemCalls::Refuse(NumberOf("GlobalAlloc"), 2);
    const HGLOBAL first = alloc(GPTR, 4);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(alloc(GPTR, 4), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    const HGLOBAL third = alloc(GPTR, 4);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(SystemCalls::Counts()[static_cast<size_t>(NumberOf("GlobalAlloc"))], 3U);
    free(first);
    EXPECT_THAT(SystemCalls::Leftovers(), ElementsAre("1 blocks of GlobalAlloc"));
    free(third);
    EXPECT_THAT(SystemCalls::Leftovers(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
