#include <gtest/gtest.h>

#include "net/address_text.h"
#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

class AddressTest : public NetTest {};

in_addr Loopback() {
    in_addr address{};
    address.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

TEST_F(AddressTest, AnAddressBecomesDottedTextAndBack) {
    EXPECT_EQ(AddressToText(Loopback()), L"127.0.0.1");
    EXPECT_EQ(TextToAddress(L"127.0.0.1").s_addr, Loopback().s_addr);
    EXPECT_EQ(AddressToText(TextToAddress(L"203.0.113.254")), L"203.0.113.254");
}

TEST_F(AddressTest, ATextThatIsNoAddressIsTheBroadcastAddress) {
    EXPECT_EQ(TextToAddress(L"256.0.0.1").s_addr, INADDR_NONE);
    EXPECT_EQ(TextToAddress(L"printer").s_addr, INADDR_NONE);
    EXPECT_EQ(TextToAddress(L"127.0.0.1.2").s_addr, INADDR_NONE);
    EXPECT_EQ(AddressToText(TextToAddress(L"256.0.0.1")), L"255.255.255.255");
}

TEST_F(AddressTest, AHostHasAnAddressOrACode) {
    const auto found = HostByName(L"localhost");
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->s_addr, Loopback().s_addr);

    WSASetLastError(0);
    EXPECT_FALSE(HostByName(kNoHost).has_value());
    EXPECT_EQ(WSAGetLastError(), WSAHOST_NOT_FOUND);
}

TEST_F(AddressTest, TheComputerTellsItsName) {
    char name[1025] = {};
    ASSERT_EQ(gethostname(name, sizeof(name)), 0);
    EXPECT_EQ(GetHostName(), std::wstring(name, name + std::string_view(name).size()));
}

TEST_F(AddressTest, NewAddressIsFourBytesOfText) {
    const CSLIpAddr address;
    EXPECT_EQ(address.Length(), 4);
    EXPECT_EQ(address.AddressOrigin(), CSLIpAddr::Origin::kText);
    EXPECT_EQ(address.Text(), L"0.0.0.0");
}

TEST_F(AddressTest, DottedTextIsTakenAsItIs) {
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(L"192.0.2.17"), 0u);
    EXPECT_EQ(address.Text(), L"192.0.2.17");
    EXPECT_EQ(address.AddressOrigin(), CSLIpAddr::Origin::kText);
    EXPECT_EQ(address.Length(), 4);
    EXPECT_EQ(address.Address().s_addr, inet_addr("192.0.2.17"));
}

// The parser answers with this address for everything that it does not understand.
TEST_F(AddressTest, TheBroadcastAddressIsAnAddressAndNoFailure) {
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(L"255.255.255.255"), 0u);
    EXPECT_EQ(address.Text(), L"255.255.255.255");
    EXPECT_EQ(address.AddressOrigin(), CSLIpAddr::Origin::kText);
}

TEST_F(AddressTest, AHostNameIsLookedUp) {
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(L"localhost"), 0u);
    EXPECT_EQ(address.Text(), L"127.0.0.1");
    EXPECT_EQ(address.AddressOrigin(), CSLIpAddr::Origin::kHostName);
    EXPECT_EQ(address.Length(), 4);
}

TEST_F(AddressTest, AnotherLookUpReplacesTheFirst) {
    CSLIpAddr address;
    ASSERT_EQ(address.getByName(L"localhost"), 0u);
    EXPECT_EQ(address.getByName(L"192.0.2.1"), 0u);
    EXPECT_EQ(address.AddressOrigin(), CSLIpAddr::Origin::kText);
    EXPECT_EQ(address.Text(), L"192.0.2.1");
}

TEST_F(AddressTest, AFailedLookUpIsLoggedAndLeavesTheAddress) {
    CSLIpAddr address = AddressOf("192.0.2.1");
    EXPECT_EQ(address.getByName(kNoHost), static_cast<DWORD>(WSAHOST_NOT_FOUND));
    EXPECT_EQ(address.Text(), L"192.0.2.1");
    EXPECT_EQ(Count(LineLevel::kInfo, L"Unable to get address for host name = no such host, " +
                                          SystemText(WSAHOST_NOT_FOUND)),
              1u)
        << ReadLog().Describe();
}

TEST_F(AddressTest, TheLocalHostIsLookedUpByItsName) {
    const auto name = GetHostName();
    ASSERT_TRUE(name.has_value());
    CSLIpAddr by_name;
    const std::uint32_t result = by_name.getByName(*name);

    CSLIpAddr local;
    EXPECT_EQ(local.getLocalHost(), result);
    EXPECT_EQ(local.Text(), by_name.Text());
    EXPECT_EQ(local.AddressOrigin(), by_name.AddressOrigin());
    EXPECT_EQ(Count(LineLevel::kTrace, L"local host name =  " + *name), 1u);
}

// To the sockets library no name is the name of this computer.
TEST_F(AddressTest, AnEmptyTextIsTheLocalHost) {
    CSLIpAddr local;
    if (local.getLocalHost() != 0) {
        GTEST_SKIP() << "this computer's name has no address";
    }
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(L""), 0u);
    EXPECT_EQ(address.Text(), local.Text());
    EXPECT_EQ(address.AddressOrigin(), CSLIpAddr::Origin::kHostName);
}

TEST_F(AddressTest, WithoutTheSocketsLibraryNoHostIsFound) {
    StopSockets();
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(L"localhost"), static_cast<DWORD>(WSANOTINITIALISED));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Unable to get address for host name = localhost, " +
                                          SystemText(WSANOTINITIALISED)),
              1u)
        << ReadLog().Describe();
}

}  // namespace
}  // namespace ksp::test
