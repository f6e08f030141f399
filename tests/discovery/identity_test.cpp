// Who answers at an address.

#include "discovery/oryx_wrapper.h"
#include "support/text.h"
#include "tests/discovery/discovery_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kDevice[] = "127.0.0.2";
constexpr char kMacRequest[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data><Group id=\"GetData\">"
    "<d id=\"MACAddress\" /></Group></Data></DataInfo></GetData>";

std::string HandleSettings(const std::string& timeout) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><DeviceHandleSetting><TimeOut>" + timeout +
           "</TimeOut><Retry>2</Retry><RetryInterval>5000</RetryInterval></DeviceHandleSetting>";
}

class IdentityTest : public DiscoveryTest {
  protected:
    void SetUp() override {
        DiscoveryTest::SetUp();
        ASSERT_TRUE(wrapper_.StartUp());
        library_.ClearCalls();
    }
    void TearDown() override {
        wrapper_.Finalize();
        DiscoveryTest::TearDown();
    }
    bool Read() { return wrapper_.ReadDeviceIdentity(L"127.0.0.2", record_); }
    // A device whose capability document names no MAC address.
    void AddSilentMac(std::optional<std::string> mac = std::nullopt) {
        library_.AddDevice({.address = kDevice,
                            .mac = std::move(mac),
                            .document = CapabilityDocument("<Device_Name>name</Device_Name>")});
    }
    // With lines in front of the last, which is always the same.
    void ExpectNoMac(const std::vector<std::string>& lines) {
        EXPECT_FALSE(Read());
        std::vector<std::string> expected = lines;
        expected.emplace_back("INFO: Failed get mac address.");
        EXPECT_EQ(NewLines(), expected);
        EXPECT_EQ(CallNames().back(), "KSDeleteDeviceHandle");
    }

    CKspOryxWrapper wrapper_;
    CDeviceRecord record_;
};

TEST_F(IdentityTest, IsReadFromTheCapabilityDocument) {
    library_.AddDevice(
        {.address = kDevice, .mac = "0026AB123456", .name = "name", .device_id = "id"});
    ASSERT_TRUE(Read());
    EXPECT_EQ(record_.DeviceId, L"id");
    EXPECT_EQ(record_.DeviceName, L"name");
    EXPECT_EQ(record_.MacAddress, L"0026AB123456");
    EXPECT_EQ(record_.IPv4Address, L"127.0.0.2");
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateDeviceHandle", "KSGetDeviceCapability",
                                         "KSDeleteBuffer", "KSDeleteDeviceHandle"));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(IdentityTest, TextsComeInTheAnsiCodePage) {
    library_.AddDevice({.address = kDevice, .mac = "0026AB123456", .name = "Sch\xC3\xB6n"});
    ASSERT_TRUE(Read());
    EXPECT_EQ(record_.DeviceName, FromAnsi("Sch\xC3\xB6n"));
}

