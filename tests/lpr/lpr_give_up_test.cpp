// A job whose port is deleted: it is given up, wherever it stands.

#include "ports/port.h"
#include "ports/port_info.h"
#include "tests/lpr/lpr_channel_test.h"
#include "tests/monitor/background.h"

namespace ksp::test {
namespace {

class LprGiveUpTest : public LprChannelTest {
  protected:
    // A spooled job on a port of its own.
    void SpoolOnPort(LpdBehavior behavior) {
        Start(std::move(behavior));
        CPortInfo info;
        info.PortName = L"Port";
        info.PrinterAddress = printer_->wide_address();
        info.QueueName = L"queue";
        info.ProtocolID = 0;
        SetNextNumber(500);
        ASSERT_TRUE(port_.Initialize(info));
        ASSERT_EQ(port_.Channel()->StartDoc(kPort, nullptr), 0);
        ASSERT_EQ(port_.Channel()->WritePort(reinterpret_cast<const BYTE*>("data"), 4), 4);
    }
    // Ends the job as EndDocPort does, and gives it up once the line is logged.
    void GiveUpAt(const std::wstring& line) {
        Background<int> job([this] {
            const CJobScope scope(port_);
            return port_.Channel()->EndDoc();
        });
        bool logged = false;
        for (int i = 0; i < 600 && !logged; ++i) {
            Sleep(100);
            logged = Count(LineLevel::kInfo, line) > 0;
        }
        EXPECT_TRUE(logged);
        EXPECT_TRUE(port_.CloseChannel(CPort::Unfinished::kGiveUp));
        ASSERT_TRUE(job.EndsWithin(Gate::kPatience));
        EXPECT_EQ(job.Get(), 0);
        EXPECT_FALSE(port_.Channel()->IsOpen());
    }

    CPort port_{ports_};
};

TEST_F(LprGiveUpTest, AHeldJobIsLetGo) {
    ASSERT_NO_FATAL_FAILURE(SpoolOnPort(AnswersAt(Step::kReceiveJob, Refusal())));
    ASSERT_NO_FATAL_FAILURE(GiveUpAt(L"The WaitforAck failed.."));
    EXPECT_EQ(OnlyConnection().commands.size(), 1u);
    EXPECT_FALSE(HasSpoolFile(500));
}

TEST_F(LprGiveUpTest, AJobThatWaitsForItsDaemonIsLetGo) {
    ASSERT_NO_FATAL_FAILURE(SpoolOnPort({.refuses = true}));
    ASSERT_NO_FATAL_FAILURE(GiveUpAt(L"The openConnection Failed or timedout.."));
    EXPECT_FALSE(HasSpoolFile(500));
}

TEST_F(LprGiveUpTest, ASpooledJobIsNotDelivered) {
    ASSERT_NO_FATAL_FAILURE(SpoolOnPort({}));
    EXPECT_TRUE(port_.CloseChannel(CPort::Unfinished::kGiveUp));
    EXPECT_FALSE(port_.Channel()->IsOpen());
    EXPECT_THAT(printer_->connections(), IsEmpty());
    EXPECT_FALSE(HasSpoolFile(500));
    EXPECT_EQ(ports_.TakeCalls().back(), kAsBefore);
}

// A daemon that waits for the rest does not acknowledge what it has.
TEST_F(LprGiveUpTest, AJobThatIsCutInItsDataWaitsForNoAcknowledgement) {
    ASSERT_NO_FATAL_FAILURE(SpoolOnPort({}));
    const std::string rest(4096, 'r');
    ASSERT_EQ(port_.Channel()->WritePort(reinterpret_cast<const BYTE*>(rest.data()), 4096), 4096);
    SetReplyTimeout(3600);
    ports_.on_status = [this] {
        ports_.on_status = {};
        EXPECT_TRUE(port_.CloseChannel(CPort::Unfinished::kGiveUp));
    };
    Background<int> job([this] {
        const CJobScope scope(port_);
        return port_.Channel()->EndDoc();
    });
    ASSERT_TRUE(job.EndsWithin(Gate::kPatience));
    EXPECT_EQ(OnlyConnection().data.size(), 1024u + 1u) << "a chunk and the octet behind the data";
    EXPECT_FALSE(port_.Channel()->IsOpen());
}

// Closing the port's handle is not deleting it.
TEST_F(LprGiveUpTest, AnEndedJobIsDelivered) {
    ASSERT_NO_FATAL_FAILURE(SpoolOnPort({}));
    EXPECT_TRUE(port_.CloseChannel(CPort::Unfinished::kEnd));
    EXPECT_EQ(OnlyConnection().data, "data");
}

}  // namespace
}  // namespace ksp::test
