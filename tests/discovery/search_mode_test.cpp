// How a search is to go over the network.

#include "tests/discovery/search_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kDefaultMode[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" OverRouter=\"TRUE\" "
    "MergeNotification=\"FALSE\"></Mode><Protocol p=\"KSPC\" ip=\"IPv4\" />"
    "<TimeOut>20000</TimeOut><Retry>2</Retry><RetryInterval>5000</RetryInterval></ProbeMode>";

std::string Mode(const std::string& subnets, const std::string& timeout) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><ProbeMode><Mode Type=\"IP\" "
           "OverRouter=\"TRUE\" MergeNotification=\"FALSE\">" +
           subnets + "</Mode><Protocol p=\"KSPC\" ip=\"IPv4\" /><TimeOut>" + timeout +
           "</TimeOut><Retry>2</Retry><RetryInterval>5000</RetryInterval></ProbeMode>";
}

// A device answers every search, so that none waits.
class SearchModeTest : public SearchTest {
  protected:
    void SetUp() override {
        SearchTest::SetUp();
        AddTwoDevices();
    }
    // The document of a search by a wrapper that starts now.
    std::vector<std::string> Documents() {
        CKspOryxWrapper wrapper;
        EXPECT_TRUE(wrapper.StartUp());
        library_.ClearCalls();
        EXPECT_TRUE(wrapper.FindDeviceByMac({L"0026AB000001"}, address_, mac_));
        return library_.Texts(DiscoverySetProbeMode);
    }
};

TEST_F(SearchModeTest, WithoutSettingsItIsTheDefault) {
    RemoveSetting(L"WaitPrinterValueTimeout");
    EXPECT_THAT(Documents(), ElementsAre(kDefaultMode));
}

TEST_F(SearchModeTest, ATimeOutOfZeroOrThatCannotBeReadIsTheDefault) {
    SetSetting(L"WaitPrinterValueTimeout", 0);
    EXPECT_THAT(Documents(), ElementsAre(kDefaultMode));
    SetSetting(L"WaitPrinterValueTimeout", 7);
    registry_.AddFault({.operation = RegistryOperation::kQueryValue,
                        .and_later = true,
                        .name = L"WaitPrinterValueTimeout"});
    EXPECT_THAT(Documents(), ElementsAre(kDefaultMode));
}

TEST_F(SearchModeTest, EveryWrapperAppliesTheTimeOutAfresh) {
    SetSetting(L"WaitPrinterValueTimeout", 7);
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "7000")));
    SetSetting(L"WaitPrinterValueTimeout", 8);
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "8000")));
}

TEST_F(SearchModeTest, ATimeOutBeyondTheMillisecondsIsTheLongest) {
    SetSetting(L"WaitPrinterValueTimeout", 0xFFFFFFFF);
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "4294967000")));
}

TEST_F(SearchModeTest, OtherSettingsAreInNoDocument) {
    RemoveSetting(L"WaitPrinterValueTimeout");
    for (const DWORD value : {0UL, 1UL, 77UL}) {
        SetSetting(L"WaitServerReplyTimeout", value);
        SetSetting(L"WaitStatusReplyTimeout", value);
        SetSetting(L"MultiCastTTL", value);
        EXPECT_THAT(Documents(), ElementsAre(kDefaultMode));
    }
}

TEST_F(SearchModeTest, ConfiguredSubnetsAreSearched) {
    SetSubnets(1, {L"192.0.2.0;255.255.255.0", L"198.51.100.0;255.255.0.0"});
    EXPECT_THAT(Documents(),
                ElementsAre(Mode("<SubnetAddressList><Address networkAddress=\"192.0.2.0\" "
                                 "subnetMask=\"255.255.255.0\" /><Address "
                                 "networkAddress=\"198.51.100.0\" subnetMask=\"255.255.0.0\" />"
                                 "</SubnetAddressList>",
                                 "1000")));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(SearchModeTest, AnyNumberButZeroTurnsSubnetsOn) {
    SetSubnets(0x80000000, {L"192.0.2.0;255.255.255.0"});
    EXPECT_THAT(Documents(),
                ElementsAre(Mode("<SubnetAddressList><Address networkAddress=\"192.0.2.0\" "
                                 "subnetMask=\"255.255.255.0\" /></SubnetAddressList>",
                                 "1000")));
}

TEST_F(SearchModeTest, SubnetsThatAreTurnedOffAreNotSearched) {
    SetSubnets(0, {L"192.0.2.0;255.255.255.0"});
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "1000")));
    RemoveSetting(L"SubnetSegment");
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "1000")));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(SearchModeTest, WithoutASubnetThereIsNoList) {
    SetSubnets(1, {});
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "1000")));
    SetSubnets(1, {L"192.0.2.0 without a mask"});
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "1000")));
}

TEST_F(SearchModeTest, WithoutTheSubnetsKeyThereIsNoList) {
    SetSetting(L"SubnetSegment", 1);
    EXPECT_THAT(Documents(), ElementsAre(Mode("", "1000")));
    EXPECT_THAT(NewLines(), ElementsAre("INFO: Unable to open key ( subnet )"));
}

TEST_F(SearchModeTest, TextsGoOutInUtf8) {
    SetSubnets(1, {L"\u00E4;\u20AC"});
    EXPECT_THAT(Documents(),
                ElementsAre(Mode("<SubnetAddressList><Address networkAddress=\"\xC3\xA4\" "
                                 "subnetMask=\"\xE2\x82\xAC\" /></SubnetAddressList>",
                                 "1000")));
}

TEST_F(SearchModeTest, ATextThatCannotBeConvertedEndsTheSearch) {
    SetSubnets(1, {L"192.0.2.0\xD800;255.255.255.0"});
    EXPECT_FALSE(Find({L"0026AB000001"}));
    ExpectNothingFound();
    EXPECT_THAT(NewLines(), ElementsAre("ERROR: Conversion to UTF-8 of a parameter went wrong."));
    EXPECT_THAT(CallNames(), IsEmpty());
}

TEST_F(SearchModeTest, TheSubnetListIsReadForEverySearch) {
    ASSERT_TRUE(Find({L"0026AB000001"}));
    SetSubnets(1, {L"192.0.2.0;255.255.255.0"});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_THAT(library_.Texts(DiscoverySetProbeMode),
                ElementsAre(Mode("", "1000"),
                            Mode("<SubnetAddressList><Address networkAddress=\"192.0.2.0\" "
                                 "subnetMask=\"255.255.255.0\" /></SubnetAddressList>",
                                 "1000")));
}

}  // namespace
}  // namespace ksp::test
