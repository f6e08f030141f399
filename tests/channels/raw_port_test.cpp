#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "tests/host/monitor_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using standins::PrinterBehavior;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD kServerUnknown = 0x800000;

// The raw channel as a spooler meets it: one port, its printer, and one job that goes on for as
// long as the test writes.
class RawPortTest : public MonitorTest {
  protected:
    // The printer outlives the monitor's connections to it.
    void TearDown() override {
        Unload();
        printer_.reset();
        MonitorTest::TearDown();
    }

    void StartJob(PrinterBehavior behavior = {}) {
        printer_.emplace(std::move(behavior));
        ASSERT_TRUE(printer_->ready());
        OpenJob(printer_->wide_address());
    }
    void OpenJob(const std::wstring& address) {
        AddPortKey({.name = L"Port", .PrinterAddress = address});
        SetSetting(L"WaitServerReplyTimeout", 1);
        ASSERT_TRUE(Start());
        job_ = QueueJob(L"Port");
        spooler().SetPrinterStatus(L"Printer", status_before_);
        wchar_t port[] = L"Port";
        ASSERT_TRUE(table().pfnOpenPort(monitor(), port, &port_));
        StartDoc();
    }
    void StartDoc() {
        wchar_t document[] = L"Document";
        DOC_INFO_1W info = {document, nullptr, nullptr};
        ASSERT_TRUE(table().pfnStartDocPort(port_, job_.printer.data(), job_.job_id, 1,
                                            reinterpret_cast<LPBYTE>(&info)));
    }
    // The bytes taken, or -1 for FALSE.
    int Write(std::string data) {
        DWORD written = 0xAAAA;
        const BOOL result = table().pfnWritePort(port_, reinterpret_cast<LPBYTE>(data.data()),
                                                 static_cast<DWORD>(data.size()), &written);
        EXPECT_EQ(written, result ? written : 0u);
        return result ? static_cast<int>(written) : -1;
    }
    void EndJob() {
        EXPECT_TRUE(table().pfnEndDocPort(port_));
        EXPECT_TRUE(table().pfnClosePort(port_));
    }
    void Replace(PrinterBehavior behavior = {}) {
        const standins::Endpoint endpoint{printer_->address(), printer_->port()};
        printer_.reset();
        printer_.emplace(std::move(behavior), endpoint);
        ASSERT_TRUE(printer_->ready());
    }

    // The printer statuses written to the spooler, in order.
    std::vector<DWORD> Statuses() {
        std::vector<DWORD> statuses;
        for (const WinspoolCall& call : spooler().Calls(WinspoolSetPrinter)) {
            EXPECT_EQ(call.command, static_cast<DWORD>(PRINTER_CONTROL_SET_STATUS));
            EXPECT_EQ(call.level, 0u);
            EXPECT_TRUE(call.result);
            statuses.push_back(call.status);
        }
        return statuses;
    }
    size_t Count(LineLevel level, const std::wstring& message) const {
        return ReadLog().CountLines(level, message);
    }
    size_t Queries() const { return Count(LineLevel::kError, L"Failed Initialized Oryx."); }

    std::optional<LoopbackPrinter> printer_;
    host::SpoolerJob job_;
    HANDLE port_ = nullptr;
    DWORD status_before_ = 0;
};

TEST_F(RawPortTest, AGoodPrinterHasNoStatusToWrite) {
    StartJob();
    EXPECT_EQ(Write("one "), 4);
    EXPECT_EQ(Write("two"), 3);
    EndJob();
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), 7u);
    EXPECT_THAT(Statuses(), IsEmpty());
    EXPECT_EQ(Queries(), 0u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> connection is successful"), 1u);
    EXPECT_EQ(Count(LineLevel::kTrace, L"print channel is  CLOSE"), 1u);
}

TEST_F(RawPortTest, TheStatusBeforeTheJobIsWrittenBackAndThenCleared) {
    status_before_ = PRINTER_STATUS_USER_INTERVENTION;
    StartJob();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_THAT(Statuses(), IsEmpty());
    EndJob();
    EXPECT_THAT(Statuses(), ElementsAre(PRINTER_STATUS_USER_INTERVENTION, 0u));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Old Stat=0 NewStat=1048576"), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"Old Stat=1048576 NewStat=0"), 1u);
}

