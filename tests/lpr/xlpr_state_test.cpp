// The states of an XLPR job, one by one.

#include "tests/host/patched_import.h"
#include "tests/lpr/xlpr_channel_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

class XlprStateTest : public XlprChannelTest {
  protected:
    // A failed write of "data" that leaves the channel in that state, and then no write is taken.
    void ExpectTerminal(ChannelState wanted) {
        StartDoc();
        EXPECT_EQ(Write("data"), -1);
        EXPECT_EQ(state(), wanted);
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(Write("data"), -1);
            EXPECT_EQ(state(), wanted);
            EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
        }
        printer_->StartReading();
        EXPECT_EQ(channel().EndDoc(), 0);
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kAsBefore, "ClearPortStatus 7"));
    }
    size_t AfterAck(int number) const {
        return Traces(L"Channel State After WaitAck  = " + std::to_wstring(number));
    }
};

TEST_F(XlprStateTest, NothingIsWrittenWithoutAJob) {
    Start();
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_EQ(Count(LineLevel::kError, L"CXlprPrintChannel::unknown state in the writeport call"),
              1u);
    EXPECT_EQ(Traces(L"Xlpr write : hostname " + printer_->wide_address() + L", state 0"), 1u);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(XlprStateTest, ARefusedConnectionIsTriedAfresh) {
    Start({.refuses = true});
    StartDoc();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Write("data"), -1);
        EXPECT_EQ(state(), ChannelState::kConnectFailed);
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    }
    EXPECT_EQ(Traces(L"StreamSocket connect return 10061"), 2u);
    Replace();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kStreaming);
    EXPECT_EQ(End().data, "data");
}

// The system's word that a connection timed out takes its minutes; here it comes at once.
int(WSAAPI* g_getsockopt)(SOCKET, int, int, char*, int*) = nullptr;

int WSAAPI TimedOut(SOCKET socket, int level, int option, char* value, int* size) {
    const int result = g_getsockopt(socket, level, option, value, size);
    if (result == 0 && level == SOL_SOCKET && option == SO_ERROR) {
        *reinterpret_cast<int*>(value) = WSAETIMEDOUT;
    }
    return result;
}

TEST_F(XlprStateTest, AConnectionThatTimedOutIsTriedAfresh) {
    Start({.refuses = true});
    StartDoc();
    {
        const PatchedImport<decltype(&::getsockopt)> patch("getsockopt", TimedOut);
        ASSERT_TRUE(patch.works());
        g_getsockopt = patch.original();
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(Write("data"), 0);
            EXPECT_EQ(state(), ChannelState::kConnectTimedOut);
            EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
        }
    }
    EXPECT_EQ(Traces(L"StreamSocket connect return 10060"), 2u);
    Replace();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(End().data, "data");
}

TEST_F(XlprStateTest, APendingConnectionIsWaitedForOnTheSameSocket) {
    Start({.refuses = true});
    standins::LoopbackPrinter slow({.answer = standins::PrinterBehavior::Answer::kNeverAnswer,
                                    .responder = [](const auto&) { return std::string(1, '\0'); }});
    ASSERT_TRUE(slow.ready());
    CLprProtocolInfo info(slow.wide_address(), L"queue", true);
    info.SetPortNumber(slow.port());
    ASSERT_EQ(channel().SetProtocolInfo(info), 0);
    SetNextNumber(11);
    StartDoc();
    EXPECT_EQ(Write("first"), 0);
    EXPECT_EQ(state(), ChannelState::kConnectPending);
    EXPECT_EQ(Write("first"), 0);
    EXPECT_EQ(state(), ChannelState::kConnectPending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled, kTroubled));
    EXPECT_EQ(Traces(L"StreamSocket connect return 1460"), 1u);
    EXPECT_EQ(Traces(L"StreamSocket selectforconnection return 1460"), 1u);

    slow.StartAnswering();
    SetReplyTimeout(60);
    EXPECT_EQ(Write("first"), 5);
    EXPECT_EQ(state(), ChannelState::kStreaming);
    EXPECT_EQ(Traces(L"StreamSocket selectforconnection return 0"), 1u);
    EXPECT_EQ(channel().EndDoc(), 0);
    ASSERT_TRUE(slow.WaitForEndings(1));
    EXPECT_EQ(slow.connections().size(), 1u);
    const auto bytes = slow.received();
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              (JobText{.number = 11, .data_count = kDefaultCount}.Preamble()) + "first");
}

TEST_F(XlprStateTest, APendingConnectionThatEndedIsMissed) {
    Start({.refuses = true});
    standins::LoopbackPrinter slow({.answer = standins::PrinterBehavior::Answer::kNeverAnswer});
    ASSERT_TRUE(slow.ready());
    CLprProtocolInfo info(slow.wide_address(), L"queue", true);
    info.SetPortNumber(slow.port());
    ASSERT_EQ(channel().SetProtocolInfo(info), 0);
    StartDoc();
    ASSERT_EQ(Write("data"), 0);
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be not be NULL "),
              1u);
}

TEST_F(XlprStateTest, AJobDoesNotTakeAnothersConnection) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    StartDoc();
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be NULL "), 1u);
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_EQ(End().data, "data");
}