TEST_F(IdentityTest, AsksForTheMacAddressThatTheDocumentLacks) {
    AddSilentMac("0026AB123456");
    ASSERT_TRUE(Read());
    EXPECT_EQ(record_.MacAddress, L"0026AB123456");
    EXPECT_EQ(record_.DeviceName, L"name");
    EXPECT_THAT(library_.Texts(DiscoverySendRecvStream), ElementsAre(kMacRequest));
    EXPECT_EQ(CallNames().front(), "KSCreateDeviceHandle");
    EXPECT_EQ(CallNames().back(), "KSDeleteDeviceHandle");
    EXPECT_EQ(library_.Calls(DiscoveryRecvCancel).size(), 1U);
    EXPECT_EQ(library_.Calls(DiscoveryDeleteBuffer).size(), 2U);
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(IdentityTest, AsksAlsoWhenTheDocumentCannotBeRead) {
    library_.AddDevice({.address = kDevice, .mac = "0026AB123456", .document = "no document"});
    ASSERT_TRUE(Read());
    EXPECT_EQ(record_.MacAddress, L"0026AB123456");
    EXPECT_EQ(record_.DeviceName, L"");
    EXPECT_EQ(CountLines("TRACE: error loadXML : 1"), 1U);
}

TEST_F(IdentityTest, OverwritesTheRecord) {
    record_.DeviceId = L"old";
    record_.IPv4Address = L"old";
    record_.MacAddress = L"old";
    AddSilentMac("0026AB123456");
    ASSERT_TRUE(Read());
    EXPECT_EQ(record_.DeviceId, L"");
    EXPECT_EQ(record_.IPv4Address, L"");
    EXPECT_EQ(record_.MacAddress, L"0026AB123456");
}

TEST_F(IdentityTest, ADeviceWithoutAMacAddressFails) {
    for (const char* elements :
         {"", "<d id=\"MACAddress\"></d>", "<d id=\"MACAddress\">-1</d>", "<d id=\"Name\">x</d>"}) {
        AddSilentMac();
        library_.SetTextReply(kDevice, "MACAddress", MacReplyDocument(elements));
        ExpectNoMac({});
    }
}

TEST_F(IdentityTest, AReplyThatIsNoDocumentFails) {
    AddSilentMac();
    library_.SetTextReply(kDevice, "MACAddress", "<no document");
    ExpectNoMac({"TRACE: error loadXML : 1", "TRACE: " + ParserReason(L"<no document"),
                 "TRACE: Failed Open Xml Document. 1"});
}

TEST_F(IdentityTest, AReplyWithADocumentTypeFails) {
    AddSilentMac();
    library_.SetTextReply(kDevice, "MACAddress",
                          "<!DOCTYPE r [<!ENTITY m \"0026AB123456\">]>"
                          "<r><d id=\"MACAddress\">&m;</d></r>");
    ExpectNoMac({"TRACE: error loadXML : 1",
                 "TRACE: The document is too long or has a document type definition.",
                 "TRACE: Failed Open Xml Document. 1"});
}

TEST_F(IdentityTest, NoReplyFails) {
    AddSilentMac();
    library_.SetNoReply(kDevice, "MACAddress", 0);
    ExpectNoMac({"TRACE: error loadXML : 1", "TRACE: " + ParserReason(L""),
                 "TRACE: Failed Open Xml Document. 1"});
}

TEST_F(IdentityTest, ARequestThatFailsIsCancelledToo) {
    AddSilentMac();
    library_.SetNoReply(kDevice, "MACAddress", -5);
    ExpectNoMac({"TRACE: Failed SendRecvStream. -5"});
    EXPECT_EQ(library_.Calls(DiscoveryRecvCancel).size(), 1U);
}

TEST_F(IdentityTest, AReplyOfARequestThatFailedIsGivenBack) {
    AddSilentMac();
    library_.SetTextReply(kDevice, "MACAddress",
                          MacReplyDocument("<d id=\"MACAddress\">0026AB123456</d>"), 9);
    ExpectNoMac({"TRACE: Failed SendRecvStream. 9"});
    EXPECT_EQ(library_.Held().buffers, 0U);
}

TEST_F(IdentityTest, WithoutADeviceHandleItFails) {
    EXPECT_FALSE(Read());
    EXPECT_THAT(NewLines(), ElementsAre("ERROR: Failed Create Device Handle",
                                        "ERROR: Failed create device handle"));
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateDeviceHandle"));
}

TEST_F(IdentityTest, ANegativeDeviceHandleIsNone) {
    library_.AddDevice({.address = kDevice, .mac = "0026AB123456"});
    library_.FailNth(DiscoveryCreateDeviceHandle, 1, -1);
    EXPECT_FALSE(Read());
    EXPECT_THAT(NewLines(), ElementsAre("ERROR: Failed Create Device Handle",
                                        "ERROR: Failed create device handle"));
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateDeviceHandle"));
}

TEST_F(IdentityTest, WithoutACapabilityDocumentItFails) {
    for (const DiscoveryCapability capability :
         {DiscoveryCapabilityFails, DiscoveryCapabilityNull}) {
        library_.ClearCalls();
        library_.AddDevice({.address = kDevice, .mac = "0026AB123456", .capability = capability});
        EXPECT_FALSE(Read());
        EXPECT_THAT(NewLines(), ElementsAre("ERROR: Failed get device capability."));
        EXPECT_THAT(CallNames(), ElementsAre("KSCreateDeviceHandle", "KSGetDeviceCapability",
                                             "KSDeleteDeviceHandle"));
    }
}

TEST_F(IdentityTest, AnAddressThatCannotBeConvertedFails) {
    EXPECT_FALSE(wrapper_.ReadDeviceIdentity(L"127.0.0.2\xDC00", record_));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR: Failed create device handle"));
    EXPECT_THAT(CallNames(), IsEmpty());
}

struct Timeout {
    std::optional<DWORD> seconds;
    const char* milliseconds;
};

class IdentityTimeoutTest : public IdentityTest, public ::testing::WithParamInterface<Timeout> {};

TEST_P(IdentityTimeoutTest, IsThePrinterValueWait) {
    SetSetting(L"WaitStatusReplyTimeout", 3);
    SetSetting(L"WaitServerReplyTimeout", 4);
    if (GetParam().seconds) {
        SetSetting(L"WaitPrinterValueTimeout", *GetParam().seconds);
    } else {
        RemoveSetting(L"WaitPrinterValueTimeout");
    }
    library_.AddDevice({.address = kDevice, .mac = "0026AB123456"});
    ASSERT_TRUE(wrapper_.StartUp());
    ASSERT_TRUE(Read());
    const auto calls = library_.Calls(DiscoveryCreateDeviceHandle);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].address, kDevice);
    EXPECT_EQ(calls[0].settings, HandleSettings(GetParam().milliseconds));
}

INSTANTIATE_TEST_SUITE_P(All, IdentityTimeoutTest,
                         ::testing::Values(Timeout{std::nullopt, "20000"}, Timeout{0, "20000"},
                                           Timeout{1, "1000"}, Timeout{30, "30000"}));

}  // namespace
}  // namespace ksp::test
