// The store's life: the monitor type, the two keys that stay open, and their closing.

#include "ports/registry_store.h"

#include <gmock/gmock.h>

#include <vector>

#include "tests/support/spooler_start.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kTypeLine[] = "ERROR: GetMonitorType: failed get KSPRINT_SECURE";

class RegistryStoreTest : public test::StoreTest {
  protected:
    std::int32_t TypeOf(DWORD type, std::vector<BYTE> data) {
        memory_.SetBytes(memory_.Root(), L"", L"KSPRINT_SECURE", type, std::move(data));
        return store_.GetMonitorType(store_.MonitorRoot());
    }
    [[nodiscard]] std::optional<host::RegistryValue> LocalSegment() const {
        return memory_.GetValue(HKEY_LOCAL_MACHINE, test::kSoftwareKey, L"LocalSegment");
    }
    void FailClosing(std::size_t nth, LONG code) {
        registry_.AddFault({.operation = RegistryOperation::kCloseKey, .code = code, .nth = nth});
    }
};

TEST_F(RegistryStoreTest, MonitorTypeIsTheStoredNumber) {
    for (const BYTE number : std::initializer_list<BYTE>{0, 1, 2, 3, 255}) {
        EXPECT_EQ(TypeOf(REG_DWORD, {number, 0, 0, 0}), number);
    }
    EXPECT_EQ(TypeOf(REG_DWORD, {0xFE, 0xFF, 0xFF, 0xFF}), -2);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryStoreTest, MonitorTypeIsReadFromTheGivenKey) {
    TypeOf(REG_DWORD, {1, 0, 0, 0});
    memory_.SetDword(HKEY_LOCAL_MACHINE, L"", L"KSPRINT_SECURE", 2);
    EXPECT_EQ(store_.GetMonitorType(HKEY_LOCAL_MACHINE), 2);
}

TEST_F(RegistryStoreTest, MonitorTypeOfANullKeyIsMinusOneWithoutALine) {
    EXPECT_EQ(store_.GetMonitorType(nullptr), -1);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(registry_.Calls(), IsEmpty());
}

TEST_F(RegistryStoreTest, MissingMonitorTypeIsMinusOne) {
    EXPECT_EQ(store_.GetMonitorType(store_.MonitorRoot()), -1);
    EXPECT_THAT(Lines(), ElementsAre(kTypeLine));
}

TEST_F(RegistryStoreTest, MonitorTypeOfAnotherRegistryTypeOrSizeIsMinusOne) {
    EXPECT_EQ(TypeOf(REG_SZ, {1, 0, 0, 0}), -1);
    EXPECT_EQ(TypeOf(REG_BINARY, {1, 0, 0, 0}), -1);
    EXPECT_EQ(TypeOf(REG_DWORD, {1}), -1);
    EXPECT_EQ(TypeOf(REG_DWORD, {1, 0, 0, 0, 0}), -1);
    EXPECT_THAT(Lines(), ElementsAre(kTypeLine, kTypeLine, kTypeLine, kTypeLine));
}

TEST_F(RegistryStoreTest, PortsKeyIsCreatedBelowTheMonitorRoot) {
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    EXPECT_THAT(memory_.SubkeyNames(memory_.Root(), L""), ElementsAre(L"Ports"));
    EXPECT_THAT(registry_.OpenKeys(), ElementsAre(L"root\\Ports"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryStoreTest, PortsKeyThatCannotBeCreatedIsLogged) {
    registry_.AddFault({.operation = RegistryOperation::kCreateKey, .code = 5});
    EXPECT_EQ(store_.OpenPortsKey(), 5);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to create/open Ports key"));
}

TEST_F(RegistryStoreTest, OpeningThePortsKeyAgainClosesTheOldOne) {
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    EXPECT_THAT(registry_.OpenKeys(), ElementsAre(L"root\\Ports"));
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 1U);
}

TEST_F(RegistryStoreTest, PortsKeyThatCannotBeClosedIsLoggedAndForgotten) {
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    FailClosing(1, 1018);
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to close Ports key. (1018)"));
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 1U);
}

