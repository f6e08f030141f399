// How a job is spooled: its file, the states of the channel, and what stays.

#include "tests/lpr/lpr_channel_test.h"

namespace ksp::test {
namespace {

using LprSpoolTest = LprChannelTest;

std::string Spooled(std::uint32_t number) {
    return BytesOf(CSpoolFile::PathOf(number));
}

TEST_F(LprSpoolTest, TheDirectoryIsTheSettingsOrTheSystemDrives) {
    EXPECT_EQ(CSpoolFile::Directory(), spool_.path());
    EXPECT_EQ(CSpoolFile::PathOf(7), spool_.path() + L"\\ksp007");
    EXPECT_EQ(CSpoolFile::PathOf(999), spool_.path() + L"\\ksp999");
    SetSpoolDirectory(L"");
    EXPECT_EQ(CSpoolFile::Directory(), L"c:\\lpr");
    EXPECT_EQ(CSpoolFile::PathOf(0), L"c:\\lpr\\ksp000");
}

TEST_F(LprSpoolTest, AJobBecomesAFile) {
    SetNextNumber(7);
    Start();
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_EQ(channel().StartDoc(kPort, L"Document"), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("GetPrinterStatus 7"));
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_TRUE(channel().IsOpen());
    EXPECT_TRUE(HasSpoolFile(7));
    EXPECT_EQ(Write("one "), 4);
    EXPECT_EQ(state(), ChannelState::kSpooled);
    EXPECT_EQ(Spooled(7), "one ") << "nothing is held back";
    EXPECT_EQ(Write("two"), 3);
    EXPECT_EQ(Spooled(7), "one two");
    EXPECT_EQ(TakeJobNumber(), 8u);
    EXPECT_THAT(printer_->connections(), IsEmpty());
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(LprSpoolTest, TheDirectoryIsMade) {
    SetSpoolDirectory(spool_.File(L"new"));
    SetNextNumber(3);
    Start();
    EXPECT_EQ(channel().StartDoc(kPort, nullptr), 0);
    EXPECT_TRUE(HasSpoolFile(3));
    EXPECT_EQ(channel().EndDoc(), 0);
}

TEST_F(LprSpoolTest, ADirectoryWithoutAParentIsNotMade) {
    SetSpoolDirectory(spool_.File(L"no\\parent"));
    Start();
    EXPECT_EQ(channel().StartDoc(kPort, nullptr), -1);
    EXPECT_TRUE(channel().IsOpen());
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_EQ(Write("data"), -1);
    ports_.TakeCalls();
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell, kAsBefore));
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_THAT(printer_->connections(), IsEmpty());
}

TEST_F(LprSpoolTest, AFailedStartLeavesNothingOfTheJobBefore) {
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool("first"));
    ASSERT_EQ(channel().EndDoc(), 0);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(state(), ChannelState::kSpooled) << "the next StartDoc sets it";
    SetSpoolDirectory(spool_.File(L"no\\parent"));
    // A spooler that ends it all the same, and one that tries to write before that.
    for (const bool writes : {false, true}) {
        EXPECT_EQ(channel().StartDoc(kPort, nullptr), -1);
        EXPECT_EQ(state(), ChannelState::kIdle);
        if (writes) {
            EXPECT_EQ(Write("second"), -1);
        }
        EXPECT_EQ(channel().EndDoc(), 0);
    }
    EXPECT_EQ(printer_->connections().size(), 1u);
}

TEST_F(LprSpoolTest, AFileOfALaterJobStartsEmpty) {
    SetNextNumber(12);
    Start();
    WriteFile(CSpoolFile::PathOf(12), "what an earlier job left");
    ASSERT_NO_FATAL_FAILURE(Spool("new"));
    EXPECT_EQ(Spooled(12), "new");
}

