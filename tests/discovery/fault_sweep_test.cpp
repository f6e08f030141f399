// Every export of the library fails once at each of its calls: whatever happens, everything is
// given back, and the next use is not hurt.

#include <set>

#include "discovery/oryx_wrapper.h"
#include "tests/discovery/status_test.h"

namespace ksp::test {
namespace {

// Without whose work a status query has no result.
const std::set<DiscoveryFunction> kNeededForStatus = {
    DiscoveryCreateStream,       DiscoveryInitialize,     DiscoverySendRecvStream,
    DiscoveryCreateDeviceHandle, DiscoveryCreateMIMEUtil, DiscoveryMIMEDecode,
    DiscoveryMIMESplitData,      DiscoveryMIMEGetData};
const std::set<DiscoveryFunction> kNeededForSearch = {DiscoveryCreateStream, DiscoveryInitialize,
                                                      DiscoveryProbe, DiscoveryGetDeviceCapability};
const std::set<DiscoveryFunction> kNeededForIdentity = {
    DiscoveryCreateStream, DiscoveryInitialize, DiscoveryCreateDeviceHandle,
    DiscoveryGetDeviceCapability, DiscoverySendRecvStream};

class FaultSweepTest : public StatusTest, public ::testing::WithParamInterface<DiscoveryFunction> {
  protected:
    void SetUp() override {
        StatusTest::SetUp();
        // The MAC address has to be asked for.
        library_.AddDevice(
            {.address = kDevice,
             .mac = "0026AB123456",
             .document = CapabilityDocument("<IPV4_Address>127.0.0.2</IPV4_Address>"),
             .silent = true});
        library_.AddDevice({.address = "127.0.0.3", .mac = "0026AB654321"});
        SetValues({4}, {0x40});
    }

    bool Search() {
        CKspOryxWrapper wrapper;
        std::wstring address;
        std::wstring mac;
        return wrapper.StartUp() && wrapper.FindDeviceByMac({L"0026AB654321"}, address, mac);
    }
    bool Identify() {
        CKspOryxWrapper wrapper;
        CDeviceRecord record;
        return wrapper.StartUp() && wrapper.ReadDeviceIdentity(L"127.0.0.2", record) &&
               record.MacAddress == L"0026AB123456";
    }
    // Carries the use out without a fault, then with one at each call of the function in turn.
    template <class Use>
    void Sweep(Use use, bool needed) {
        library_.ClearCalls();
        ASSERT_TRUE(use());
        const size_t calls = library_.Calls(GetParam()).size();
        EXPECT_TRUE(calls > 0 || !needed) << "the use does not reach the export";
        for (size_t nth = 1; nth <= calls; ++nth) {
            library_.FailNth(GetParam(), static_cast<DWORD>(nth));
            EXPECT_EQ(use(), !needed) << "call " << nth;
            EXPECT_EQ(library_.Leftovers(), "") << "call " << nth;
            library_.ClearFaults();
            EXPECT_TRUE(use()) << "after call " << nth;
        }
    }
};

TEST_P(FaultSweepTest, StatusQuery) {
    Sweep([this] { return Status() == 0x210; }, kNeededForStatus.contains(GetParam()));
}

TEST_P(FaultSweepTest, Search) {
    Sweep([this] { return Search(); }, kNeededForSearch.contains(GetParam()));
}

TEST_P(FaultSweepTest, Identity) {
    Sweep([this] { return Identify(); }, kNeededForIdentity.contains(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    All, FaultSweepTest,
    ::testing::Values(DiscoveryCreateStream, DiscoveryInitialize, DiscoverySetProbeMode,
                      DiscoveryProbe, DiscoveryStopProbe, DiscoveryGetDeviceCapability,
                      DiscoveryDeleteBuffer, DiscoveryTerminate, DiscoveryDeleteStream,
                      DiscoverySendRecvStream, DiscoveryRecvCancel, DiscoveryCreateDeviceHandle,
                      DiscoveryDeleteDeviceHandle, DiscoveryCreateMIMEUtil, DiscoveryDeleteMIMEUtil,
                      DiscoveryMIMEDecode, DiscoveryMIMESplitData, DiscoveryMIMEGetData,
                      DiscoveryMIMEDeleteBuffer),
    [](const auto& test) { return ExportName(test.param); });

}  // namespace
}  // namespace ksp::test
