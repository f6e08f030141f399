// Every way in which a delivery fails: what is logged, what the ports are told, what stays.

#include <ostream>

#include "tests/lpr/lpr_channel_test.h"

namespace ksp::test {
namespace {

constexpr char kError[] = "SetJobError 7";

// A failure, brought about by the daemon.
struct Failure {
    const char* name;
    standins::LpdBehavior daemon;
    const wchar_t* text;
    bool marks_job;    // as in error
    size_t commands;   // that the daemon received
    bool keeps_spool;  // its own spool file; the job had its second number
    bool had_data = false;
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

standins::LpdBehavior At(standins::LpdStep step, std::string bytes,
                         standins::LpdAnswer::Then then = standins::LpdAnswer::Then::kGoOn) {
    standins::LpdBehavior behavior;
    behavior.answers[step] = {.bytes = std::move(bytes), .then = then};
    return behavior;
}

using LprMemoryTest = LprChannelTest;

class LprFailureTest : public LprChannelTest, public ::testing::WithParamInterface<Failure> {
  protected:
    void Deliver() {
        SetNextNumber(200);
        Start(GetParam().daemon);
        ASSERT_NO_FATAL_FAILURE(Spool("data"));
        WriteFile(CSpoolFile::PathOf(201), "an older job's");
        EXPECT_EQ(channel().EndDoc(), 0);
    }
};

constexpr wchar_t kConnection[] = L"The openConnection Failed or timedout..";
constexpr wchar_t kNoAck[] = L"The WaitforAck timedout..";
constexpr wchar_t kBadAck[] = L"The WaitforAck failed..";
constexpr wchar_t kControl[] = L"The SendControlInformation failed or timedout..";
constexpr wchar_t kData[] = L"The SendDataFileInformation failed or timedout..";
using Step = standins::LpdStep;
using Then = standins::LpdAnswer::Then;

INSTANTIATE_TEST_SUITE_P(
    , LprFailureTest,
    ::testing::Values(
        Failure{"Refused", {.refuses = true}, kConnection, false, 0, false},
        Failure{"JobSilence", At(Step::kReceiveJob, ""), kNoAck, false, 1, false},
        Failure{"JobClose", At(Step::kReceiveJob, "", Then::kClose), kNoAck, false, 1, false},
        Failure{"JobRefused1", At(Step::kReceiveJob, "\x01"), kBadAck, true, 1, false},
        Failure{"JobRefused255", At(Step::kReceiveJob, "\xFF"), kBadAck, true, 1, false},
        Failure{"JobAcceptedAndClosed", At(Step::kReceiveJob, std::string(1, '\0'), Then::kClose),
                kControl, true, 1, true},
        Failure{"ControlSilence", At(Step::kControlCommand, ""), kControl, true, 2, true},
        Failure{"ControlRefused", At(Step::kControlCommand, "\x01"), kControl, true, 2, true},
        Failure{"ControlClose", At(Step::kControlCommand, "", Then::kClose), kControl, true, 2,
                true},
        Failure{"ControlReset", At(Step::kControlCommand, "", Then::kReset), kControl, true, 2,
                true},
        Failure{"ControlFileSilence", At(Step::kControlFile, ""), kControl, true, 2, true},
        Failure{"ControlFileRefused", At(Step::kControlFile, "\x02"), kControl, true, 2, true},
        Failure{"ControlFileClose", At(Step::kControlFile, "", Then::kClose), kControl, true, 2,
                true},
        Failure{"ControlFileAcceptedAndClosed",
                At(Step::kControlFile, std::string(1, '\0'), Then::kClose), kData, true, 2, true},
        Failure{"DataSilence", At(Step::kDataCommand, ""), kData, true, 3, true},
        Failure{"DataRefused", At(Step::kDataCommand, "\xFF"), kData, true, 3, true},
        Failure{"DataClose", At(Step::kDataCommand, "", Then::kClose), kData, true, 3, true},
        Failure{"DataReset", At(Step::kDataCommand, "", Then::kReset), kData, true, 3, true}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(LprFailureTest, AJobThatIsGoneIsCleanedUp) {
    EndJobAtQuestion(1);
    Deliver();
    const Failure& failure = GetParam();
    EXPECT_EQ(Count(LineLevel::kInfo, failure.text), 1u);
    EXPECT_EQ(ports_.asked, 1u);
    std::vector<std::string> calls = {kTroubled, kWell, kAsBefore};
    if (failure.marks_job) {
        calls.insert(calls.begin(), kError);
    }
    EXPECT_THAT(ports_.TakeCalls(), ElementsAreArray(calls));
    EXPECT_FALSE(channel().IsOpen());

    if (!failure.daemon.refuses) {
        const LpdConnection seen = OnlyConnection();
        EXPECT_EQ(seen.commands.size(), failure.commands);
        EXPECT_EQ(seen.data, "");
    }
    EXPECT_EQ(HasSpoolFile(200), failure.keeps_spool);
    EXPECT_EQ(HasSpoolFile(201), !failure.keeps_spool) << "the file of the second number";
    const std::string answer = failure.daemon.answers.empty()
                                   ? std::string()
                                   : failure.daemon.answers.begin()->second.bytes;
    EXPECT_EQ(Count(LineLevel::kInfo, L"WaitforAck() = ERROR, bytes=1"),
              answer.empty() || answer[0] == '\0' ? 0u : 1u);
}

using LprTroubleTest = LprChannelTest;

TEST_F(LprTroubleTest, AnUnknownNameIsTriedAgain) {
    Start();
    ASSERT_EQ(channel().SetProtocolInfo(CLprProtocolInfo(kNoHost, L"queue", false)), 0);
    EndJobAtQuestion(1);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kInfo, L"getByName failed"), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, kConnection), 1u);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled, kWell, kAsBefore));
}

