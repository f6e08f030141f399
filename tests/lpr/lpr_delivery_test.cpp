// The exchange with the daemon when it goes well, byte by byte.

#include <thread>

#include "tests/lpr/lpr_channel_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

// Data in which every place is told from its neighbours.
std::string Pattern(size_t size) {
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        data[i] = static_cast<char>((i * 7 + i / 251) % 256);
    }
    return data;
}

class LprDeliveryTest : public LprChannelTest, public ::testing::WithParamInterface<size_t> {};

INSTANTIATE_TEST_SUITE_P(Bytes, LprDeliveryTest,
                         ::testing::Values(1, 1023, 1024, 1025, 2048, 200000));

TEST_P(LprDeliveryTest, TheWholeJobOnTheWire) {
    const std::string data = Pattern(GetParam());
    SetNextNumber(998);
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool(data));
    EXPECT_EQ(channel().EndDoc(), 0);
    const LpdConnection seen = OnlyConnection();
    const JobText text{.number = 999, .data_count = std::to_string(data.size())};
    EXPECT_EQ(seen.violation, "");
    EXPECT_TRUE(seen.bytes == text.Preamble() + data + '\0') << "the wire as one block";
    EXPECT_THAT(seen.commands,
                ElementsAre(text.ReceiveJob(), text.ReceiveControl(), text.ReceiveData()));
    EXPECT_EQ(seen.ending, LpdConnection::Ending::kByPeer);

    // Each chunk that has gone out clears the printer's status.
    std::vector<std::string> calls((GetParam() + 1023) / 1024, kWell);
    calls.insert(calls.end(), {kWell, kAsBefore});
    EXPECT_THAT(ports_.TakeCalls(), ElementsAreArray(calls));
    EXPECT_FALSE(channel().IsOpen());
}

using LprJobTest = LprChannelTest;

TEST_F(LprJobTest, TakesASecondNumberAndLeavesTheFileOfTheFirst) {
    SetNextNumber(999);
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    WriteFile(CSpoolFile::PathOf(0), "an older job's");
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().control, JobText{.number = 0}.Control());
    EXPECT_TRUE(HasSpoolFile(999));
    EXPECT_FALSE(HasSpoolFile(0));
    EXPECT_EQ(TakeJobNumber(), 1u);
}

TEST_F(LprJobTest, FollowsAnotherOnTheSamePort) {
    Start();
    for (const char* data : {"first", "second"}) {
        ASSERT_NO_FATAL_FAILURE(Spool(data));
        EXPECT_EQ(channel().EndDoc(), 0);
    }
    ASSERT_TRUE(printer_->WaitForEndings(2));
    EXPECT_EQ(printer_->connections()[0].data, "first");
    EXPECT_EQ(printer_->connections()[1].data, "second");
    EXPECT_TRUE(printer_->connections()[1].has_whole_data);
}

TEST_F(LprJobTest, WaitsForLateAnswers) {
    LpdBehavior behavior;
    for (const Step step : {Step::kReceiveJob, Step::kControlCommand, Step::kControlFile,
                            Step::kDataCommand, Step::kDataFile}) {
        behavior.answers[step] = {.is_held = true};
    }
    SetReplyTimeout(60);
    Start(behavior);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    std::thread clerk([this] {
        EXPECT_TRUE(printer_->WaitForCommands(1));
        printer_->ReleaseAnswers();
    });
    EXPECT_EQ(channel().EndDoc(), 0);
    clerk.join();
    EXPECT_TRUE(OnlyConnection().has_whole_data);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell, kWell, kAsBefore));
}

TEST_F(LprJobTest, FindsADaemonThatTakesAFewBytesAtATime) {
    LpdBehavior behavior;
    behavior.read_size = 7;
    behavior.read_pause = 1;
    behavior.receive_buffer = 4096;
    SetReplyTimeout(60);
    Start(behavior);
    const std::string data = Pattern(5000);
    ASSERT_NO_FATAL_FAILURE(Spool(data));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_TRUE(OnlyConnection().data == data);
    EXPECT_TRUE(OnlyConnection().has_whole_data);
}

