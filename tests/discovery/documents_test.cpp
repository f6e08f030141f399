// The documents that the library is sent, whole.

#include <gtest/gtest.h>

#include "discovery/discovery_documents.h"

namespace ksp::test {
namespace {

constexpr CProbeSettings kDefault = {.timeout = 20000, .retry = 2, .retryInterval = 5000};

TEST(DocumentsTest, TheProbeModeWithDefaultSettingsIsOneLine) {
    EXPECT_EQ(ProbeModeDocument(kDefault, L""),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" "
              L"OverRouter=\"TRUE\" MergeNotification=\"FALSE\"></Mode><Protocol p=\"KSPC\" "
              L"ip=\"IPv4\" /><TimeOut>20000</TimeOut><Retry>2</Retry>"
              L"<RetryInterval>5000</RetryInterval></ProbeMode>");
}

TEST(DocumentsTest, TheSubnetListStandsInsideTheMode) {
    EXPECT_EQ(ProbeModeDocument(kDefault, L"<SubnetAddressList>x</SubnetAddressList>"),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" "
              L"OverRouter=\"TRUE\" MergeNotification=\"FALSE\"><SubnetAddressList>x"
              L"</SubnetAddressList></Mode><Protocol p=\"KSPC\" ip=\"IPv4\" />"
              L"<TimeOut>20000</TimeOut><Retry>2</Retry><RetryInterval>5000</RetryInterval>"
              L"</ProbeMode>");
}

TEST(DocumentsTest, TheProbeModeSaysWhetherRoutersAreCrossed) {
    CProbeSettings settings = kDefault;
    settings.overRouter = false;
    EXPECT_EQ(ProbeModeDocument(settings, L""),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" "
              L"OverRouter=\"FALSE\" MergeNotification=\"FALSE\"></Mode><Protocol p=\"KSPC\" "
              L"ip=\"IPv4\" /><TimeOut>20000</TimeOut><Retry>2</Retry>"
              L"<RetryInterval>5000</RetryInterval></ProbeMode>");
}

struct Families {
    bool ipv4;
    bool ipv6;
    const wchar_t* text;
};

class FamiliesTest : public ::testing::TestWithParam<Families> {};

TEST_P(FamiliesTest, AreNamedInTheProtocol) {
    CProbeSettings settings = kDefault;
    settings.ipv4 = GetParam().ipv4;
    settings.ipv6 = GetParam().ipv6;
    EXPECT_EQ(
        ProbeModeDocument(settings, L""),
        std::wstring(L"<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" "
                     L"OverRouter=\"TRUE\" MergeNotification=\"FALSE\"></Mode>"
                     L"<Protocol p=\"KSPC\" ip=\"") +
            GetParam().text +
            L"\" /><TimeOut>20000</TimeOut><Retry>2</Retry>"
            L"<RetryInterval>5000</RetryInterval></ProbeMode>");
}

INSTANTIATE_TEST_SUITE_P(All, FamiliesTest,
                         ::testing::Values(Families{true, true, L"IPv4;IPv6"},
                                           Families{true, false, L"IPv4"},
                                           Families{false, true, L"IPv6"},
                                           Families{false, false, L"IPv4"}));

TEST(DocumentsTest, NumbersAreUnsigned) {
    const CProbeSettings largest = {
        .timeout = 0xFFFFFFFF, .retry = 0xFFFFFFFE, .retryInterval = 0xFFFFFFFD};
    EXPECT_EQ(ProbeModeDocument(largest, L""),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" "
              L"OverRouter=\"TRUE\" MergeNotification=\"FALSE\"></Mode><Protocol p=\"KSPC\" "
              L"ip=\"IPv4\" /><TimeOut>4294967295</TimeOut><Retry>4294967294</Retry>"
              L"<RetryInterval>4294967293</RetryInterval></ProbeMode>");
}

TEST(DocumentsTest, NoSubnetsMakeNoList) {
    EXPECT_EQ(SubnetListDocument({}), L"");
}

TEST(DocumentsTest, SubnetsAreListedInTheirOrder) {
    EXPECT_EQ(SubnetListDocument({{L"192.0.2.0", L"255.255.255.0"}}),
              L"<SubnetAddressList><Address networkAddress=\"192.0.2.0\" "
              L"subnetMask=\"255.255.255.0\" /></SubnetAddressList>");
    EXPECT_EQ(SubnetListDocument({{L"198.51.100.0", L"255.255.0.0"}, {L"192.0.2.0", L"255.0.0.0"}}),
              L"<SubnetAddressList><Address networkAddress=\"198.51.100.0\" "
              L"subnetMask=\"255.255.0.0\" /><Address networkAddress=\"192.0.2.0\" "
              L"subnetMask=\"255.0.0.0\" /></SubnetAddressList>");
}

TEST(DocumentsTest, DeviceHandleSettings) {
    EXPECT_EQ(DeviceHandleDocument(20000, 2, 5000),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><DeviceHandleSetting>"
              L"<TimeOut>20000</TimeOut><Retry>2</Retry><RetryInterval>5000</RetryInterval>"
              L"</DeviceHandleSetting>");
}

TEST(DocumentsTest, MacAddressRequest) {
    EXPECT_EQ(MacAddressRequest(),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data>"
              L"<Group id=\"GetData\"><d id=\"MACAddress\" /></Group></Data></DataInfo></GetData>");
}

TEST(DocumentsTest, MibRequest) {
    EXPECT_EQ(MibRequest(L"1.3.6.1", L"integer"),
              L"<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data><Group "
              L"id=\"access=MIB;oid=1.3.6.1;type=integer;rtype=GetNextRequest\" recvtype=\"mime\" "
              L"action=\"RW\"/></Data></DataInfo></GetData>");
}

}  // namespace
}  // namespace ksp::test
