// A buffer of a job on its way to the channel when memory runs out.

#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "monitor/job_data.h"
#include "monitor/printer_enumeration.h"
#include "ports/port_manager.h"
#include "tests/host/winspool_control.h"
#include "tests/idprint/header_bytes.h"
#include "tests/net/net_test.h"
#include "tests/support/scarce_memory.h"

namespace ksp::test {
namespace {

using ::testing::IsEmpty;

constexpr wchar_t kNoMemory[] = L"memory allocation failure";

// A job of the ID-print monitor on a raw port of this process.
class JobDataTest : public NetTest {
  protected:
    void SetUp() override {
        NetTest::SetUp();
        BecomeMonitor(MonitorType::kIdPrint);
        ASSERT_TRUE(spooler_.Connect());
        spooler_.Reset();
        spooler_.PutPrinter({.name = L"Printer", .port_names = L"Port"});
        PutJob(L"Document");
        ASSERT_TRUE(printer_.ready());
        info_.PortName = L"Port";
        info_.PrinterAddress = printer_.wide_address();
        info_.ProtocolID = 2;
        info_.SecureRawPortNo = printer_.port();
        ASSERT_TRUE(port_.Initialize(info_));
        UniquePrinter handle;
        wchar_t name[] = L"Printer";
        ASSERT_TRUE(OpenPrinterW(name, handle.Receive(), nullptr));
        port_.SetJob(std::move(handle), 1);
        ASSERT_EQ(port_.Channel()->StartDoc(1, nullptr), 0);
    }
    void TearDown() override {
        port_.ClearJob();
        port_.DeletePrintChannel();
        spooler_.Reset();
        NetTest::TearDown();
    }

    void PutJob(std::wstring document) {
        JOB_INFO_2W job = WinspoolControl::SampleJob(1);
        job.pDocument = document.data();
        ASSERT_TRUE(spooler_.PutJob(L"Printer", job));
    }
    // With so many large requests for memory met.
    std::int32_t Write(const std::string& data, int requests) {
        const ScarceMemory scarce(requests);
        return WriteJobData(port_, info_, reinterpret_cast<const BYTE*>(data.data()),
                            static_cast<DWORD>(data.size()));
    }
    std::string Received(size_t size) {
        EXPECT_TRUE(printer_.WaitForBytes(size));
        const auto bytes = printer_.received();
        return {bytes.begin(), bytes.end()};
    }

    standins::LoopbackPrinter printer_;
    WinspoolControl spooler_;
    CPrinterEnumeration usage_;
    CPortManager manager_{usage_};
    CPort port_{manager_};
    CPortInfo info_;
};

TEST_F(JobDataTest, WithoutRoomForTheCombinedBlockNothingIsSent) {
    const std::string data(ScarceMemory::kLarge, 'd');
    EXPECT_EQ(Write(data, 0), 0);
    EXPECT_EQ(Count(LineLevel::kCritical, kNoMemory), 1U);
    EXPECT_THAT(printer_.connections(), IsEmpty());
}

TEST_F(JobDataTest, WithoutRoomForTheJobTheDataGoPlain) {
    PutJob(std::wstring(ScarceMemory::kLarge, L'n'));
    EXPECT_EQ(Write("data", 0), 4);
    EXPECT_EQ(Count(LineLevel::kCritical, kNoMemory), 1U);
    EXPECT_EQ(Received(4), "data");
}

// The job is read; its texts, or the header made of them, find no room.
TEST_F(JobDataTest, WithoutRoomForTheHeaderTheNextWriteHasIt) {
    PutJob(std::wstring(ScarceMemory::kLarge, L'n'));
    for (const int requests : {1, 2, 3}) {
        EXPECT_EQ(Write("data", requests), 0);
        EXPECT_EQ(Count(LineLevel::kCritical, kNoMemory), static_cast<size_t>(requests));
    }
    EXPECT_THAT(printer_.connections(), IsEmpty());
    PutJob(L"Document");
    EXPECT_EQ(Write("data", 0), 4);
    const std::string expected = HeaderBytes() + "data";
    EXPECT_EQ(Received(expected.size()), expected);
}

}  // namespace
}  // namespace ksp::test
