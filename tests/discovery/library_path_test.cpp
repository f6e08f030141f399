// Where the library lies. Its path is built once per process, so this one has nothing else in it.

#include <gmock/gmock.h>

#include "discovery/oryx_dll.h"
#include "discovery/oryx_wrapper.h"
#include "ports/registry_store.h"
#include "support/logger.h"
#include "tests/host/faulty_registry.h"
#include "tests/support/log_setup.h"
#include "tests/support/spooler_start.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;

TEST(LibraryPathTest, IsBuiltOnceFromTheDirectory) {
    host::MemoryRegistry memory;
    FaultyRegistry registry(memory);
    LogSetup log(Logger());
    ASSERT_TRUE(log.Start(1));
    CRegistryStore& store = RegistryStore();
    store.CreateLock();
    GiveRegistry(store, registry);
    ASSERT_EQ(store.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    const auto directory_reads = [&registry] {
        return registry.CountCalls(RegistryOperation::kQueryValue, L"ExeDirectory");
    };

    CKspOryxWrapper wrapper;
    EXPECT_FALSE(COryxDLL::IsLibraryPathReady());
    EXPECT_FALSE(wrapper.StartUp());
    EXPECT_THAT(log.Lines(), ElementsAre("ERROR: need start up oryx"));

    EXPECT_FALSE(COryxDLL::PrepareLibraryPath()) << "without a directory";
    memory.SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, L"ExeDirectory", L"");
    EXPECT_FALSE(COryxDLL::PrepareLibraryPath()) << "with an empty one";
    EXPECT_FALSE(COryxDLL::IsLibraryPathReady());
    EXPECT_THAT(log.Lines(),
                ElementsAre("ERROR: need start up oryx", "TRACE: Failed GetExeDirectory()",
                            "TRACE: Failed GetExeDirectory()"));

    memory.SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, L"ExeDirectory", KSP_EXE_DIRECTORY);
    EXPECT_TRUE(COryxDLL::PrepareLibraryPath());
    EXPECT_TRUE(COryxDLL::IsLibraryPathReady());
    EXPECT_EQ(COryxDLL::LibraryPath(), L"C:\\Tools\\KSSTRMAPIe.dll");

    const size_t reads = directory_reads();
    memory.SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, L"ExeDirectory", L"C:\\Elsewhere");
    EXPECT_TRUE(COryxDLL::PrepareLibraryPath());
    EXPECT_EQ(COryxDLL::LibraryPath(), L"C:\\Tools\\KSSTRMAPIe.dll");
    EXPECT_EQ(directory_reads(), reads);

    // Nothing was loaded: there is no library in that directory.
    EXPECT_FALSE(wrapper.StartUp());
    EXPECT_THAT(log.Lines(),
                ElementsAre("ERROR: need start up oryx", "TRACE: Failed GetExeDirectory()",
                            "TRACE: Failed GetExeDirectory()",
                            "ERROR: COryxDLL::LoadFunctions failed GetLibraryInstance",
                            "ERROR: Oryx dll is not ready to use"));
    store.CloseStore();
}

}  // namespace
}  // namespace ksp::test
