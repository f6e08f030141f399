// The status word of a printer, and every way in which it is not to be had.

#include "discovery/oryx_wrapper.h"
#include "tests/discovery/status_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kStatusRequest[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data><Group "
    "id=\"access=MIB;oid=1.3.6.1.2.1.25.3.5.1.1;type=integer;rtype=GetNextRequest\" "
    "recvtype=\"mime\" action=\"RW\"/></Data></DataInfo></GetData>";
constexpr char kErrorRequest[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data><Group "
    "id=\"access=MIB;oid=1.3.6.1.2.1.25.3.5.1.2;type=octetString;rtype=GetNextRequest\" "
    "recvtype=\"mime\" action=\"RW\"/></Data></DataInfo></GetData>";
constexpr char kFirstFails[] = "ERROR: Failed GetOIDSValue (Status)";
constexpr char kSecondFails[] = "ERROR: Failed GetOIDSValue (Error Status)";
constexpr char kFails[] = "ERROR: GetPrinterStatus Result is FALSE!";

class PrinterStatusTest : public StatusTest {};

TEST_F(PrinterStatusTest, TwoValuesAreAskedFor) {
    SetValues({4}, {0x40});
    EXPECT_EQ(Status(), 0x210U);
    EXPECT_THAT(library_.Texts(DiscoverySendRecvStream),
                ElementsAre(kStatusRequest, kErrorRequest));
    EXPECT_THAT(
        CallNames(),
        ElementsAre("KSCreateStream", "KSInitialize", "KSCreateDeviceHandle",  //
                    "KSSendRecvStream", "KSRecvCancel", "KSCreateMIMEUtil", "KSMIMESplitData",
                    "KSMIMEDecode", "KSMIMEGetData", "KSMIMEDeleteBuffer", "KSMIMEDeleteBuffer",
                    "KSMIMEDeleteBuffer", "KSDeleteMIMEUtil", "KSDeleteBuffer",  //
                    "KSSendRecvStream", "KSRecvCancel", "KSCreateMIMEUtil", "KSMIMESplitData",
                    "KSMIMEDecode", "KSMIMEGetData", "KSMIMEDeleteBuffer", "KSMIMEDeleteBuffer",
                    "KSMIMEDeleteBuffer", "KSDeleteMIMEUtil", "KSDeleteBuffer",  //
                    "KSDeleteDeviceHandle", "KSStopProbe", "KSTerminate", "KSDeleteStream"));
    EXPECT_THAT(StatusLines(), ElementsAre("ERROR: Print State = 4 , ErrorState = 0x2"));
}

TEST_F(PrinterStatusTest, TheMimePartsNameIsTheHeadersGroup) {
    EXPECT_EQ(Status(), 0U);
    EXPECT_THAT(library_.Texts(DiscoveryMIMEGetData), ElementsAre("value", "value"));
}

TEST_F(PrinterStatusTest, NothingIsKeptBetweenTwoQueries) {
    SetValues({4}, {0x40});
    EXPECT_EQ(Status(), 0x210U);
    SetValues({5}, {0x04});
    EXPECT_EQ(Status(), 0x10008U);
    SetValues({3}, {0x00});
    EXPECT_EQ(Status(), 0U);
}

struct Row {
    std::vector<uint8_t> state;
    std::vector<uint8_t> errors;
    std::uint32_t status;
    const char* line;
};

class StatusRowTest : public StatusTest, public ::testing::WithParamInterface<Row> {};

TEST_P(StatusRowTest, GivesItsWord) {
    SetValues(GetParam().state, GetParam().errors);
    EXPECT_EQ(Status(), GetParam().status);
    EXPECT_THAT(StatusLines(), ElementsAre(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    States, StatusRowTest,
    ::testing::Values(Row{{1}, {0}, 0, "ERROR: Print State = 1 , ErrorState = 0x0"},
                      Row{{2}, {0}, 0x800000, "ERROR: Print State = 2 , ErrorState = 0x0"},
                      Row{{2}, {0x44}, 0x800018, "ERROR: Print State = 2 , ErrorState = 0x22"},
                      Row{{3}, {0}, 0, "ERROR: Print State = 3 , ErrorState = 0x0"},
                      Row{{4}, {0}, 0x200, "ERROR: Print State = 4 , ErrorState = 0x0"},
                      Row{{5}, {0}, 0x10000, "ERROR: Print State = 5 , ErrorState = 0x0"},
                      Row{{6}, {0}, 0, "ERROR: Print State = 6 , ErrorState = 0x0"},
                      Row{{0}, {0}, 0, "ERROR: Print State = 0 , ErrorState = 0x0"}));

// In the order of the MIB: lowPaper, noPaper, lowToner, noToner, doorOpen, jammed, offline,
// serviceRequested.
INSTANTIATE_TEST_SUITE_P(
    Errors, StatusRowTest,
    ::testing::Values(Row{{3}, {0x80}, 0, "ERROR: Print State = 3 , ErrorState = 0x1"},
                      Row{{3}, {0x40}, 0x10, "ERROR: Print State = 3 , ErrorState = 0x2"},
                      Row{{3}, {0x20}, 0x20000, "ERROR: Print State = 3 , ErrorState = 0x4"},
                      Row{{3}, {0x10}, 0x40000, "ERROR: Print State = 3 , ErrorState = 0x8"},
                      Row{{3}, {0x08}, 0x400000, "ERROR: Print State = 3 , ErrorState = 0x10"},
                      Row{{3}, {0x04}, 0x8, "ERROR: Print State = 3 , ErrorState = 0x20"},
                      Row{{3}, {0x02}, 0x80, "ERROR: Print State = 3 , ErrorState = 0x40"},
                      Row{{3}, {0x01}, 0, "ERROR: Print State = 3 , ErrorState = 0x80"}));

INSTANTIATE_TEST_SUITE_P(
    Sizes, StatusRowTest,
    ::testing::Values(
        Row{{4, 0}, {0x40, 0x04}, 0x208, "ERROR: Print State = 4 , ErrorState = 0x220"},
        Row{{3}, {0x40, 0x00}, 0, "ERROR: Print State = 3 , ErrorState = 0x200"},
        Row{{0, 4}, {0}, 0, "ERROR: Print State = 1024 , ErrorState = 0x0"},
        Row{{4, 0, 0}, {0}, 0, "ERROR: Print State = 0 , ErrorState = 0x0"},
        Row{{4, 0, 0, 0}, {0}, 0x200, "ERROR: Print State = 4 , ErrorState = 0x0"},
        Row{{4, 0, 0, 0, 0}, {0}, 0, "ERROR: Print State = 0 , ErrorState = 0x0"},
        Row{{}, {0x40}, 0x10, "ERROR: Print State = 0 , ErrorState = 0x2"},
        Row{{4}, {}, 0x200, "ERROR: Print State = 4 , ErrorState = 0x0"},
        Row{{4}, {0x40, 0, 0}, 0x200, "ERROR: Print State = 4 , ErrorState = 0x0"},
        Row{{3},
            {0x80, 0x40, 0x20, 0x10},
            0x40000,
            "ERROR: Print State = 3 , ErrorState = 0x1020408"},
        Row{{3}, {0x40, 0, 0, 0, 0}, 0, "ERROR: Print State = 3 , ErrorState = 0x0"}));

TEST_F(PrinterStatusTest, NegativeCountsAndMissingBytesAreZero) {
    for (const int count : {-1, -4, -2147483647}) {
        library_.SetMimeReply(kDevice, kStatusOid, {.bytes = {{4, 0, 0, 0}}, .count = count});
        EXPECT_EQ(Status(), 0U) << count;
    }
    for (const int count : {0, 1, 2, 4}) {
        library_.SetMimeReply(kDevice, kStatusOid, {.bytes = std::nullopt, .count = count});
        EXPECT_EQ(Status(), 0U) << count;
    }
}

TEST_F(PrinterStatusTest, APrinterThatIsNotLocatedIsUnknown) {
    EXPECT_EQ(Status(L"no such host"), kUnknown);
    EXPECT_EQ(CountLines("INFO: Status server Unknown"), 1U);
    EXPECT_THAT(CallNames(), IsEmpty());
}

TEST_F(PrinterStatusTest, WithoutAWrapperItIsUnknown) {
    library_.FailNth(DiscoveryCreateStream, 1);
    EXPECT_EQ(Status(), kUnknown);
    EXPECT_THAT(StatusLines(), ElementsAre("ERROR: failed create oryx stream handle)",
                                           "ERROR: Failed Initialized Oryx."));
}

TEST_F(PrinterStatusTest, WithoutADeviceItIsUnknown) {
    EXPECT_EQ(Status(L"127.0.0.9"), kUnknown);
    EXPECT_THAT(StatusLines(), ElementsAre("ERROR: Failed Create Device Handle", kFails));
    EXPECT_THAT(library_.Calls(DiscoveryDeleteDeviceHandle), IsEmpty());
}

TEST_F(PrinterStatusTest, AFailedFirstQueryIsTheOnlyOne) {
    library_.FailNth(DiscoverySendRecvStream, 1, -8);
    EXPECT_EQ(Status(), kUnknown);
    EXPECT_THAT(StatusLines(), ElementsAre("ERROR: failed send/recv stream in get oids value",
                                           kFirstFails, kFails));
    EXPECT_THAT(library_.Texts(DiscoverySendRecvStream), ElementsAre(kStatusRequest));
    EXPECT_EQ(library_.Calls(DiscoveryRecvCancel).size(), 1U);
    EXPECT_EQ(library_.Calls(DiscoveryDeleteDeviceHandle).size(), 1U);
}

TEST_F(PrinterStatusTest, AFailedSecondQueryDropsTheFirstOnesValue) {
    SetValues({4}, {0x40});
    library_.FailNth(DiscoverySendRecvStream, 2);
    EXPECT_EQ(Status(), kUnknown);
    EXPECT_THAT(StatusLines(), ElementsAre("ERROR: failed send/recv stream in get oids value",
                                           kSecondFails, kFails));
    EXPECT_EQ(library_.Calls(DiscoveryRecvCancel).size(), 2U);
    EXPECT_EQ(library_.Calls(DiscoveryDeleteDeviceHandle).size(), 1U);
}

TEST_F(PrinterStatusTest, AReplyOfACallThatFailedIsGivenBack) {
    library_.SetMimeReply(kDevice, kStatusOid, {.bytes = {{4}}, .result = 5});
    EXPECT_EQ(Status(), kUnknown);
    EXPECT_EQ(library_.Calls(DiscoveryDeleteBuffer).size(), 1U);
    EXPECT_THAT(StatusLines(), ElementsAre("ERROR: failed send/recv stream in get oids value",
                                           kFirstFails, kFails));
}

struct Timeout {
    std::optional<DWORD> seconds;
    const char* milliseconds;
};

class StatusTimeoutTest : public StatusTest, public ::testing::WithParamInterface<Timeout> {};

TEST_P(StatusTimeoutTest, IsTheStatusReplyWait) {
    SetSetting(L"WaitPrinterValueTimeout", 3);
    SetSetting(L"WaitServerReplyTimeout", 4);
    if (GetParam().seconds) {
        SetSetting(L"WaitStatusReplyTimeout", *GetParam().seconds);
    }
    EXPECT_EQ(Status(), 0U);
    const auto calls = library_.Calls(DiscoveryCreateDeviceHandle);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].address, kDevice);
    EXPECT_EQ(calls[0].settings, std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>"
                                             "<DeviceHandleSetting><TimeOut>") +
                                     GetParam().milliseconds +
                                     "</TimeOut><Retry>2</Retry><RetryInterval>5000"
                                     "</RetryInterval></DeviceHandleSetting>");
}

INSTANTIATE_TEST_SUITE_P(All, StatusTimeoutTest,
                         ::testing::Values(Timeout{std::nullopt, "20000"}, Timeout{0, "20000"},
                                           Timeout{1, "1000"}, Timeout{9, "9000"}));

TEST_F(PrinterStatusTest, AnAddressThatCannotBeConvertedFails) {
    CKspOryxWrapper wrapper;
    ASSERT_TRUE(wrapper.StartUp());
    library_.ClearCalls();
    CPrinterCondition condition;
    EXPECT_FALSE(wrapper.ReadStatus(L"127.0.0.2\xD800", condition));
    EXPECT_THAT(CallNames(), IsEmpty());
    EXPECT_THAT(NewLines(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
