// What is left to do when the process ends: other threads are gone, and with them whoever would
// have released a lock.

#include <gmock/gmock.h>

#include <optional>
#include <thread>

#include "ports/registry_store.h"
#include "support/critical_section.h"
#include "support/logger.h"
#include "support/process_state.h"
#include "tests/support/files.h"
#include "tests/support/log_setup.h"
#include "tests/support/spooler_start.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;

class ProcessEndTest : public ::testing::Test {
  protected:
    static void End() {
        SetProcessEnding();
        ASSERT_TRUE(IsProcessEnding());
    }
};

TEST_F(ProcessEndTest, SectionOfAThreadThatIsGoneIsNotWaitedFor) {
    CCriticalSection section;
    section.Create();
    std::thread([&] { ASSERT_TRUE(section.Enter()); }).join();
    End();
    EXPECT_FALSE(section.Enter());
    EXPECT_FALSE(CAutoLogCritSec(&section).IsHeld());
}

TEST_F(ProcessEndTest, FreeSectionCanStillBeEntered) {
    CCriticalSection section;
    section.Create();
    End();
    const CAutoLogCritSec outer(&section);
    const CAutoLogCritSec inner(&section);
    EXPECT_TRUE(outer.IsHeld());
    EXPECT_TRUE(inner.IsHeld());
}

TEST_F(ProcessEndTest, LogIsStillWrittenAndRotatedButItsSettingsAreNot) {
    CLogger logger;
    test::LogSetup log(logger);
    test::WriteZeros(log.File(), 1048576);
    ASSERT_TRUE(log.Start(1));
    End();
    logger.LogMessage(LogLevel::kInfo, L"", 0, L"one");
    EXPECT_THAT(log.Lines(), ElementsAre("INFO: one"));
    EXPECT_TRUE(std::filesystem::exists(log.File(L"log1.txt")));
    EXPECT_EQ(log.Setting(L"LogFileIndex"), std::nullopt);
}

TEST_F(ProcessEndTest, StoreMakesNoRegistryCallWhenItIsDestroyed) {
    host::MemoryRegistry registry;
    {
        CRegistryStore store;
        store.CreateLock();
        test::GiveRegistry(store, registry);
        ASSERT_EQ(store.OpenPortsKey(), ERROR_SUCCESS);
        ASSERT_EQ(store.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
        End();
    }
    EXPECT_EQ(registry.OpenKeyCount(), 2U) << "the system takes them back";
}

}  // namespace
}  // namespace ksp
