// A job over XLPR that goes well: the wire, the log, the ports above.

#include "tests/lpr/xlpr_channel_test.h"

namespace ksp::test {
namespace {

using XlprJobTest = XlprChannelTest;

TEST_F(XlprJobTest, TheWholeJobOnTheWire) {
    SetNextNumber(5);
    Start();
    EXPECT_EQ(channel().StartDoc(kPort, L"Document"), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("GetPrinterStatus 7"));
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_TRUE(channel().IsOpen());
    EXPECT_FALSE(HasSpoolFile(5)) << "nothing is spooled";
    const std::string data = std::string("one \0", 5) + std::string(3000, 'x');
    EXPECT_EQ(Write(data), 3005);
    EXPECT_EQ(state(), ChannelState::kStreaming);
    EXPECT_EQ(Write("two"), 3);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled, kTroubled))
        << "asked after every send, also after a good one";
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kAsBefore, "ClearPortStatus 7"));
    EXPECT_FALSE(channel().IsOpen());

    const JobText text{.number = 5, .data_count = kDefaultCount};
    const LpdConnection seen = OnlyConnection();
    EXPECT_TRUE(seen.bytes == text.Preamble() + data + "two") << "and no octet behind the data";
    EXPECT_EQ(seen.violation, "");
    EXPECT_EQ(seen.ending, LpdConnection::Ending::kByPeer);
    EXPECT_FALSE(HasSpoolFile(5));
    EXPECT_EQ(TakeJobNumber(), 6u) << "one number a job";
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(XlprJobTest, TheLogFollowsTheJob) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    ASSERT_EQ(Write("more"), 4);
    const std::wstring host = printer_->wide_address();
    std::vector<std::wstring> lines;
    for (const std::wstring& line : ReadLog().Messages(LineLevel::kTrace)) {
        if (line.starts_with(L"Xlpr") || line.starts_with(L"Stream") ||
            line.starts_with(L"Channel")) {
            lines.push_back(line);
        }
    }
    EXPECT_THAT(lines,
                ElementsAre(L"Xlpr write : hostname " + host + L", state 1",
                            L"StreamSocket connect return 0", L"Channel State Before WaitAck = 1",
                            L"Channel State = 1, len = 4", L"Channel State After WaitAck  = 12",
                            L"Xlpr write : hostname " + host + L", state 12",
                            L"Channel State = 12, len = 4"));
    End();
}

TEST_F(XlprJobTest, TheHeaderIsNeverSent) {
    Start();
    StartDoc();
    EXPECT_EQ(WriteWithHeader("header ", "one "), 4);
    EXPECT_EQ(WriteWithHeader("header ", "two"), 3);
    EXPECT_EQ(End().data, "one two");
}

TEST_F(XlprJobTest, ADocumentWithoutANameGetsOne) {
    SetNextNumber(8);
    Start();
    StartDoc(nullptr);
    ASSERT_EQ(Write("data"), 4);
    EXPECT_EQ(End().control, (JobText{.job = "TEMP.TXT", .number = 8}.Control()));
}

TEST_F(XlprJobTest, AJobWithoutDataConnectsNowhere) {
    Start();
    StartDoc();
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(printer_->connections(), IsEmpty());
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kAsBefore, "ClearPortStatus 7"));
}

TEST_F(XlprJobTest, ComesFromAnOrdinaryPort) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    EXPECT_GE(End().peer_port, 1024u);
}

TEST_F(XlprJobTest, StartsWithoutThePrintersStatusAndEndsWithoutItsPort) {
    Start();
    ports_.knows_printer = false;
    ports_.knows_port = false;
    EXPECT_EQ(channel().StartDoc(kPort, L"Document"), 0);
    EXPECT_EQ(Count(LineLevel::kError, L"Getting the print status failed"), 1u);
    ASSERT_EQ(Write("data"), 4);
    EXPECT_EQ(End().data, "data");
    EXPECT_EQ(Count(LineLevel::kError, L"Invalide Port Handle"), 1u);
    EXPECT_FALSE(channel().IsOpen());
}

TEST_F(XlprJobTest, ItsSettingsSayXlpr) {
    Start();
    EXPECT_EQ(channel().GetProtocolInfo()->GetProtocolType(), CProtocolInfo::kXlpr);
    EXPECT_EQ(channel().GetProtocolInfo()->GetPortNumber(), 515);
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    EXPECT_EQ(channel().SetProtocolInfo(*channel().GetProtocolInfo()), 0);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_EQ(OnlyConnection().data, "data") << "the connection has ended";
}

// The setting and the count that a daemon is told.
struct Announcement {
    std::optional<DWORD> setting;
    const char* count;
};

class XlprCountTest : public XlprChannelTest, public ::testing::WithParamInterface<Announcement> {};

INSTANTIATE_TEST_SUITE_P(, XlprCountTest,
                         ::testing::Values(Announcement{std::nullopt, "1073741824000"},
                                           Announcement{0u, "1073741824000"},
                                           Announcement{1u, "1000"}, Announcement{5u, "5000"},
                                           Announcement{0x7FFFFFFFu, "2147483647000"},
                                           Announcement{0x80000000u, "1073741824000"},
                                           Announcement{0xFFFFFFFFu, "1073741824000"}));

TEST_P(XlprCountTest, IsTheSettingTimesAThousand) {
    if (GetParam().setting) {
        SetSetting(L"MaxFileSize", *GetParam().setting);
    }
    SetNextNumber(9);
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    const LpdConnection seen = End();
    EXPECT_EQ(seen.commands.at(2),
              (JobText{.number = 9, .data_count = GetParam().count}.ReceiveData()));
}

}  // namespace
}  // namespace ksp::test