TEST_F(XlprStateTest, AnUnknownNameIsNoPrintersTrouble) {
    Start();
    ASSERT_EQ(channel().SetProtocolInfo(CLprProtocolInfo(kNoHost, L"queue", true)), 0);
    StartDoc();
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_EQ(Traces(L"get by name printing returned error"), 1u);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(XlprStateTest, ALateAcknowledgementIsWaitedForByTheNextWrite) {
    Start(AnswersAt(Step::kReceiveJob, {.is_held = true}));
    SetNextNumber(13);
    StartDoc();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Write("first"), 0);
        EXPECT_EQ(state(), ChannelState::kWaitingForAck);
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    }
    EXPECT_EQ(Traces(L"Channel State Before WaitAck = 1"), 1u);
    EXPECT_EQ(Traces(L"Channel State Before WaitAck = 9"), 1u);
    EXPECT_EQ(AfterAck(9), 2u);
    printer_->ReleaseAnswers();
    SetReplyTimeout(60);
    EXPECT_EQ(Write("again"), 5);
    EXPECT_EQ(state(), ChannelState::kStreaming);
    EXPECT_TRUE(End().bytes ==
                (JobText{.number = 13, .data_count = kDefaultCount}.Preamble()) + "again")
        << "the data that were not taken have not gone out";
}

TEST_F(XlprStateTest, AClosedConnectionIsNoAcknowledgementYet) {
    Start(AnswersAt(Step::kReceiveJob, Close()));
    StartDoc();
    EXPECT_EQ(Write("data"), 0);
    EXPECT_EQ(state(), ChannelState::kWaitingForAck);
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Write("data"), -1) << "there is nobody left to acknowledge";
    EXPECT_EQ(state(), ChannelState::kAckFailed);
}

TEST_F(XlprStateTest, AJobCommandThatIsNotTakenIsTerminal) {
    LpdBehavior behavior;
    behavior.reads = false;
    behavior.receive_buffer = 4096;
    Start(behavior, std::wstring(size_t{16} * 1024 * 1024, L'q'));
    ExpectTerminal(ChannelState::kJobCommandFailed);
    EXPECT_EQ(Traces(L"Channel State Before WaitAck = 1"), 0u);
}

TEST_F(XlprStateTest, ARefusedJobIsTerminal) {
    for (const char answer : {'\x01', '\xFF'}) {
        Start(AnswersAt(Step::kReceiveJob, Refusal(answer)));
        ExpectTerminal(ChannelState::kAckFailed);
        EXPECT_EQ(OnlyConnection().commands.size(), 1u);
    }
    EXPECT_EQ(Count(LineLevel::kInfo, L"WaitforAck() = ERROR, bytes=1"), 2u);
    EXPECT_EQ(AfterAck(10), 2u);
}

TEST_F(XlprStateTest, ARefusedCommandIsTerminal) {
    for (const Step step : {Step::kControlCommand, Step::kControlFile, Step::kDataCommand}) {
        for (const LpdAnswer& answer : {Refusal(), Silence(), Close()}) {
            Start(AnswersAt(step, answer));
            ExpectTerminal(ChannelState::kCommandFailed);
            EXPECT_EQ(OnlyConnection().commands.size(), step == Step::kDataCommand ? 3u : 2u);
            EXPECT_EQ(OnlyConnection().data, "");
        }
    }
    EXPECT_EQ(AfterAck(11), 9u);
}

// The computer's name can be read so many times more.
int g_names_left = 0;
BOOL(WINAPI* g_get_computer_name)(LPWSTR, LPDWORD) = nullptr;

BOOL WINAPI CountedName(LPWSTR name, LPDWORD length) {
    return g_names_left-- > 0 ? g_get_computer_name(name, length) : FALSE;
}

TEST_F(XlprStateTest, ACommandWithoutTheComputersNameIsTerminal) {
    for (const int names : {0, 1}) {
        Start();
        const PatchedImport<decltype(&::GetComputerNameW)> patch("GetComputerNameW", CountedName);
        ASSERT_TRUE(patch.works());
        g_get_computer_name = patch.original();
        g_names_left = names;
        ExpectTerminal(ChannelState::kCommandFailed);
        EXPECT_EQ(OnlyConnection().commands.size(), static_cast<size_t>(1 + names));
    }
    EXPECT_EQ(Count(LineLevel::kInfo, L"GetComputerName failed"), 2u);
}

TEST_F(XlprStateTest, DataThatAreNotTakenAreOfferedAgain) {
    LpdBehavior behavior;
    behavior.stalls_after = 0;
    behavior.receive_buffer = 4096;
    Start(behavior);
    StartDoc();
    std::string sent = Fill();
    EXPECT_EQ(state(), ChannelState::kStreamedNothing);
    const size_t traces = Traces(L"Channel State = 13, len = 4");
    EXPECT_EQ(Write("more"), 0);
    EXPECT_EQ(state(), ChannelState::kStreamedNothing);
    EXPECT_EQ(Traces(L"Channel State = 13, len = 4"), traces + 1);
    EXPECT_EQ(ports_.TakeCalls().back(), kTroubled);
    printer_->StartReading();
    SetReplyTimeout(60);
    EXPECT_EQ(Write("more"), 4);
    EXPECT_EQ(state(), ChannelState::kStreaming);
    sent += "more";
    EXPECT_TRUE(End().data == sent);
}

TEST_F(XlprStateTest, ALostConnectionIsTerminal) {
    LpdBehavior behavior;
    behavior.resets_after = 4;
    Start(behavior);
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    ports_.TakeCalls();
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(state(), ChannelState::kStreamFailed);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(state(), ChannelState::kStreamFailed);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().data, "data");
}

}  // namespace
}  // namespace ksp::test