TEST_F(RawPortTest, ARefusalIsShownUntilDataFlows) {
    StartJob({.answer = PrinterBehavior::Answer::kRefuse});
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(Write("data"), -1);
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Old Stat=0 NewStat=8388608"), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> getsockopt returned : 10061"), 2u);
    EXPECT_EQ(Queries(), 1u) << "the second answer is the first one's";

    Replace();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, 0u));
    EndJob();
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, 0u));
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), 4u);
}

TEST_F(RawPortTest, APendingConnectionIsCompletedByAnotherWrite) {
    StartJob({.answer = PrinterBehavior::Answer::kNeverAnswer});
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> select timed out.."), 1u);
    SetSetting(L"WaitServerReplyTimeout", 20);
    printer_->StartAnswering();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> connection is successful"), 1u);
    EndJob();
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, 0u));
}

TEST_F(RawPortTest, APendingConnectionIsGivenUpWithTheJob) {
    StartJob({.answer = PrinterBehavior::Answer::kNeverAnswer});
    EXPECT_EQ(Write("data"), -1);
    EndJob();
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, 0u));
}

TEST_F(RawPortTest, AnUnknownNameIsNoPrintersTrouble) {
    OpenJob(L"no such host");
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(Write("data"), -1);
    EXPECT_THAT(Statuses(), IsEmpty());
    EXPECT_EQ(Count(LineLevel::kTrace, L"Host name = no such host"), 2u);
    const auto messages = ReadLog().Messages(LineLevel::kInfo);
    const auto unresolved =
        std::count_if(messages.begin(), messages.end(), [](const std::wstring& message) {
            return message.starts_with(L"Unable to get address for host name =no such host . ");
        });
    EXPECT_EQ(unresolved, 2);
    EndJob();
}

TEST_F(RawPortTest, ALostConnectionEndsTheJobAndNoOther) {
    StartJob({.reset_after = 4});
    ASSERT_EQ(Write("data"), 4);
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(Write("more"), -1);
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown));
    EXPECT_EQ(Queries(), 1u);
    EXPECT_TRUE(table().pfnEndDocPort(port_));
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, 0u));

    StartDoc();
    EXPECT_EQ(Write("next job"), 8);
    EndJob();
    EXPECT_TRUE(printer_->WaitForConnections(2));
}

TEST_F(RawPortTest, AJobWhosePortWasClosedCannotWriteOn) {
    StartJob();
    ASSERT_EQ(Write("data"), 4);
    EXPECT_TRUE(table().pfnClosePort(port_));
    EXPECT_EQ(Count(LineLevel::kTrace, L"print channel is  OPEN"), 1u);
    EXPECT_EQ(Write("more"), -1);
    EXPECT_TRUE(table().pfnEndDocPort(port_));
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), 4u);
}

TEST_F(RawPortTest, AJobGoesOnWithoutThePrintersStatus) {
    spooler().FailCallsFrom(WinspoolGetPrinter, ERROR_INVALID_HANDLE);
    StartJob();
    EXPECT_EQ(Count(LineLevel::kError, L"Getting the print status failed"), 1u);
    EXPECT_EQ(Write("data"), 4);
    EndJob();
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), 4u);
}

// What is still on its way to the printer is lost when it is not heard out.
TEST_F(RawPortTest, ATalkingPrinterIsHeardOutAtTheEnd) {
    StartJob({.read_size = 2048,
              .read_pause = 20,
              .receive_buffer = 4096,
              .greeting = std::string(1000, 'G')});
    ASSERT_EQ(Write(std::string(64 * 1024, 'D')), 64 * 1024);
    ASSERT_TRUE(printer_->WaitForBytes(1));
    EndJob();
    ASSERT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(printer_->received().size(), 64u * 1024);
}

}  // namespace
}  // namespace ksp::test