// Some systems report a reset as an error, some as an end of the connection.
TEST_F(LprTroubleTest, AResetInPlaceOfAnAnswerEndsTheTransfer) {
    Start(AnswersAt(Step::kReceiveJob, Reset()));
    EndJobAtQuestion(1);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kInfo, kNoAck) + Count(LineLevel::kInfo, kBadAck), 1u);
    EXPECT_EQ(OnlyConnection().commands.size(), 1u);
}

TEST_F(LprTroubleTest, ARefusalOnOnePortIsNotAskedForOnTheNext) {
    Start({.refuses = true});
    EndJobAtQuestion(1);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> getsockopt returned : 10061"), 1u);
}

// A queue whose name does not fit what the system holds on both sides.
TEST_F(LprTroubleTest, ACommandThatIsNotTakenIsNotSentAgain) {
    LpdBehavior behavior;
    behavior.reads = false;
    behavior.receive_buffer = 4096;
    Start(behavior, std::wstring(size_t{16} * 1024 * 1024, L'q'));
    SetNextNumber(300);
    EndJobAtQuestion(1);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    // What has gone out already is not waited for.
    ports_.is_job_ended = [this] {
        printer_->StartReading();
        return true;
    };
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The SendPrintJobInformation Failed or timedout.."), 1u);
    EXPECT_EQ(Count(LineLevel::kTrace, L"send to server : over retry count"), 1u);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kError, kTroubled, kWell, kAsBefore));
    EXPECT_FALSE(HasSpoolFile(300));
    EXPECT_EQ(TakeJobNumber(), 301u);
}

TEST_F(LprTroubleTest, AConnectionThatIsLostInTheDataEndsTheTransfer) {
    LpdBehavior behavior;
    behavior.resets_after = 5000;
    Start(behavior);
    SetNextNumber(310);
    ASSERT_NO_FATAL_FAILURE(Spool(std::string(size_t{16} * 1024 * 1024, 'x')));
    ports_.is_job_ended = [this] {
        return Count(LineLevel::kInfo, L"The sendtoServer failed ..") > 0;
    };
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_GE(Count(LineLevel::kInfo, L"The sendtoServer failed .."), 1u);
    EXPECT_EQ(Count(LineLevel::kTrace, L"send to server : send error"), 1u);
    const LpdConnection seen = OnlyConnection();
    EXPECT_EQ(seen.data, std::string(5000, 'x')) << "and no octet";
    const auto calls = ports_.TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), kError), 1);
    EXPECT_TRUE(HasSpoolFile(310));
}

// The data may still go out before the channel learns that nobody is there.
TEST_F(LprTroubleTest, ADaemonThatLeavesBeforeTheDataEndsTheTransfer) {
    Start(AnswersAt(Step::kDataCommand, {.then = LpdAnswer::Then::kClose}));
    EndJobAtQuestion(2);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().data, "");
    const auto calls = ports_.TakeCalls();
    EXPECT_GE(std::count(calls.begin(), calls.end(), kTroubled), 1);
    EXPECT_FALSE(channel().IsOpen());
}

