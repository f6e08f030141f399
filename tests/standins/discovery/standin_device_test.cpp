// Streams, devices, capability documents and replies.

#include "tests/standins/discovery/standin_test.h"

#include <cstring>

namespace ksp::test {
namespace {

constexpr char kAddress[] = "127.0.0.2";
constexpr char kMacRequest[] =
    "<GetData><DataInfo><Data><Group id=\"GetData\"><d id=\"MACAddress\" /></Group></Data>"
    "</DataInfo></GetData>";

class DiscoveryDeviceTest : public DiscoveryStandinTest {
  protected:
    void SetUp() override {
        DiscoveryStandinTest::SetUp();
        control_.AddDevice({.address = kAddress, .mac = "0026AB123456", .name = "A & B"});
        stream_ = BeginStream();
        device_ = library_.KSCreateDeviceHandle(stream_, kAddress, "<settings/>");
        ASSERT_GT(device_, 0);
    }

    void TearDown() override {
        library_.KSDeleteDeviceHandle(stream_, device_);
        EndStream(stream_);
        DiscoveryStandinTest::TearDown();
    }

    // Sends a request as the monitor does. The reply is none, or its text.
    std::optional<std::string> Send(const char* request, int expected_result) {
        char* reply = nullptr;
        EXPECT_EQ(library_.KSSendRecvStream(stream_, device_, request, &reply, 0), expected_result);
        EXPECT_EQ(library_.KSRecvCancel(stream_, device_), 0);
        if (reply == nullptr) {
            return std::nullopt;
        }
        const std::string text = reply;
        library_.KSDeleteBuffer(stream_, device_, &reply);
        return text;
    }

    void* stream_ = nullptr;
    DeviceHandle device_ = 0;
};

TEST_F(DiscoveryDeviceTest, HandlesDoNotFitIntoAnInt) {
    EXPECT_NE(static_cast<DeviceHandle>(static_cast<int>(device_)), device_);
    EXPECT_LE(static_cast<int>(device_), 0);
}

TEST_F(DiscoveryDeviceTest, OnlyDevicesThatExistAreOpened) {
    EXPECT_LT(library_.KSCreateDeviceHandle(stream_, "127.0.0.3", "<settings/>"), 1);
    const auto calls = control_.Calls(DiscoveryCreateDeviceHandle);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].address, kAddress);
    EXPECT_EQ(calls[0].settings, "<settings/>");
    EXPECT_EQ(calls[0].device, device_);
    EXPECT_EQ(calls[0].result, device_);
    EXPECT_EQ(calls[1].address, "127.0.0.3");
    EXPECT_EQ(calls[1].result, 0);
}

TEST_F(DiscoveryDeviceTest, ACapabilityDocumentIsMadeFromTheDevice) {
    EXPECT_EQ(ReadCapability(stream_, device_),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><DeviceCapability><Identity>"
              "<Device_ID>MFG:Kestrel;MDL:Test;</Device_ID><Device_Name>A &amp; B</Device_Name>"
              "</Identity><Network><MAC_Address>0026AB123456</MAC_Address>"
              "<IPV4_Address>127.0.0.2</IPV4_Address></Network></DeviceCapability>");
}

TEST_F(DiscoveryDeviceTest, ACapabilityDocumentIsHandedOutAsGiven) {
    const std::string document(10u << 20, '<');
    control_.AddDevice({.address = kAddress, .document = document});
    EXPECT_TRUE(ReadCapability(stream_, device_) == document);
    const auto given = control_.Calls(DiscoveryGetDeviceCapability);
    const auto taken = control_.Calls(DiscoveryDeleteBuffer);
    ASSERT_EQ(given.size(), 1u);
    ASSERT_EQ(taken.size(), 1u);
    EXPECT_TRUE(given[0].output == document);
    EXPECT_EQ(given[0].address, kAddress);
    EXPECT_NE(given[0].buffer, nullptr);
    EXPECT_EQ(taken[0].buffer, given[0].buffer);
}

TEST_F(DiscoveryDeviceTest, ACapabilityMayBeMissingOrFail) {
    control_.AddDevice({.address = kAddress, .capability = DiscoveryCapabilityNull});
    char text[] = "unchanged";
    char* document = text;
    EXPECT_NE(library_.KSGetDeviceCapability(stream_, device_, &document), 0);
    EXPECT_EQ(document, nullptr);

    document = text;
    control_.AddDevice({.address = kAddress, .capability = DiscoveryCapabilityFails});
    EXPECT_EQ(library_.KSGetDeviceCapability(stream_, device_, &document), 0);
    EXPECT_EQ(document, text);

    EXPECT_TRUE(control_.RemoveDevice(kAddress));
    EXPECT_FALSE(control_.RemoveDevice(kAddress));
    EXPECT_EQ(library_.KSGetDeviceCapability(stream_, device_, &document), 0);
}

