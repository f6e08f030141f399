// What the library needs memory for before anybody could be told that there is none.

#include <gtest/gtest.h>

#include "tests/faults/memory_plan.h"
#include "tests/host/monitor_test.h"
#include "tools/host/memory_registry.h"
#include "tools/host/monitor_library.h"

namespace ksp::test {
namespace {

TEST(PlannedMemoryTest, LoadingTheLibraryNeedsNone) {
    PublishedPlan plan;
    host::MonitorLibrary library;
    ASSERT_TRUE(library.Load(BesideTheProgram(kPlannedLibrary)));
    EXPECT_EQ(plan.requests, 0);
    // An empty registry starts no monitor, but not without a request: they are counted.
    host::MemoryRegistry registry;
    EXPECT_FALSE(library.Initialize(registry));
    EXPECT_GT(plan.requests, 0);
    EXPECT_TRUE(library.Unload());
    EXPECT_EQ(plan.blocks, 0);
}

}  // namespace
}  // namespace ksp::test
