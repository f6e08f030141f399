// Finding one port: the first that is tracked, or that has the name.

#include <gmock/gmock.h>

#include <string>

#include "ports/registry_store.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class RegistryReadPortTest : public test::StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        Open();
    }
    void AddPort(const std::wstring& name, DWORD addressType) {
        SetPortDword(name, L"PrinterAddressType", addressType);
        SetPortText(name, L"PrinterAddress", L"address of " + name);
    }

    CPortInfo info_;
};

TEST_F(RegistryReadPortTest, StopsAtThePortOfThatName) {
    AddPort(L"a", 1);
    AddPort(L"b", 2);
    AddPort(L"c", 3);
    EXPECT_EQ(store_.ReadPort(L"b", info_), 1);
    EXPECT_EQ(info_.PortName, L"b");
    EXPECT_EQ(info_.PrinterAddress, L"address of b");
    EXPECT_EQ(info_.PrinterAddressType, 2U);
    EXPECT_THAT(Lines(),
                ElementsAre("TRACE: Read port info : hostname = b",
                            "INFO: read port. port name is a", "INFO: read port. port name is b"));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "every port's key is closed again";
}

TEST_F(RegistryReadPortTest, StopsAtATrackedPortWhateverItsName) {
    AddPort(L"a", 1);
    AddPort(L"b", 4);
    AddPort(L"c", 1);
    EXPECT_EQ(store_.ReadPort(L"c", info_), 1);
    EXPECT_EQ(info_.PortName, L"b");
    EXPECT_EQ(info_.PrinterAddress, L"address of b");
}

TEST_F(RegistryReadPortTest, KeyOfAnotherCaseIsAnotherPorts) {
    AddPort(L"a", 1);
    AddPort(L"Port", 1);
    AddPort(L"\xD6port", 1);
    for (const wchar_t* name : {L"PORT", L"port", L"A", L"\xF6PORT"}) {
        EXPECT_TRUE(store_.IsKeyOfAnotherPort(name)) << name;
    }
    for (const wchar_t* name : {L"Port", L"a", L"Port ", L"Por", L"b"}) {
        EXPECT_FALSE(store_.IsKeyOfAnotherPort(name)) << name;
    }
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "every port's key is closed again";
}

TEST_F(RegistryReadPortTest, KeysThatCannotBeReadAreNobodys) {
    AddPort(L"Port", 1);
    registry_.AddFault({.operation = RegistryOperation::kEnumKey});
    EXPECT_FALSE(store_.IsKeyOfAnotherPort(L"PORT"));
    registry_.AddFault({.operation = RegistryOperation::kOpenKey});
    EXPECT_FALSE(store_.IsKeyOfAnotherPort(L"PORT"));
    EXPECT_TRUE(store_.IsKeyOfAnotherPort(L"PORT"));
}

TEST_F(RegistryReadPortTest, StopsAtTheNameBeforeALaterTrackedPort) {
    AddPort(L"a", 1);
    AddPort(L"b", 4);
    EXPECT_EQ(store_.ReadPort(L"a", info_), 1);
    EXPECT_EQ(info_.PortName, L"a");
}

TEST_F(RegistryReadPortTest, ComparesNamesCaseSensitivelyAndWhole) {
    AddPort(L"Port", 1);
    EXPECT_EQ(store_.ReadPort(L"port", info_), 0);
    EXPECT_EQ(store_.ReadPort(L"Por", info_), 0);
    EXPECT_EQ(store_.ReadPort(L"Port1", info_), 0);
    EXPECT_EQ(store_.ReadPort(L"", info_), 0);
    EXPECT_EQ(store_.ReadPort(L"Port", info_), 1);
}

TEST_F(RegistryReadPortTest, LeavesTheLastPortInTheRecordWhenNoneQualifies) {
    AddPort(L"a", 1);
    AddPort(L"b", 2);
    EXPECT_EQ(store_.ReadPort(L"x", info_), 0);
    EXPECT_EQ(info_.PortName, L"b");
    EXPECT_EQ(info_.PrinterAddress, L"address of b");
    EXPECT_THAT(Lines(),
                ElementsAre("TRACE: Read port info : hostname = x",
                            "INFO: read port. port name is a", "INFO: read port. port name is b"));
}

TEST_F(RegistryReadPortTest, LeavesTheRecordAloneWithoutPorts) {
    info_.PortName = L"as it was";
    EXPECT_EQ(store_.ReadPort(L"x", info_), 0);
    EXPECT_EQ(info_.PortName, L"as it was");
    EXPECT_EQ(info_.PrinterAddressType, 4U);
    EXPECT_THAT(Lines(), ElementsAre("TRACE: Read port info : hostname = x"));
}

TEST_F(RegistryReadPortTest, KeepsNothingOfAnEarlierPort) {
    AddPort(L"a", 1);
    SetPortText(L"a", L"MacAddress", L"00:11:22:33:44:55");
    SetPortDword(L"b", L"PrinterAddressType", 1);
    EXPECT_EQ(store_.ReadPort(L"b", info_), 1);
    EXPECT_EQ(info_.MacAddress, L"");
    EXPECT_EQ(info_.PrinterAddress, L"");
}

TEST_F(RegistryReadPortTest, PortWithoutAnAddressTypeIsNotTracked) {
    memory_.MakeKey(memory_.Root(), L"Ports\\a");
    AddPort(L"b", 1);
    EXPECT_EQ(store_.ReadPort(L"b", info_), 1);
    EXPECT_EQ(info_.PortName, L"b");
}

TEST_F(RegistryReadPortTest, SkipsAPortThatCannotBeOpened) {
    AddPort(L"a", 1);
    AddPort(L"b", 4);
    AddPort(L"c", 1);
    registry_.AddFault({.operation = RegistryOperation::kOpenKey, .name = L"b"});
    EXPECT_EQ(store_.ReadPort(L"c", info_), 1);
    EXPECT_EQ(info_.PortName, L"c");
    EXPECT_THAT(
        Lines(),
        ElementsAre("TRACE: Read port info : hostname = c", "INFO: read port. port name is a",
                    "ERROR: Unable to open key ( b )", "INFO: read port. port name is c"));
}

TEST_F(RegistryReadPortTest, EndsAtAnyFailureOfTheEnumeration) {
    AddPort(L"a", 1);
    AddPort(L"b", 1);
    registry_.AddFault({.operation = RegistryOperation::kEnumKey, .code = 5, .nth = 2});
    EXPECT_EQ(store_.ReadPort(L"b", info_), 0);
    EXPECT_EQ(info_.PortName, L"a");
}

TEST_F(RegistryReadPortTest, WritesNothing) {
    AddPort(L"a", 1);
    EXPECT_EQ(store_.ReadPort(L"a", info_), 1);
    EXPECT_THAT(Writes(), IsEmpty());
}

}  // namespace
}  // namespace ksp
