// The question to the printer before a job, and what becomes of a job whose printer is not there.

#include "tests/idprint/id_print_test.h"

namespace ksp::test {
namespace {

using standins::PrinterBehavior;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ReachableTest : public IdPrintTest {
  protected:
    // A raw port to the printer; its check service is the test's.
    HANDLE StartPort() {
        StartRaw();
        AddIdPort();
        if (!Start()) {
            return nullptr;
        }
        QueueJob(L"Port");
        return Open(L"Port");
    }
    std::vector<std::wstring> Criticals() const { return ReadLog().Messages(LineLevel::kCritical); }
    // The job is refused with these two lines, and sends nothing.
    void ExpectUnreachable(const std::wstring& reason) {
        const HANDLE port = StartPort();
        ASSERT_NE(port, nullptr);
        const CallResult start = StartDoc(port);
        EXPECT_FALSE(start.result);
        EXPECT_THAT(Criticals(), ElementsAre(reason, L"CSLIpAddr::isSecureReachable not Connect"));
        EXPECT_EQ(CountLines(LineLevel::kTrace, L"try open print channel."), 0U);
        EXPECT_THAT(raw_->connections(), IsEmpty());
    }
};

// What a printer says to the request, and whether that makes it ready.
struct Exchange {
    const char* name;
    ConfirmationBehavior behavior;
    bool is_ready;