// A channel with a connection that no job of its own has made.
class ConnectedChannel : public CLprPrintChannel {
  public:
    using CLprPrintChannel::CLprPrintChannel;
    void Connect(const std::string& address) {
        m_pStreamSocket = std::make_unique<CSLStreamSocket>(AddressOf(address), std::uint16_t{515});
        EXPECT_EQ(m_pStreamSocket->connect(), 0u);
    }
};

TEST_F(LprTroubleTest, AJobDoesNotTakeAnothersConnection) {
    Start();
    ConnectedChannel channel({printer_->wide_address(), L"queue", false}, ports_);
    EndJobAtQuestion(1);
    ASSERT_EQ(channel.StartDoc(kPort, nullptr), 0);
    ASSERT_EQ(channel.WritePort(reinterpret_cast<const BYTE*>("data"), 4), 4);
    channel.Connect(printer_->endpoint().address);
    EXPECT_EQ(channel.EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be NULL "), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, kConnection), 1u);
    EXPECT_EQ(OnlyConnection().bytes, "");
}

// Failures that come back at once: asked about every 6 seconds, the job lasts for that long and
// sees an attempt a second. Without the pause there are thousands.
class LprPauseTest : public LprChannelTest {
  protected:
    void ExpectFewAttempts(LpdBehavior behavior, const wchar_t* text) {
        Start(std::move(behavior));
        EndJobAtQuestion(2);
        ASSERT_NO_FATAL_FAILURE(Spool("data"));
        EXPECT_EQ(channel().EndDoc(), 0);
        EXPECT_EQ(ports_.asked, 2u);
        const size_t attempts = Count(LineLevel::kInfo, text);
        EXPECT_GE(attempts, 2u);
        EXPECT_LE(attempts, 9u);
        const auto calls = ports_.TakeCalls();
        EXPECT_EQ(std::count(calls.begin(), calls.end(), kError), 0);
        EXPECT_EQ(static_cast<size_t>(std::count(calls.begin(), calls.end(), kTroubled)), attempts);
    }
};

TEST_F(LprPauseTest, ARefusedConnectionIsTriedASecondLater) {
    ExpectFewAttempts({.refuses = true}, kConnection);
}

TEST_F(LprPauseTest, AClosedConnectionIsLookedAtASecondLater) {
    ExpectFewAttempts({.hangs_up = true}, kNoAck);
}

TEST_F(LprPauseTest, ADaemonThatComesBackGetsTheJob) {
    Start({.refuses = true});
    ports_.is_job_ended = [this] {
        if (ports_.asked == 1) {
            Replace();
        }
        return false;
    };
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().data, "data");
    EXPECT_TRUE(OnlyConnection().has_whole_data);
}

TEST_F(LprPauseTest, ALateAcknowledgementIsTaken) {
    LpdBehavior behavior = AnswersAt(Step::kReceiveJob, {.is_held = true});
    Start(behavior);
    ports_.is_job_ended = [this] {
        printer_->ReleaseAnswers();
        return false;
    };
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_GE(Count(LineLevel::kInfo, kNoAck), 1u);
    EXPECT_TRUE(OnlyConnection().has_whole_data);
    EXPECT_EQ(OnlyConnection().commands.size(), 3u) << "no command twice";
}

// A job that ended there would be reported sent.
TEST_F(LprMemoryTest, AJobForWhichMemoryRunsOutIsHeldInError) {
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    ports_.is_memory_out = true;  // behind the sending of the data
    ports_.is_memory_out_again = true;
    EndJobAtQuestion(2);
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kCritical, L"memory allocation failure"), 1u);
    EXPECT_GE(Count(LineLevel::kInfo, L"The sendtoServer failed .."), 1u);
    EXPECT_GE(ports_.asked, 2u) << "the job was not held";
    const std::vector<std::string> calls = ports_.TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), kError), 1) << "marked when memory was there";
    EXPECT_EQ(calls.front(), kTroubled);
    EXPECT_EQ(calls.back(), kAsBefore);
    EXPECT_FALSE(channel().IsOpen());
}

}  // namespace
}  // namespace ksp::test