TEST_F(DiscoveryDeviceTest, TheMacAddressIsAnswered) {
    EXPECT_EQ(Send(kMacRequest, 0),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data>"
              "<Group id=\"GetData\"><d id=\"Name\">A &amp; B</d>"
              "<d id=\"MACAddress\">0026AB123456</d></Group></Data></DataInfo></GetData>");
    EXPECT_EQ(control_.Texts(DiscoverySendRecvStream), std::vector<std::string>{kMacRequest});

    control_.AddDevice({.address = kAddress});
    EXPECT_EQ(Send(kMacRequest, DISCOVERY_NO_REPLY), std::nullopt);
}

TEST_F(DiscoveryDeviceTest, RepliesAreScripted) {
    EXPECT_TRUE(control_.SetTextReply(kAddress, "MACAddress", "<d/>"));
    EXPECT_EQ(Send(kMacRequest, 0), "<d/>");
    EXPECT_TRUE(control_.SetTextReply(kAddress, "MACAddress", "partial", 7));
    EXPECT_EQ(Send(kMacRequest, 7), "partial");
    EXPECT_TRUE(control_.SetNoReply(kAddress, "MACAddress", 0));
    EXPECT_EQ(Send(kMacRequest, 0), std::nullopt);
    EXPECT_TRUE(control_.SetNoReply(kAddress, "MACAddress", -3));
    EXPECT_EQ(Send(kMacRequest, -3), std::nullopt);
    EXPECT_FALSE(control_.SetTextReply("127.0.0.9", "MACAddress", ""));
}

TEST_F(DiscoveryDeviceTest, RepliesStayWithADeviceThatChanges) {
    EXPECT_TRUE(control_.SetTextReply(kAddress, "1.3.6.1", "kept"));
    control_.AddDevice({.address = kAddress, .mac = "000000000001"});
    EXPECT_EQ(Send("<Group id=\"access=MIB;oid=1.3.6.1;type=integer\"/>", 0), "kept");
    EXPECT_EQ(Send("<Group id=\"access=MIB;oid=1.3.6.2;type=integer\"/>", DISCOVERY_NO_REPLY),
              std::nullopt);
    EXPECT_EQ(Send("no request at all", DISCOVERY_NO_REPLY), std::nullopt);
}

// True when the byte at the address can be read.
bool IsReadable(const char* address) {
    MEMORY_BASIC_INFORMATION memory = {};
    return VirtualQuery(address, &memory, sizeof(memory)) != 0 && memory.State == MEM_COMMIT &&
           memory.Protect == PAGE_READWRITE;
}

TEST_F(DiscoveryDeviceTest, ABufferEndsWithItsMemoryAndIsGoneWhenDeleted) {
    char* document = nullptr;
    ASSERT_NE(library_.KSGetDeviceCapability(stream_, device_, &document), 0);
    const char* const text = document;
    const char* const end = text + std::strlen(text);
    EXPECT_TRUE(IsReadable(text));
    EXPECT_TRUE(IsReadable(end));
    EXPECT_FALSE(IsReadable(end + 1));
    library_.KSDeleteBuffer(stream_, device_, &document);
    EXPECT_FALSE(IsReadable(text));
}

TEST_F(DiscoveryDeviceTest, WhatIsHeldIsCounted) {
    char* document = nullptr;
    ASSERT_NE(library_.KSGetDeviceCapability(stream_, device_, &document), 0);
    EXPECT_EQ(control_.Held().streams, 1u);
    EXPECT_EQ(control_.Held().device_handles, 1u);
    EXPECT_EQ(control_.Held().buffers, 1u);
    EXPECT_EQ(control_.Leftovers(),
              "held: 1 streams\nheld: 1 device handles\nheld: 1 library buffers\n");
    library_.KSDeleteBuffer(stream_, device_, &document);
    EXPECT_EQ(control_.Held().buffers, 0u);
}

TEST_F(DiscoveryDeviceTest, CallsAreNotedInOrderWithTheirThread) {
    control_.ClearCalls();
    library_.KSSetProbeMode(stream_, "<ProbeMode>\xC3\xA4</ProbeMode>");
    Send(kMacRequest, 0);
    const auto calls = control_.Calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].function, DiscoverySetProbeMode);
    EXPECT_EQ(calls[0].text, "<ProbeMode>\xC3\xA4</ProbeMode>");
    EXPECT_EQ(calls[1].function, DiscoverySendRecvStream);
    EXPECT_EQ(calls[2].function, DiscoveryRecvCancel);
    EXPECT_EQ(calls[3].function, DiscoveryDeleteBuffer);
    for (const auto& call : calls) {
        EXPECT_EQ(call.object, stream_);
        EXPECT_EQ(call.thread_id, GetCurrentThreadId());
    }
    EXPECT_EQ(DescribeCall(calls[2]), "KSRecvCancel 127.0.0.2 -> 0");
}

}  // namespace
}  // namespace ksp::test
