// What the library hands to the spooler: the table of operations, and the entries behind which
// there is nothing but a log line.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class TableTest : public PortCallTest {};

TEST_F(TableTest, HasItsPublishedSizeAndSlots) {
    ASSERT_TRUE(Start());
    EXPECT_EQ(table().cbSize, 0xB0U);
    EXPECT_NE(table().pfnEnumPorts, nullptr);
    EXPECT_NE(table().pfnOpenPort, nullptr);
    EXPECT_EQ(table().pfnOpenPortEx, nullptr);
    EXPECT_NE(table().pfnStartDocPort, nullptr);
    EXPECT_NE(table().pfnWritePort, nullptr);
    EXPECT_NE(table().pfnReadPort, nullptr);
    EXPECT_NE(table().pfnEndDocPort, nullptr);
    EXPECT_NE(table().pfnClosePort, nullptr);
    EXPECT_EQ(table().pfnAddPort, nullptr);
    EXPECT_EQ(table().pfnAddPortEx, nullptr);
    EXPECT_EQ(table().pfnConfigurePort, nullptr);
    EXPECT_EQ(table().pfnDeletePort, nullptr);
    EXPECT_EQ(table().pfnGetPrinterDataFromPort, nullptr);
    EXPECT_NE(table().pfnSetPortTimeOuts, nullptr);
    EXPECT_NE(table().pfnXcvOpenPort, nullptr);
    EXPECT_NE(table().pfnXcvDataPort, nullptr);
    EXPECT_NE(table().pfnXcvClosePort, nullptr);
    EXPECT_NE(table().pfnShutdown, nullptr);
    EXPECT_EQ(table().pfnSendRecvBidiDataFromPort, nullptr);
    EXPECT_EQ(table().pfnNotifyUsedPorts, nullptr);
    EXPECT_EQ(table().pfnNotifyUnusedPorts, nullptr);
}

TEST_F(TableTest, EverySlotIsAFunctionOfItsOwn) {
    ASSERT_TRUE(Start());
    // The slots lie behind cbSize and its padding, each the size of a pointer.
    constexpr size_t kSlots = (0xB0 - sizeof(void*)) / sizeof(void*);
    const auto* slots = reinterpret_cast<void* const*>(&table()) + 1;
    std::vector<void*> functions;
    for (size_t slot = 0; slot < kSlots; ++slot) {
        if (slots[slot] != nullptr) {
            EXPECT_THAT(functions, Not(Contains(slots[slot]))) << "slot " << slot;
            functions.push_back(slots[slot]);
        }
    }
    EXPECT_EQ(functions.size(), 12U);
}

TEST_F(TableTest, LiesInReadOnlyMemoryOfTheLibrary) {
    ASSERT_TRUE(Start());
    for (const BYTE* byte : {reinterpret_cast<const BYTE*>(&table()),
                             reinterpret_cast<const BYTE*>(&table()) + 0xB0 - 1}) {
        MEMORY_BASIC_INFORMATION memory = {};
        ASSERT_NE(VirtualQuery(byte, &memory, sizeof(memory)), 0U);
        EXPECT_EQ(memory.Protect, DWORD{PAGE_READONLY});
        EXPECT_EQ(memory.AllocationBase, library().module());
    }
}

