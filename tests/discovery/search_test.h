#pragma once

#include <string>
#include <vector>

#include "discovery/oryx_wrapper.h"
#include "tests/discovery/discovery_test.h"

namespace ksp::test {

// A started wrapper that looks for printers.
class SearchTest : public DiscoveryTest {
  protected:
    static constexpr char kFirst[] = "127.0.0.2";
    static constexpr char kSecond[] = "127.0.0.3";
    static constexpr char kFirstMac[] = "0026AB000001";
    static constexpr char kSecondMac[] = "0026AB000002";

    void SetUp() override {
        DiscoveryTest::SetUp();
        ASSERT_TRUE(wrapper_.StartUp());
        NewLines();
        library_.ClearCalls();
    }
    void TearDown() override {
        wrapper_.Finalize();
        DiscoveryTest::TearDown();
    }

    // A search takes at most so many seconds.
    void Restart(DWORD seconds) {
        SetSetting(L"WaitPrinterValueTimeout", seconds);
        ASSERT_TRUE(wrapper_.StartUp());
        library_.ClearCalls();
    }
    void AddTwoDevices() {
        library_.AddDevice({.address = kFirst, .mac = kFirstMac});
        library_.AddDevice({.address = kSecond, .mac = kSecondMac});
    }
    bool Find(const std::vector<std::wstring>& macs) {
        address_ = L"old address";
        mac_.clear();
        return wrapper_.FindDeviceByMac(macs, address_, mac_);
    }
    void ExpectNothingFound() {
        EXPECT_EQ(address_, L"");
        EXPECT_EQ(mac_, L"");
    }
    // The devices that called back, in order.
    std::vector<std::string> Answered() const {
        std::vector<std::string> addresses;
        for (const DiscoveryControl::Call& call : library_.Calls(DiscoveryProbeCallback)) {
            addresses.push_back(call.address);
        }
        return addresses;
    }

    CKspOryxWrapper wrapper_;
    std::wstring address_;
    std::wstring mac_;
};

}  // namespace ksp::test
