// Deaths in the middle of a change of the ports.

#include "tests/reliability/death_test.h"

namespace ksp::test {
namespace {

// The key, and seven values.
TEST_F(DeathTest, InAddPort) {
    EXPECT_EQ(KillAtEveryChange(L"add", false, [this] { ExpectChangedPortCanBeAdded(); }), 8);
}

TEST_F(DeathTest, InAddPortOfAPortThatThereIs) {
    EXPECT_EQ(KillAtEveryChange(L"add again", true, [this] { ExpectChangedPortCanBeAdded(); }), 7);
}

TEST_F(DeathTest, InSilentAdd) {
    const auto look = [this] {
        const std::wstring wide = raw_->wide_address();
        const std::string address(wide.begin(), wide.end());
        XcvClient client(table(), monitor());
        const DWORD code = client.AddSilently("AR=" + address + ":PR=RAW:PN=changed port");
        EXPECT_TRUE(code == ERROR_SUCCESS || code == ERROR_ALREADY_EXISTS) << code;
        ExpectChangedPortCanBeAdded();
    };
    EXPECT_EQ(KillAtEveryChange(L"silent add", false, look), 8);
}

// Each value of the port is the one before or the new one.
TEST_F(DeathTest, InConfigurePort) {
    const auto look = [this] {
        XcvClient client(table(), monitor());
        XcvClient::Record record;
        ASSERT_EQ(client.GetPortConfig(kChanged, record), 0u);
        const DWORD protocol = XcvClient::ProtocolIn(record);
        const std::wstring address = XcvClient::AddressIn(record);
        EXPECT_TRUE(protocol == kLpr || protocol == kRaw);
        EXPECT_TRUE(address == L"127.0.0.99" || address == raw_->wide_address());
        XcvClient::SetProtocol(record, kRaw);
        XcvClient::SetAddress(record, raw_->wide_address());
        EXPECT_EQ(client.ConfigurePort(record), 0u);
        ExpectRawPrints(kChanged);
    };
    EXPECT_EQ(KillAtEveryChange(L"configure", true, look), 3);
}

TEST_F(DeathTest, InDeletePort) {
    int lives = 0;
    const auto look = [this, &lives] {
        // The key was not deleted any more, or is gone.
        XcvClient client(table(), monitor());
        EXPECT_EQ(client.IsKspPort(kChanged), lives++ == 0);
        ExpectChangedPortCanBeAdded();
    };
    EXPECT_EQ(KillAtEveryChange(L"delete", true, look), 1);
}

}  // namespace
}  // namespace ksp::test