TEST_F(TableTest, SecondInitializationAnswersTheSameAndReadsNoRegistry) {
    ASSERT_TRUE(Start());
    const MONITOR2* const first = &table();
    NewLines();
    registry().ClearCalls();
    ASSERT_TRUE(Start());
    EXPECT_EQ(&table(), first);
    EXPECT_THAT(registry().Calls(), IsEmpty());
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(TableTest, SecondInitializationNeedsNoMonitorInit) {
    ASSERT_TRUE(Start());
    const MONITOR2* const first = &table();
    EXPECT_TRUE(library().InitializeWithNull());
    EXPECT_EQ(&table(), first);
}

TEST_F(TableTest, MonitorHandleIsABlockOfItsOwn) {
    ASSERT_TRUE(Start());
    ASSERT_NE(monitor(), nullptr);
    EXPECT_GE(GlobalSize(monitor()), 4U);
    HANDLE other = nullptr;
    ASSERT_NE(library().initialize_function()(nullptr, &other), nullptr);
    EXPECT_NE(other, nullptr);
    EXPECT_NE(other, monitor());
    table().pfnShutdown(other);
}

TEST_F(TableTest, MonitorHandleIsNotNeeded) {
    ASSERT_TRUE(Start());
    EXPECT_EQ(library().initialize_function()(nullptr, nullptr), &table());
}

TEST_F(TableTest, ShutdownFreesOnlyTheMonitorHandle) {
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    HANDLE extra = nullptr;
    ASSERT_NE(library().initialize_function()(nullptr, &extra), nullptr);
    NewLines();
    table().pfnShutdown(extra);
    table().pfnShutdown(nullptr);
    EXPECT_THAT(NewLines(), IsEmpty());
    EXPECT_NE(Open(L"PORT"), nullptr) << "the monitor still works";
    EXPECT_EQ(store().OpenKeyCount(), 2U);
}

TEST_F(TableTest, ReadPortIsNotSupported) {
    ASSERT_TRUE(Start());
    NewLines();
    BYTE buffer[4] = {1, 2, 3, 4};
    DWORD read = 77;
    SetLastError(kUntouched);
    EXPECT_FALSE(table().pfnReadPort(Handle(1), buffer, sizeof(buffer), &read));
    EXPECT_EQ(GetLastError(), kUntouched);
    EXPECT_EQ(read, 77U);
    EXPECT_FALSE(table().pfnReadPort(nullptr, nullptr, 0, nullptr));
    EXPECT_THAT(NewLines(),
                ElementsAre("ERROR read port not supported", "ERROR read port not supported"));
}

TEST_F(TableTest, SetPortTimeOutsIsNotSupported) {
    ASSERT_TRUE(Start());
    NewLines();
    COMMTIMEOUTS timeouts = {};
    EXPECT_FALSE(table().pfnSetPortTimeOuts(Handle(1), &timeouts, 0));
    EXPECT_FALSE(table().pfnSetPortTimeOuts(nullptr, nullptr, 0));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR set port timeout not supported",
                                        "ERROR set port timeout not supported"));
}

TEST_F(TableTest, XcvHandleIsAnEmptyToken) {
    ASSERT_TRUE(Start());
    NewLines();
    HANDLE xcv = nullptr;
    ASSERT_TRUE(
        table().pfnXcvOpenPort(monitor(), L",XcvMonitor Kestrel", SERVER_ACCESS_ADMINISTER, &xcv));
    ASSERT_NE(xcv, nullptr);
    ASSERT_GE(GlobalSize(xcv), 4U);
    EXPECT_EQ(*static_cast<const DWORD*>(xcv), 0U);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called xcv open port", "TRACE success xcv open port"));
    EXPECT_TRUE(table().pfnXcvClosePort(xcv));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called xcv close port"));
}

TEST_F(TableTest, XcvOpenPortWithoutOutputIsRefused) {
    ASSERT_TRUE(Start());
    NewLines();
    EXPECT_FALSE(table().pfnXcvOpenPort(monitor(), nullptr, 0, nullptr));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called xcv open port"));
}

TEST_F(TableTest, XcvDataPortRefusesACommandThatThereIsNot) {
    ASSERT_TRUE(Start());
    NewLines();
    HANDLE xcv = nullptr;
    ASSERT_TRUE(table().pfnXcvOpenPort(monitor(), nullptr, 0, &xcv));
    DWORD needed = 0;
    EXPECT_EQ(table().pfnXcvDataPort(xcv, L"NoSuchCommand", nullptr, 0, nullptr, 0, &needed),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_THAT(NewLines(),
                Contains("INFO invalid data name recved in XcvDataPort: NoSuchCommand"));
    EXPECT_TRUE(table().pfnXcvClosePort(xcv));
}

}  // namespace
}  // namespace ksp::test
