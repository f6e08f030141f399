// Which device a search finds.

#include "tests/discovery/search_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SearchMatchTest : public SearchTest {};

TEST_F(SearchMatchTest, TheDeviceOfTheMacAddressIsFound) {
    AddTwoDevices();
    ASSERT_TRUE(Find({L"0026AB000002"}));
    EXPECT_EQ(address_, L"127.0.0.3");
    EXPECT_EQ(mac_, L"0026AB000002");
    std::vector<std::string> names = CallNames();
    // The search may begin to end before the last document is given back.
    EXPECT_EQ(std::erase(names, "KSStopProbe"), 1U);
    EXPECT_THAT(names, ElementsAre("KSSetProbeMode", "KSProbe", "ProbeCallback",
                                   "KSGetDeviceCapability", "KSDeleteBuffer", "ProbeCallback",
                                   "KSGetDeviceCapability", "KSDeleteBuffer"));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(SearchMatchTest, TheFirstToAnswerIsKeptWhateverEntryItMatches) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kSecond}, {.address = kFirst}});
    ASSERT_TRUE(Find({L"0026AB000001", L"0026AB000002"}));
    EXPECT_EQ(address_, L"127.0.0.3");
    EXPECT_EQ(mac_, L"0026AB000002");
}

TEST_F(SearchMatchTest, LetterCaseDoesNotCount) {
    library_.AddDevice({.address = kFirst, .mac = "0026AB00000F"});
    library_.AddDevice({.address = kSecond, .mac = "0026ab00000e"});
    ASSERT_TRUE(Find({L"0026ab00000f"}));
    EXPECT_EQ(address_, L"127.0.0.2");
    EXPECT_EQ(mac_, L"0026AB00000F") << "as the device says it";
    ASSERT_TRUE(Find({L"0026AB00000E"}));
    EXPECT_EQ(address_, L"127.0.0.3");
    EXPECT_EQ(mac_, L"0026ab00000e");
}

TEST_F(SearchMatchTest, OtherSeparatorsAndLengthsAreOtherAddresses) {
    for (const char* mac : {"00:26:AB:00:00:01", "0026AB00000", "0026AB0000010", "", " "}) {
        library_.AddDevice({.address = kFirst, .mac = mac});
        EXPECT_FALSE(Find({L"0026AB000001"})) << mac;
        ExpectNothingFound();
    }
}

TEST_F(SearchMatchTest, ADeviceWithoutAnAddressIsNobodysPrinter) {
    library_.AddDevice({.address = kFirst, .mac = ""});
    EXPECT_FALSE(Find({L""}));
    ExpectNothingFound();
}

