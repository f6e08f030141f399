// Which of the ports' address types are remembered, and for how long.

#include "ports/address_type_cache.h"

#include <gmock/gmock.h>

#include <string>

#include "ports/registry_store.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::ElementsAre;

constexpr std::uint64_t kSecond = 10'000'000;

CSubkey Subkey(const std::wstring& name, std::uint64_t lastWrite) {
    CSubkey subkey{};
    name.copy(subkey.name, CSubkey::kRoom - 1);
    subkey.lastWrite = lastWrite;
    return subkey;
}

class AddressTypeCacheTest : public ::testing::Test {
  protected:
    CAddressTypeCache cache_;
    std::uint64_t now_ = CAddressTypeCache::Now();
    std::uint64_t longAgo_ = now_ - 100 * kSecond;
};

TEST_F(AddressTypeCacheTest, RemembersAPortThatWasLeftAlone) {
    EXPECT_EQ(cache_.Find(0, Subkey(L"a", longAgo_)), std::nullopt);
    cache_.Note(0, Subkey(L"a", longAgo_), now_, 3);
    EXPECT_EQ(cache_.Find(0, Subkey(L"a", longAgo_)), 3U);
    cache_.Clear();
    EXPECT_EQ(cache_.Find(0, Subkey(L"a", longAgo_)), std::nullopt);
}

TEST_F(AddressTypeCacheTest, KnowsNothingOfAnotherNamePlaceOrTime) {
    cache_.Note(1, Subkey(L"a", longAgo_), now_, 3);
    EXPECT_EQ(cache_.Find(1, Subkey(L"A", longAgo_)), std::nullopt);
    EXPECT_EQ(cache_.Find(0, Subkey(L"a", longAgo_)), std::nullopt);
    EXPECT_EQ(cache_.Find(2, Subkey(L"a", longAgo_)), std::nullopt);
    EXPECT_EQ(cache_.Find(1, Subkey(L"a", longAgo_ + 1)), std::nullopt);
    EXPECT_EQ(cache_.Find(1, Subkey(L"a", longAgo_ - 1)), std::nullopt);
    EXPECT_EQ(cache_.Find(1, Subkey(L"a", longAgo_)), 3U);
}

TEST_F(AddressTypeCacheTest, DoesNotTrustATimeThatIsRecentUnknownOrToCome) {
    for (const std::uint64_t time : {now_, now_ - 4 * kSecond, now_ + kSecond, std::uint64_t{0}}) {
        cache_.Note(0, Subkey(L"a", time), now_, 3);
        EXPECT_EQ(cache_.Find(0, Subkey(L"a", time)), std::nullopt) << time;
    }
    cache_.Note(0, Subkey(L"a", now_ - 6 * kSecond), now_, 3);
    EXPECT_EQ(cache_.Find(0, Subkey(L"a", now_ - 6 * kSecond)), 3U);
}

class RememberedPortTest : public test::StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        Open();
    }
    void AddPort(const std::wstring& name, DWORD addressType) {
        SetPortDword(name, L"PrinterAddressType", addressType);
        SetPortText(name, L"PrinterAddress", L"address of " + name);
        Settle(name);
    }
    void Settle(const std::wstring& name) {
        memory_.SetLastWriteTime(memory_.Root(), L"Ports\\" + name, {0, 0x00600000});
    }
    std::size_t Opened() const { return registry_.CountCalls(RegistryOperation::kOpenKey); }

    CPortInfo info_;
};

TEST_F(RememberedPortTest, IsFoundWithoutBeingOpenedAndLoggedAsBefore) {
    AddPort(L"a", 1);
    AddPort(L"b", 2);
    EXPECT_TRUE(store_.HasPort(L"b"));
    EXPECT_EQ(Opened(), 2U);
    EXPECT_TRUE(store_.HasPort(L"b"));
    EXPECT_FALSE(store_.HasPort(L"c"));
    EXPECT_EQ(Opened(), 2U);
    EXPECT_THAT(Lines(),
                ElementsAre("TRACE: Read port info : hostname = b",
                            "INFO: read port. port name is a", "INFO: read port. port name is b",
                            "TRACE: Read port info : hostname = b",
                            "INFO: read port. port name is a", "INFO: read port. port name is b",
                            "TRACE: Read port info : hostname = c",
                            "INFO: read port. port name is a", "INFO: read port. port name is b"));
}

TEST_F(RememberedPortTest, GivesItsRecordAfresh) {
    AddPort(L"a", 1);
    AddPort(L"b", 4);
    EXPECT_TRUE(store_.HasPort(L"x"));
    EXPECT_EQ(store_.ReadPort(L"x", info_), 1);
    EXPECT_EQ(info_.PortName, L"b");
    EXPECT_EQ(info_.PrinterAddress, L"address of b");
    EXPECT_TRUE(info_.IsTracked());
    SetPortText(L"b", L"PrinterAddress", L"moved");
    EXPECT_EQ(store_.ReadPort(L"x", info_), 1);
    EXPECT_EQ(info_.PrinterAddress, L"moved");
}

TEST_F(RememberedPortTest, IsLeftInTheRecordWhenNoneQualifies) {
    AddPort(L"a", 1);
    AddPort(L"b", 2);
    EXPECT_FALSE(store_.HasPort(L"x"));
    EXPECT_EQ(store_.ReadPort(L"x", info_), 0);
    EXPECT_EQ(info_.PortName, L"b");
    EXPECT_EQ(info_.PrinterAddress, L"address of b");
    EXPECT_EQ(info_.PrinterAddressType, 2U);
}

TEST_F(RememberedPortTest, TypeThatCouldNotBeReadIsReadTheNextTime) {
    AddPort(L"a", 4);
    registry_.AddFault({.operation = RegistryOperation::kQueryValue});
    EXPECT_FALSE(store_.HasPort(L"x"));
    EXPECT_TRUE(store_.HasPort(L"x"));
}

TEST_F(RememberedPortTest, IsForgottenWithTheKeys) {
    AddPort(L"a", 1);
    EXPECT_TRUE(store_.HasPort(L"a"));
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    EXPECT_TRUE(store_.HasPort(L"a"));
    EXPECT_EQ(Opened(), 2U);
}

}  // namespace
}  // namespace ksp