// The counter has come round to the number of a job that still waits.
TEST_F(LprSpoolTest, AFileOfAWaitingJobIsLeftAlone) {
    SetNextNumber(50);
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool("the waiting job"));
    SetNextNumber(50);
    const auto other = NewChannel({printer_->wide_address(), L"queue", false});
    EXPECT_EQ(other->StartDoc(kPort, L"Other"), -1);
    EXPECT_EQ(Spooled(50), "the waiting job");
    EXPECT_EQ(other->EndDoc(), 0);
    EXPECT_EQ(Spooled(50), "the waiting job") << "the cleanup left it as well";
    EXPECT_THAT(printer_->connections(), IsEmpty());

    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().data, "the waiting job");
}

TEST_F(LprSpoolTest, TheCleanupOfOneJobLeavesTheFileOfAnother) {
    Start();
    SetNextNumber(61);
    const auto other = NewChannel({L"127.0.0.1", L"queue", false});
    ASSERT_EQ(other->StartDoc(kPort, L"Waiting"), 0);
    ASSERT_EQ(other->WritePort(reinterpret_cast<const BYTE*>("waits"), 5), 5);
    ports_.TakeCalls();
    // The job takes 60 for its file and 61 for the daemon.
    SetNextNumber(60);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_TRUE(OnlyConnection().has_whole_data);
    EXPECT_EQ(OnlyConnection().control, JobText{.number = 61}.Control());
    EXPECT_EQ(Spooled(61), "waits");
}

TEST_F(LprSpoolTest, TheHeaderGoesInFrontOfTheFirstBytes) {
    SetNextNumber(70);
    Start();
    EXPECT_EQ(WriteWithHeader("header ", "none"), -1) << "no job";
    EXPECT_EQ(state(), ChannelState::kIdle);
    StartDoc();
    EXPECT_EQ(WriteWithHeader("header ", "one "), 4);
    EXPECT_EQ(state(), ChannelState::kSpooled);
    EXPECT_EQ(WriteWithHeader("header ", "two"), 3);
    EXPECT_EQ(Spooled(70), "header one two");
}

TEST_F(LprSpoolTest, NothingIsTakenWithoutAJob) {
    Start();
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    EXPECT_EQ(channel().WaitforAck(), -1) << "no connection";
}

TEST_F(LprSpoolTest, AJobWithoutDataConnectsNowhere) {
    SetNextNumber(80);
    Start();
    StartDoc();
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(printer_->connections(), IsEmpty());
    EXPECT_FALSE(HasSpoolFile(80));
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell, kAsBefore));
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty()) << "a job ends once";
}

TEST_F(LprSpoolTest, AJobStartsWithoutThePrintersStatus) {
    Start();
    ports_.knows_printer = false;
    EXPECT_EQ(channel().StartDoc(kPort, nullptr), 0);
    EXPECT_EQ(Count(LineLevel::kError, L"Getting the print status failed"), 1u);
    EXPECT_EQ(Write("data"), 4);
    ports_.TakeCalls();
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_TRUE(OnlyConnection().has_whole_data);
}

TEST_F(LprSpoolTest, SettingsAreTakenOverAndEndTheJob) {
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    LpdPrinter other;
    ASSERT_TRUE(other.ready());
    EXPECT_EQ(channel().SetProtocolInfo(CLprProtocolInfo(other.wide_address(), L"else", true)), 0);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_FALSE(channel().IsOpen());
    const auto* info = dynamic_cast<CLprProtocolInfo*>(channel().GetProtocolInfo());
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetHostName(), other.wide_address());
    EXPECT_EQ(info->GetQueueName(), L"else");
    EXPECT_EQ(info->GetPortNumber(), 515);
    EXPECT_EQ(info->GetProtocolType(), CProtocolInfo::kXlpr);
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());

    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_TRUE(other.WaitForEndings(1));
    EXPECT_EQ(other.connections().at(0).commands.at(0),
              "\x02"
              "else");
}

TEST_F(LprSpoolTest, ItsOwnSettingsStayAsTheyAre) {
    Start();
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    EXPECT_EQ(channel().SetProtocolInfo(*channel().GetProtocolInfo()), 0);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_EQ(channel().GetProtocolInfo()->GetHostName(), printer_->wide_address());
    EXPECT_EQ(channel().GetProtocolInfo()->GetProtocolType(), CProtocolInfo::kLpr);
}

}  // namespace
}  // namespace ksp::test