// The connection is made while the channel waits on its first socket.
TEST_F(LprJobTest, WaitsForAPendingConnection) {
    Start({.refuses = true});
    standins::LoopbackPrinter slow({.answer = standins::PrinterBehavior::Answer::kNeverAnswer,
                                    .responder = [](const auto&) { return std::string(1, '\0'); }});
    ASSERT_TRUE(slow.ready());
    CLprProtocolInfo info(slow.wide_address(), L"queue", false);
    info.SetPortNumber(slow.port());
    ASSERT_EQ(channel().SetProtocolInfo(info), 0);
    SetNextNumber(1);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    // Once it has been told that the connection is not made yet.
    std::thread opener([&] {
        for (int i = 0; i < 600; ++i) {
            if (Count(LineLevel::kInfo, L"The selectforconnect -> select timed out..") > 0) {
                break;
            }
            Sleep(100);
        }
        slow.StartAnswering();
    });
    EXPECT_EQ(channel().EndDoc(), 0);
    opener.join();
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> select timed out.."), 1u);
    ASSERT_TRUE(slow.WaitForEndings(1));
    EXPECT_EQ(slow.connections().size(), 1u);
    const JobText text{.number = 2, .data_count = "4"};
    const auto bytes = slow.received();
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text.Preamble() + "data" + '\0');
    const auto calls = ports_.TakeCalls();
    EXPECT_GE(std::count(calls.begin(), calls.end(), kTroubled), 2) << "while it waited";
}

// What the daemon says to the end of the data changes nothing but the printer's status.
TEST_F(LprJobTest, IsDeliveredWhateverTheLastAnswer) {
    for (const LpdAnswer& answer : {Refusal(), Silence(), Close(), Reset()}) {
        Start(AnswersAt(Step::kDataFile, answer));
        ASSERT_NO_FATAL_FAILURE(Spool("data"));
        EXPECT_EQ(channel().EndDoc(), 0);
        EXPECT_TRUE(OnlyConnection().has_whole_data);
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell, kTroubled, kWell, kAsBefore));
    }
    EXPECT_EQ(Count(LineLevel::kInfo, L"WaitforAck() = ERROR, bytes=1"), 1u);
}

// A job that was deleted meanwhile is ended in order: the daemon gets the octet behind the data.
TEST_F(LprJobTest, StopsWhenItWasDeleted) {
    EndJobAtQuestion(1);
    Start();
    SetNextNumber(1);
    ASSERT_NO_FATAL_FAILURE(Spool(Pattern(2048)));
    EXPECT_EQ(channel().EndDoc(), 0);
    const LpdConnection seen = OnlyConnection();
    const JobText text{.number = 2, .data_count = "2048"};
    EXPECT_TRUE(seen.bytes == text.Preamble() + '\0');
    EXPECT_FALSE(seen.has_whole_data);
    EXPECT_EQ(ports_.asked, 1u);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled, kWell, kAsBefore))
        << "a daemon that waits for the rest does not answer";
}

// A daemon that takes no data for a while; large enough for what the system holds on both sides.
class LprStallTest : public LprChannelTest {
  protected:
    static constexpr size_t kSize = size_t{12} * 1024 * 1024;

    void StartStalled() {
        LpdBehavior behavior;
        behavior.stalls_after = 100;
        behavior.receive_buffer = 4096;
        Start(behavior);
        SetNextNumber(40);
        ASSERT_NO_FATAL_FAILURE(Spool(Pattern(kSize)));
    }
    size_t TimeOuts() const { return Count(LineLevel::kInfo, L"The SendToServer timedout.."); }
};

TEST_F(LprStallTest, TheDataGoOnWhenTheDaemonDoes) {
    StartStalled();
    ports_.is_job_ended = [this] {
        if (TimeOuts() >= 2) {
            printer_->StartReading();
        }
        return false;
    };
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_GE(TimeOuts(), 2u);
    const LpdConnection seen = OnlyConnection();
    EXPECT_TRUE(seen.has_whole_data);
    EXPECT_TRUE(seen.data == Pattern(kSize));
    const auto calls = ports_.TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "SetJobError 7"), 0);
    EXPECT_GE(std::count(calls.begin(), calls.end(), kTroubled), 2);
    EXPECT_TRUE(HasSpoolFile(40));
}

TEST_F(LprStallTest, ATruncatedTransferEndsWithItsOctet) {
    StartStalled();
    ports_.is_job_ended = [this] {
        if (TimeOuts() == 0) {
            return false;
        }
        SetReplyTimeout(5);
        printer_->StartReading();
        return true;
    };
    EXPECT_EQ(channel().EndDoc(), 0);
    const LpdConnection seen = OnlyConnection();
    EXPECT_FALSE(seen.has_whole_data);
    ASSERT_FALSE(seen.data.empty());
    const size_t sent = seen.data.size() - 1;
    EXPECT_LT(sent, kSize);
    EXPECT_TRUE(seen.data == Pattern(sent) + '\0');
    EXPECT_EQ(seen.announced_data, std::to_string(kSize));
    const auto calls = ports_.TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "SetJobError 7"), 0);
}

}  // namespace
}  // namespace ksp::test
