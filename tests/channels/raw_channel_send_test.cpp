#include <gtest/gtest.h>

#include <thread>

#include "tests/channels/raw_channel_test.h"

namespace ksp::test {
namespace {

// Data that flow over a connection: states 6, 7 and 8.
class RawChannelSendTest : public RawChannelTest {};

TEST_F(RawChannelSendTest, DataFlowsOverOneConnection) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("one "), 4);
    EXPECT_EQ(Write("two "), 4);
    EXPECT_EQ(Write("three"), 5);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell, kWell, kWell));
    EXPECT_EQ(Received(13), Bytes("one two three"));
    EXPECT_EQ(printer_->connections().size(), 1u);
}

// The rest is the spooler's to offer again.
TEST_F(RawChannelSendTest, AWriteSendsOnceAndReturnsWhatWasTaken) {
    Start(Stuck());
    StartDoc();
    const std::string block(32 * 1024 * 1024, 'B');
    const std::int32_t taken = Write(block);
    EXPECT_GT(taken, 0);
    EXPECT_LT(taken, static_cast<std::int32_t>(block.size()));
    EXPECT_EQ(state(), ChannelState::kSending);
    printer_->StartReading();
    ASSERT_EQ(channel().EndDoc(), 0);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), static_cast<size_t>(taken));
}

TEST_F(RawChannelSendTest, AFullPrinterTakesNothingUntilItReads) {
    Start(Stuck());
    StartDoc();
    const size_t filled = Fill();
    EXPECT_EQ(state(), ChannelState::kNothingSent);
    EXPECT_EQ(ports_.TakeCalls().back(), kTroubled);

    EXPECT_EQ(Write("more"), 0);
    EXPECT_EQ(state(), ChannelState::kNothingSent);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));

    printer_->StartReading();
    Received(filled);
    EXPECT_EQ(Write("more"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell));
    EXPECT_EQ(Received(filled + 4).size(), filled + 4);
    EXPECT_EQ(printer_->connections().size(), 1u);
}

TEST_F(RawChannelSendTest, AReplyTimeoutOfZeroWaitsForThePrinter) {
    Start(Stuck());
    StartDoc();
    Fill();
    SetReplyTimeout(0);
    std::thread late([this] {
        Sleep(500);
        printer_->StartReading();
    });
    EXPECT_EQ(Write("more"), 4);
    late.join();
}

TEST_F(RawChannelSendTest, ALostConnectionIsTheEndOfTheJob) {
    Start({.reset_after = 4});
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    ports_.TakeCalls();
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(state(), ChannelState::kSendFailed);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));

    const size_t connects = TakeConnects();
    ASSERT_EQ(connects, 1u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Write("more"), -1);
        EXPECT_EQ(WriteWithHeader("header", "more"), -1);
        EXPECT_EQ(state(), ChannelState::kSendFailed);
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled, kTroubled));
    }
    EXPECT_EQ(TakeConnects(), 0u);
    EXPECT_EQ(printer_->connections().size(), 1u);
    EXPECT_EQ(ReadLog().CountLines(LineLevel::kInfo, L"The connect -> connection is successful"),
              1u);
}

TEST_F(RawChannelSendTest, AFullPrinterThatHangsUpIsTheEndOfTheJob) {
    Start(Stuck());
    StartDoc();
    Fill();
    ports_.TakeCalls();
    printer_->HangUp();
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(state(), ChannelState::kSendFailed);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
}

TEST_F(RawChannelSendTest, ANewJobForgetsTheLostConnection) {
    Start({.reset_after = 4});
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    ASSERT_EQ(Write("more"), -1);
    ASSERT_EQ(channel().EndDoc(), 0);
    StartDoc();
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_EQ(Write("again"), 5);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_TRUE(printer_->WaitForConnections(2));
}

// Somebody may close the port of a job that still writes.
TEST_F(RawChannelSendTest, AWriteAfterTheEndFails) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(state(), ChannelState::kSendFailed);
    EXPECT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->connections().size(), 1u);
}

// The header belongs in front of the job's first bytes and nowhere else.
class RawChannelHeaderTest : public RawChannelTest {
  protected:
    const std::string header_ = std::string(100, 'H');
    const std::string data_ = std::string(1000, 'D');
};

TEST_F(RawChannelHeaderTest, TheSpoolerCountsItsOwnBytes) {
    Start();
    StartDoc();
    EXPECT_EQ(WriteWithHeader(header_, data_), 1000);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_EQ(Received(1100), Bytes(header_ + data_));
}

TEST_F(RawChannelHeaderTest, TheHeaderGoesOutOnce) {
    Start();
    StartDoc();
    ASSERT_EQ(WriteWithHeader(header_, data_), 1000);
    EXPECT_EQ(WriteWithHeader(header_, "next"), 4);
    EXPECT_EQ(Received(1104), Bytes(header_ + data_ + "next"));
}

TEST_F(RawChannelHeaderTest, APrinterThatWasFullGetsNoSecondHeader) {
    Start(Stuck());
    StartDoc();
    const size_t filled = Fill();
    ASSERT_EQ(state(), ChannelState::kNothingSent);
    printer_->StartReading();
    Received(filled);
    EXPECT_EQ(WriteWithHeader(header_, "next"), 4);
    EXPECT_EQ(Received(filled + 4).size(), filled + 4);
}

TEST_F(RawChannelHeaderTest, AShortSendReturnsItsOwnCount) {
    Start(Stuck());
    StartDoc();
    const std::string much(32 * 1024 * 1024, 'D');
    const std::int32_t taken = WriteWithHeader(header_, much);
    EXPECT_GT(taken, 0);
    EXPECT_LT(taken, static_cast<std::int32_t>(much.size()));
    printer_->StartReading();
    ASSERT_EQ(channel().EndDoc(), 0);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), static_cast<size_t>(taken));
}

TEST_F(RawChannelHeaderTest, APendingConnectionReturnsTheBytesOnTheWire) {
    Start(NeverAnswers());
    StartDoc();
    ASSERT_EQ(WriteWithHeader(header_, data_), 0);
    ASSERT_EQ(state(), ChannelState::kConnectPending);
    SetReplyTimeout(20);
    printer_->StartAnswering();
    EXPECT_EQ(WriteWithHeader(header_, data_), 1100);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_EQ(Received(1100), Bytes(header_ + data_));
}

TEST_F(RawChannelHeaderTest, AConnectionMadeAfreshCarriesTheHeader) {
    Start(Refuses());
    StartDoc();
    ASSERT_EQ(WriteWithHeader(header_, data_), -1);
    ASSERT_EQ(state(), ChannelState::kConnectFailed);
    Replace();
    EXPECT_EQ(WriteWithHeader(header_, data_), 1000);
    EXPECT_EQ(Received(1100), Bytes(header_ + data_));
}

}  // namespace
}  // namespace ksp::test