    friend void PrintTo(const Exchange& exchange, std::ostream* out) { *out << exchange.name; }
};

std::vector<ReplyPiece> OneByOne(const std::string& reply, int pause) {
    std::vector<ReplyPiece> pieces;
    for (const char c : reply) {
        pieces.push_back({std::string(1, c), pause});
    }
    return pieces;
}

const std::string kReady = ReplyCode(100) + "OK";

const Exchange kExchanges[] = {
    {"Whole", {.reply = {{kReady}}}, true},
    {"WholeAndClosed", {.reply = {{kReady}}, .closes = true}, true},
    {"MoreThanNeeded", {.reply = {{kReady + "!"}}}, true},
    {"InSingleBytes", {.reply = OneByOne(kReady, 200)}, true},
    {"InTwoParts", {.reply = {{ReplyCode(100)}, {"OK", 300}}}, true},
    {"ShortCode", {.reply = {{ReplyCode(100).substr(0, 3)}}}, false},
    {"ShortCodeAndClosed", {.reply = {{ReplyCode(100).substr(0, 3)}}, .closes = true}, false},
    {"CodeAlone", {.reply = {{ReplyCode(100)}}}, false},
    {"CodeAndO", {.reply = {{ReplyCode(100) + "O"}}}, false},
    {"CodeAndOAndClosed", {.reply = {{ReplyCode(100) + "O"}}, .closes = true}, false},
    {"Code200", {.reply = {{ReplyCode(200) + "OK"}}}, false},
    {"Code0", {.reply = {{ReplyCode(0) + "OK"}}}, false},
    {"Code101", {.reply = {{ReplyCode(101) + "OK"}}}, false},
    {"Code99", {.reply = {{ReplyCode(99) + "OK"}}}, false},
    {"CodeInTheOtherByteOrder", {.reply = {{ReplyCode(100U << 24) + "OK"}}}, false},
    {"CodeWithAHighByte", {.reply = {{ReplyCode(100U | 1U << 8) + "OK"}}}, false},
    {"CodeWithTheHighestBit", {.reply = {{ReplyCode(100U | 1U << 31) + "OK"}}}, false},
    {"CodeAsText", {.reply = {{"100 OK"}}}, false},
    {"SmallLetters", {.reply = {{ReplyCode(100) + "ok"}}}, false},
    {"OtherWayRound", {.reply = {{ReplyCode(100) + "KO"}}}, false},
    {"NotOk", {.reply = {{ReplyCode(100) + "NG"}}}, false},
    {"SecondByteWrong", {.reply = {{ReplyCode(100) + std::string("O\0", 2)}}}, false},
    {"Late", {.reply = {{kReady, 4000}}}, false},
    {"LateBehindTheCode", {.reply = {{ReplyCode(100)}, {"OK", 4000}}}, false},
    {"Never", {}, false},
    {"ClosedWithoutAWord", {.reply = {}, .closes = true}, false},
};

class ExchangeTest : public ReachableTest, public ::testing::WithParamInterface<Exchange> {};

TEST_P(ExchangeTest, DecidesTheJob) {
    StartChecks(GetParam().behavior);
    if (GetParam().is_ready) {
        const HANDLE port = StartPort();
        EXPECT_TRUE(StartDoc(port).result);
        EXPECT_THAT(Criticals(), IsEmpty());
        EXPECT_TRUE(EndDoc(port));
    } else {
        SetSetting(L"WaitServerReplyTimeout", 1);
        ExpectUnreachable(L"CSLStreamSocket::recv failure");
    }
    EXPECT_THAT(checks_->Requests(1), ElementsAre("CONF_REQ"))
        << "eight bytes without a terminator, and the connection is over";
}

INSTANTIATE_TEST_SUITE_P(Replies, ExchangeTest, ::testing::ValuesIn(kExchanges),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ReachableTest, ARefusedConnection) {
    ExpectUnreachable(L"CSLStreamSocket::connect failure");
}

TEST_F(ReachableTest, AConnectionThatNobodyTakes) {
    const standins::LoopbackPrinter silent({.answer = PrinterBehavior::Answer::kNeverAnswer},
                                           {address(), 9101});
    ASSERT_TRUE(silent.ready());
    SetSetting(L"WaitServerReplyTimeout", 1);
    ExpectUnreachable(L"CSLStreamSocket::connect failure");
}

TEST_F(ReachableTest, AConnectionThatIsClosedAtOnce) {
    const standins::LoopbackPrinter closing({.close_after = 0}, {address(), 9101});
    ASSERT_TRUE(closing.ready());
    ExpectUnreachable(L"CSLStreamSocket::recv failure");
}

TEST_F(ReachableTest, AConnectionThatIsResetBehindTheRequest) {
    const standins::LoopbackPrinter resetting({.reset_after = 8}, {address(), 9101});
    ASSERT_TRUE(resetting.ready());
    ExpectUnreachable(L"CSLStreamSocket::recv failure");
}

TEST_F(ReachableTest, AnAddressThatNobodyKnows) {
    AddIdPort();
    store().SetText(root(), PortPath(L"Port"), L"PrinterAddress", L"no such host");
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    EXPECT_FALSE(StartDoc(Open(L"Port")).result);
    EXPECT_THAT(Criticals(), ElementsAre(L"CSLIpAddr::getByNamePrinting failure",
                                         L"CSLIpAddr::isSecureReachable not Connect"));
}

TEST_F(ReachableTest, TheCheckIsMadeAtTheStoredPortNumber) {
    StartChecks(Ready(), 9345);
    const HANDLE port = StartPort();
    EXPECT_FALSE(StartDoc(port).result);
    SetPortValue(L"CheckPortNo", 9345);
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(checks_->Requests(1), ElementsAre("CONF_REQ"));
}

TEST_F(ReachableTest, TheAnswerIsWaitedForAsLongAsTheSettingSays) {
    StartChecks({.reply = {{kReady, 2500}}});
    const HANDLE port = StartPort();
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(ReachableTest, ARefusedJobKeepsOnePrinterHandleHoweverOftenItIsStarted) {
    const HANDLE port = StartPort();
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(StartDoc(port).result);
        EXPECT_THAT(spooler().OpenHandles(), SizeIs(1)) << "start " << i;
    }
    StartChecks();
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_THAT(spooler().OpenHandles(), SizeIs(1));
    EXPECT_TRUE(Write(port, {'1'}).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "1"));
}

TEST_F(ReachableTest, EndDocPortGivesThePrinterHandleOfARefusedJobBack) {
    const HANDLE port = StartPort();
    EXPECT_FALSE(StartDoc(port).result);
    EXPECT_THAT(spooler().OpenHandles(), SizeIs(1));
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
    EXPECT_TRUE(Close(port));
}

TEST_F(ReachableTest, UnloadingGivesThePrinterHandleOfARefusedJobBack) {
    const HANDLE port = StartPort();
    EXPECT_FALSE(StartDoc(port).result);
    EXPECT_THAT(spooler().OpenHandles(), SizeIs(1));
    Unload();
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

TEST_F(ReachableTest, ARefusedJobStartsNoNotifierAndLeavesTheStatusAlone) {
    store().SetText(HKEY_LOCAL_MACHINE, L"SOFTWARE\\TAVRIN\\PNOTIFY", L"NAME", L"no-such.exe");
    ExpectUnreachable(L"CSLStreamSocket::connect failure");
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty()) << "nothing was launched";
    EXPECT_THAT(spooler().Calls(WinspoolSetPrinter), IsEmpty());
}

TEST_F(ReachableTest, LprAndXlprPrintersAreAskedToo) {
    for (const Protocol protocol : {Protocol::kLpr, Protocol::kXlpr}) {
        StartChecks({.reply = {{ReplyCode(200)}}});
        StartLpd();
        AddIdPort(protocol);
        ASSERT_TRUE(Start());
        QueueJob(L"Port");
        EXPECT_FALSE(StartDoc(Open(L"Port")).result);
        EXPECT_THAT(checks_->Requests(1), ElementsAre("CONF_REQ"));
        EXPECT_THAT(lpd_->connections(), IsEmpty());
        Unload();
        lpd_.reset();
    }
}

}  // namespace
}  // namespace ksp::test
