#include <gtest/gtest.h>

#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

constexpr std::uint32_t kNoDiscovery = 0xFFFFFFFF;

class PrintingAddressTest : public NetTest {
  protected:
    std::uint32_t Resolve(const std::wstring& name) {
        return address_.getByNamePrinting(name, CSLIpAddr::kFamily);
    }
    // None of the lines with which the discovery library is started.
    void ExpectDiscoveryUntouched() {
        EXPECT_EQ(GetModuleHandleW(L"KSSTRMAPIe.dll"), nullptr);
        EXPECT_EQ(ReadLog().Messages(LineLevel::kError), std::vector<std::wstring>())
            << ReadLog().Describe();
    }

    CSLIpAddr address_;
};

TEST_F(PrintingAddressTest, APortThatIsNotTrackedIsResolvedFromItsText) {
    AddPortKey(L"192.0.2.5");
    EXPECT_EQ(Resolve(L"192.0.2.5"), 0u);
    EXPECT_EQ(address_.Text(), L"192.0.2.5");
    EXPECT_EQ(address_.AddressOrigin(), CSLIpAddr::Origin::kText);
    EXPECT_EQ(Count(LineLevel::kTrace, L"Host name = 192.0.2.5"), 1u);
    EXPECT_EQ(Count(LineLevel::kTrace, L"could not read info. : 192.0.2.5"), 0u);
    ExpectDiscoveryUntouched();
}

TEST_F(PrintingAddressTest, APortWithAHostNameIsLookedUp) {
    AddPortKey(L"localhost", 2);
    EXPECT_EQ(Resolve(L"localhost"), 0u);
    EXPECT_EQ(address_.Text(), L"127.0.0.1");
    EXPECT_EQ(address_.AddressOrigin(), CSLIpAddr::Origin::kHostName);
    ExpectDiscoveryUntouched();
}

TEST_F(PrintingAddressTest, ANameWithoutAPortIsResolvedAllTheSame) {
    EXPECT_EQ(Resolve(L"127.0.0.1"), 0u);
    EXPECT_EQ(address_.Text(), L"127.0.0.1");
    const std::vector<std::wstring> expected = {L"Host name = 127.0.0.1",
                                                L"Read port info : hostname = 127.0.0.1",
                                                L"could not read info. : 127.0.0.1"};
    EXPECT_EQ(ReadLog().Messages(LineLevel::kTrace), expected);
    ExpectDiscoveryUntouched();
}

// A record whose address cannot be read has none.
TEST_F(PrintingAddressTest, NoNameIsNotThisComputer) {
    EXPECT_EQ(Resolve(L""), static_cast<DWORD>(WSAHOST_NOT_FOUND));
    EXPECT_EQ(Count(LineLevel::kInfo,
                    L"Unable to get address for host name = . " + SystemText(WSAHOST_NOT_FOUND)),
              1u)
        << ReadLog().Describe();
    EXPECT_EQ(address_.Text(), L"0.0.0.0");
}

// The record then holds another port; its address type must not count.
TEST_F(PrintingAddressTest, AnotherPortIsNotTheNamesPort) {
    AddPortKey(L"127.0.0.9");
    EXPECT_EQ(Resolve(L"127.0.0.1"), 0u);
    EXPECT_EQ(address_.Text(), L"127.0.0.1");
    EXPECT_EQ(Count(LineLevel::kTrace, L"could not read info. : 127.0.0.1"), 1u);
}

TEST_F(PrintingAddressTest, ANameThatCannotBeResolvedHasATextOfItsOwn) {
    EXPECT_EQ(Resolve(kNoHost), static_cast<DWORD>(WSAHOST_NOT_FOUND));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Unable to get address for host name =no such host . " +
                                          SystemText(WSAHOST_NOT_FOUND)),
              1u)
        << ReadLog().Describe();
    EXPECT_EQ(address_.Text(), L"0.0.0.0");
}

// An old address would print on somebody else's printer.
TEST_F(PrintingAddressTest, ATrackedPortWithoutTheDiscoveryLibraryHasNoAddress) {
    AddPortKey(L"127.0.0.1", 4);
    EXPECT_EQ(Resolve(L"127.0.0.1"), kNoDiscovery);
    EXPECT_EQ(Count(LineLevel::kError, L"Failed Initialized Oryx."), 1u);
    EXPECT_EQ(address_.Text(), L"0.0.0.0");
}

// The store answers with the tracked port for every name.
TEST_F(PrintingAddressTest, APortThatIsNotTrackedKeepsToItsAddressBesideATrackedOne) {
    AddPortKey(L"0-tracked", 4);
    AddPortKey(L"127.0.0.1", 1);
    EXPECT_EQ(Resolve(L"127.0.0.1"), 0u) << ReadLog().Describe();
    EXPECT_EQ(address_.Text(), L"127.0.0.1");
    ExpectDiscoveryUntouched();
}

}  // namespace
}  // namespace ksp::test