TEST_F(SearchMatchTest, WithoutAMatchNothingIsFound) {
    AddTwoDevices();
    EXPECT_FALSE(Find({L"0026AB000003"}));
    ExpectNothingFound();
    EXPECT_THAT(Answered(), ElementsAre(kFirst, kSecond));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(SearchMatchTest, WithoutDevicesNothingIsFound) {
    EXPECT_FALSE(Find({L"0026AB000001"}));
    ExpectNothingFound();
    EXPECT_THAT(CallNames(), ElementsAre("KSSetProbeMode", "KSProbe", "KSStopProbe"));
}

TEST_F(SearchMatchTest, ADeviceWithoutAnAddressIsFoundWithoutOne) {
    library_.AddDevice({.address = kFirst,
                        .document = CapabilityDocument("<MAC_Address>0026AB000001</MAC_Address>")});
    EXPECT_TRUE(Find({L"0026AB000001"}));
    EXPECT_EQ(address_, L"");
    EXPECT_EQ(mac_, L"0026AB000001");
}

TEST_F(SearchMatchTest, DevicesWithUnreadableDocumentsArePassedOver) {
    library_.AddDevice({.address = "127.0.0.4", .document = "<no document"});
    library_.AddDevice({.address = "127.0.0.5", .document = ""});
    library_.AddDevice({.address = "127.0.0.6",
                        .document = "<!DOCTYPE r><r><MAC_Address>0026AB000001</MAC_Address></r>"});
    library_.AddDevice({.address = "127.0.0.7",
                        .document = "<r><MAC_Address>0026AB000001</MAC_Address><x>" +
                                    std::string(10 * 1024 * 1024, 'x') + "</x></r>"});
    AddTwoDevices();
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_EQ(address_, L"127.0.0.2");
}

TEST_F(SearchMatchTest, DevicesWithoutADocumentArePassedOver) {
    library_.AddDevice({.address = "127.0.0.4", .capability = DiscoveryCapabilityNull});
    library_.AddDevice({.address = "127.0.0.5", .capability = DiscoveryCapabilityFails});
    library_.AddDevice({.address = kFirst, .mac = kFirstMac});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_EQ(address_, L"127.0.0.2");
    EXPECT_EQ(library_.Calls(DiscoveryDeleteBuffer).size(), 1U);
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(SearchMatchTest, ADocumentOfACallThatFailedIsGivenBack) {
    AddTwoDevices();
    library_.AddFault({.function = DiscoveryGetDeviceCapability,
                       .nth = 1,
                       .and_later = FALSE,
                       .kind = DiscoveryDoAndFail,
                       .result = 0});
    EXPECT_FALSE(Find({L"0026AB000001"}));
    EXPECT_EQ(library_.Held().buffers, 0U);
}

TEST_F(SearchMatchTest, ACodeIsLoggedAndNothingElse) {
    library_.SetAnswers({{.code = -1}, {.code = -2}, {.code = -3}});
    EXPECT_FALSE(Find({L"0026AB000001"}));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE: RecvProbeCallBackFunc (Error = -1)",
                                        "TRACE: RecvProbeCallBackFunc (Error = -2)",
                                        "TRACE: RecvProbeCallBackFunc (Error = -3)"));
    EXPECT_THAT(library_.Calls(DiscoveryGetDeviceCapability), IsEmpty());
}

TEST_F(SearchMatchTest, OtherCodesMeanNothing) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kFirst, .code = 5},
                         {.address = kFirst, .code = 1},
                         {.address = kFirst, .code = -4}});
    EXPECT_FALSE(Find({L"0026AB000001"}));
    EXPECT_THAT(NewLines(), IsEmpty());
    EXPECT_THAT(library_.Calls(DiscoveryGetDeviceCapability), IsEmpty());
}

TEST_F(SearchMatchTest, ASearchGoesOnAfterErrors) {
    AddTwoDevices();
    library_.SetAnswers({{.code = -2}, {.address = kSecond, .code = 5}, {.address = kFirst}});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_EQ(address_, L"127.0.0.2");
    EXPECT_THAT(NewLines(), ElementsAre("TRACE: RecvProbeCallBackFunc (Error = -2)"));
}

TEST_F(SearchMatchTest, AProbeThatDoesNotStartIsStoppedAllTheSame) {
    AddTwoDevices();
    library_.FailNth(DiscoveryProbe, 1);
    EXPECT_FALSE(Find({L"0026AB000001"}));
    ExpectNothingFound();
    EXPECT_THAT(NewLines(), ElementsAre("ERROR: Failed Start Probe"));
    EXPECT_THAT(CallNames(), ElementsAre("KSSetProbeMode", "KSProbe", "KSStopProbe"));
    EXPECT_TRUE(Find({L"0026AB000001"})) << "the next one is not hurt";
}

TEST_F(SearchMatchTest, ResultsThatMeanNothingAreIgnored) {
    AddTwoDevices();
    for (const DiscoveryFunction function :
         {DiscoverySetProbeMode, DiscoveryStopProbe, DiscoveryDeleteBuffer}) {
        library_.AddFault({.function = function,
                           .nth = 1,
                           .and_later = TRUE,
                           .kind = DiscoveryDoAndFail,
                           .result = -1});
    }
    EXPECT_TRUE(Find({L"0026AB000001"}));
    EXPECT_THAT(NewLines(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