TEST_F(RegistryStoreTest, SoftwareKeyIsThatOfTheMonitorType) {
    for (const MonitorType type : {MonitorType::kNone, MonitorType::kOrdinary}) {
        EXPECT_EQ(store_.OpenSoftwareKey(type), ERROR_SUCCESS);
        EXPECT_EQ(store_.Type(), type);
        EXPECT_THAT(registry_.OpenKeys(), ElementsAre(L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print"));
    }
    EXPECT_FALSE(memory_.HasKey(HKEY_LOCAL_MACHINE, test::kIdPrintSoftwareKey));
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kIdPrint), ERROR_SUCCESS);
    EXPECT_EQ(store_.Type(), MonitorType::kIdPrint);
    EXPECT_THAT(registry_.OpenKeys(),
                ElementsAre(L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print(ID Print)"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryStoreTest, SoftwareKeyThatCannotBeClosedIsLoggedAndForgotten) {
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    FailClosing(1, 6);
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to close Software key. (6)"));
}

TEST_F(RegistryStoreTest, MissingLocalSegmentIsCreatedAsTheByteOne) {
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    ASSERT_TRUE(LocalSegment());
    EXPECT_EQ(LocalSegment()->type, DWORD{REG_BINARY});
    EXPECT_EQ(LocalSegment()->data, std::vector<BYTE>{1});
    EXPECT_THAT(Writes(), ElementsAre(L"LocalSegment"));
}

TEST_F(RegistryStoreTest, StoredLocalSegmentIsKept) {
    for (const BYTE flag : std::initializer_list<BYTE>{0, 1, 2}) {
        memory_.SetBytes(HKEY_LOCAL_MACHINE, test::kSoftwareKey, L"LocalSegment", REG_BINARY,
                         {flag});
        EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
        EXPECT_EQ(LocalSegment()->data, std::vector<BYTE>{flag});
    }
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(RegistryStoreTest, LocalSegmentOfAnotherTypeIsReplaced) {
    for (const DWORD type : std::initializer_list<DWORD>{REG_NONE, REG_SZ, REG_DWORD}) {
        memory_.SetBytes(HKEY_LOCAL_MACHINE, test::kSoftwareKey, L"LocalSegment", type, {0});
        EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
        EXPECT_EQ(LocalSegment()->type, DWORD{REG_BINARY});
        EXPECT_EQ(LocalSegment()->data, std::vector<BYTE>{1});
    }
}

TEST_F(RegistryStoreTest, LocalSegmentThatCannotBeWrittenIsLogged) {
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .name = L"LocalSegment"});
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: error setting default local segment browse flag"));
}

TEST_F(RegistryStoreTest, SoftwareKeyIsOpenedReadOnlyWhenItCannotBeCreated) {
    SetSetting(L"ExeDirectory", L"C:\\exe");
    memory_.SetWritable(HKEY_LOCAL_MACHINE, test::kSoftwareKey, false);
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to create/open Software key"));
    EXPECT_EQ(store_.GetExeDirectory(), L"C:\\exe");
    EXPECT_FALSE(LocalSegment());
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_FALSE(store_.WriteSetting(L"LogFileIndex", 1));
}

TEST_F(RegistryStoreTest, SoftwareKeyThatCannotBeOpenedAtAllLeavesTheDefaults) {
    registry_.AddFault({.operation = RegistryOperation::kCreateKey, .code = 5});
    registry_.AddFault({.operation = RegistryOperation::kOpenKey, .code = 1018});
    EXPECT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), 1018);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to create/open Software key"));
    EXPECT_EQ(store_.GetLogFileName(), L"log.txt");
    EXPECT_EQ(store_.ReadSetting(L"LogLevel"), std::nullopt);
    EXPECT_FALSE(store_.WriteSetting(L"LogLevel", 1));
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(RegistryStoreTest, CloseStoreClosesTheSoftwareKeyThenThePortsKey) {
    Open();
    store_.CloseStore();
    const auto calls = registry_.Calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].operation, RegistryOperation::kCloseKey);
    EXPECT_EQ(calls[0].key, L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print");
    EXPECT_EQ(calls[1].operation, RegistryOperation::kCloseKey);
    EXPECT_EQ(calls[1].key, L"root\\Ports");
    EXPECT_THAT(registry_.OpenKeys(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryStoreTest, CloseStoreLogsBothFailures) {
    Open();
    FailClosing(1, 5);
    FailClosing(2, 6);
    store_.CloseStore();
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to close Software key. (5)",
                                     "ERROR: Unable to close Ports key. (6)"));
}

TEST_F(RegistryStoreTest, CloseStoreForgetsTheSpoolerAndTheLock) {
    Open();
    EXPECT_TRUE(store_.HasLock());
    store_.CloseStore();
    EXPECT_FALSE(store_.HasLock());
    EXPECT_EQ(store_.MonitorRoot(), nullptr);
    registry_.ClearCalls();
    store_.CloseStore();
    EXPECT_THAT(registry_.Calls(), IsEmpty());
}

TEST_F(RegistryStoreTest, CanBeOpenedAgainAfterItWasClosed) {
    Open();
    store_.CloseStore();
    store_.CreateLock();
    test::GiveRegistry(store_, registry_);
    Open();
    EXPECT_EQ(registry_.OpenKeys().size(), 2U);
}

TEST_F(RegistryStoreTest, DestructorClosesBothKeys) {
    {
        CRegistryStore store;
        test::GiveRegistry(store, registry_);
        ASSERT_EQ(store.OpenPortsKey(), ERROR_SUCCESS);
        ASSERT_EQ(store.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
        EXPECT_EQ(registry_.OpenKeys().size(), 2U);
    }
    EXPECT_THAT(registry_.OpenKeys(), IsEmpty());
}

TEST_F(RegistryStoreTest, IsOneForTheProcess) {
    EXPECT_EQ(&RegistryStore(), &RegistryStore());
}

}  // namespace
}  // namespace ksp
