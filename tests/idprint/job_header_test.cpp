// Building the header of a job that the spooler has: its calls, sizes and failures.

#include <gmock/gmock.h>
#include <windows.h>

#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "channels/job_header.h"
#include "tests/host/winspool_control.h"
#include "tests/idprint/header_bytes.h"
#include "tests/net/net_test.h"
#include "tests/support/scarce_memory.h"

namespace ksp::test {
namespace {

using ::testing::IsEmpty;

constexpr BYTE kFiller = 0xCC;

// So many bytes that end where a page begins that must not be touched.
class GuardedBytes {
  public:
    explicit GuardedBytes(size_t size)
        : memory_(static_cast<BYTE*>(
              VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
          start_(memory_ + kPage - size) {
        DWORD former = 0;
        VirtualProtect(memory_ + kPage, kPage, PAGE_NOACCESS, &former);
        std::memset(memory_, kFiller, kPage);
    }
    ~GuardedBytes() { VirtualFree(memory_, 0, MEM_RELEASE); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    BYTE* start() const { return start_; }
    // As many bytes from the start, and those in front of it.
    std::string Text(size_t count) const { return {start_, start_ + count}; }
    bool IsFrontUntouched() const {
        return std::string(memory_, start_) ==
               std::string(static_cast<size_t>(start_ - memory_), static_cast<char>(kFiller));
    }

  private:
    static constexpr size_t kPage = 4096;
    BYTE* memory_;
    BYTE* start_;
};

class JobHeaderTest : public NetTest {
  protected:
    void SetUp() override {
        NetTest::SetUp();
        ASSERT_TRUE(spooler_.Connect());
        spooler_.Reset();
        spooler_.PutPrinter({.name = L"Printer", .port_names = L"Port"});
        PutJob(WinspoolControl::SampleJob(1));
        wchar_t name[] = L"Printer";
        ASSERT_TRUE(OpenPrinterW(name, &printer_, nullptr));
    }
    void TearDown() override {
        ClosePrinter(printer_);
        EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
        spooler_.Reset();
        NetTest::TearDown();
    }

    void PutJob(const JOB_INFO_2W& job) { ASSERT_TRUE(spooler_.PutJob(L"Printer", job)); }
    int Build(BYTE* buffer, std::uint32_t& size, const wchar_t* identity = nullptr) {
        return BuildJobHeader(printer_, job_id_, buffer, size, identity);
    }
    // Both calls, as a caller makes them.
    std::string Header(const wchar_t* identity = nullptr) {
        std::uint32_t size = 0;
        EXPECT_EQ(Build(nullptr, size, identity), 0);
        const std::uint32_t learnt = size;
        std::string header(size, static_cast<char>(kFiller));
        EXPECT_EQ(Build(reinterpret_cast<BYTE*>(header.data()), size, identity), 1);
        EXPECT_EQ(size, learnt);
        return header;
    }
    void ExpectHeader(const HeaderTexts& texts, const wchar_t* identity = nullptr) {
        const std::string header = Header(identity);
        EXPECT_EQ(header, HeaderBytes(texts)) << Printable(header) << "\nin place of\n"
                                              << Printable(HeaderBytes(texts));
    }
    void ExpectFailure(LineLevel level, const std::wstring& message) {
        const size_t lines = Count(level, message);
        GuardedBytes buffer(2048);
        std::uint32_t size = 2048;
        EXPECT_EQ(Build(buffer.start(), size), 0);
        EXPECT_EQ(size, 0xFFFFFFFFU);
        EXPECT_EQ(Count(level, message), lines + 1);
        EXPECT_EQ(buffer.Text(2048), std::string(2048, static_cast<char>(kFiller)));
    }

    WinspoolControl spooler_;
    HANDLE printer_ = nullptr;
    DWORD job_id_ = 1;
};

TEST_F(JobHeaderTest, EveryValueComesFromTheJobAndThePrinter) {
    wchar_t printer[] = L"Printer of the job";
    wchar_t machine[] = L"\\\\MACHINE";
    wchar_t user[] = L"bob";
    wchar_t document[] = L"Q1 \"figures\"\nfinal \xD83D\xDCC4";
    wchar_t notify[] = L"notify";
    wchar_t type[] = L"XPS_PASS";
    wchar_t processor[] = L"proc";
    wchar_t parameters[] = L"parameters";
    wchar_t driver[] = L"driver of the job";
    wchar_t status[] = L"status";
    JOB_INFO_2W job = {};
    job.JobId = job_id_ = 4000000001U;
    job.pPrinterName = printer;
    job.pMachineName = machine;
    job.pUserName = user;
    job.pDocument = document;
    job.pNotifyName = notify;
    job.pDatatype = type;
    job.pPrintProcessor = processor;
    job.pParameters = parameters;
    job.pDriverName = driver;
    job.pStatus = status;
    job.Status = JOB_STATUS_SPOOLING;
    job.Priority = 50;
    job.Position = 6;
    job.StartTime = 61;
    job.UntilTime = 62;
    job.TotalPages = 4000000002U;
    job.Size = 4000000003U;
    job.Submitted = {2026, 11, 6, 21, 22, 23, 24, 999};
    job.Time = 63;
    job.PagesPrinted = 64;
    PutJob(job);
    spooler_.PutPrinter({.name = L"Printer", .driver_name = L"driver of the printer"});
    ExpectHeader({.identifier = L"identity",
                  .document = document,
                  .driver = L"driver of the printer",
                  .user = user,
                  .job_id = L"4000000001",
                  .printer = printer,
                  .machine = machine,
                  .start_time = L"2026/11/21/22:23:24",
                  .priority = L"50",
                  .total_pages = L"4000000002",
                  .data_size = L"4000000003",
                  .data_type = type,
                  .processor = processor},
                 L"identity");
}

TEST_F(JobHeaderTest, TextsThatTheSpoolerDoesNotHaveAreEmpty) {
    JOB_INFO_2W job = {};
    job.JobId = 1;
    PutJob(job);
    spooler_.PutPrinter({.name = L"Printer", .driver_name = L""});
    ExpectHeader({.identifier = L"",
                  .document = L"",
                  .driver = L"",
                  .user = L"",
                  .job_id = L"1",
                  .printer = L"",
                  .machine = L"",
                  .start_time = L"   0/0/0/0:0:0",
                  .priority = L"NO_PRIORITY",
                  .total_pages = L"0",
                  .data_size = L"0",
                  .data_type = L"",
                  .processor = L""});
}

TEST_F(JobHeaderTest, WithoutAnIdentityTheUserStandsForIt) {
    ExpectHeader({.identifier = L"alice", .user = L"alice"});
    ExpectHeader({.identifier = L"card 7", .user = L"alice"}, L"card 7");
}

TEST_F(JobHeaderTest, APrinterThatNamesNoDriverLeavesItToTheJob) {
    spooler_.PutPrinter({.name = L"Printer", .driver_name = L""});
    ExpectHeader({.driver = L"Job Driver"});
    spooler_.PutPrinter({.name = L"Printer"});
    ExpectHeader({.driver = L"Test Driver"});
    spooler_.FailCallsFrom(WinspoolGetPrinterDriver, ERROR_ACCESS_DENIED);
    ExpectHeader({.driver = L"Job Driver"});
    spooler_.ClearFaults();
    // Nothing to read; then a size that is learnt and a name that is not.
    spooler_.EmptyCall(WinspoolGetPrinterDriver, 1);
    spooler_.FailCall(WinspoolGetPrinterDriver, ERROR_ACCESS_DENIED, 3);
    ExpectHeader({.driver = L"Job Driver"});
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
}

TEST_F(JobHeaderTest, OneByteTooFewWritesNothing) {
    const std::string expected = HeaderBytes();
    const auto needed = static_cast<std::uint32_t>(expected.size());
    for (const std::uint32_t offered : {needed - 1, needed / 2, 1U, 0U}) {
        const GuardedBytes buffer(offered);
        std::uint32_t size = offered;
        EXPECT_EQ(Build(buffer.start(), size), 0);
        EXPECT_EQ(size, needed);
        EXPECT_EQ(buffer.Text(offered), std::string(offered, static_cast<char>(kFiller)));
    }
}

TEST_F(JobHeaderTest, TheExactSizeIsFilledToTheLastByte) {
    const std::string expected = HeaderBytes();
    const auto needed = static_cast<std::uint32_t>(expected.size());
    const GuardedBytes buffer(needed);
    std::uint32_t size = needed;
    EXPECT_EQ(Build(buffer.start(), size), 1);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(buffer.Text(needed), expected);
    EXPECT_TRUE(buffer.IsFrontUntouched());
}

TEST_F(JobHeaderTest, ALargerBufferIsFilledFromItsStart) {
    const std::string expected = HeaderBytes();
    constexpr std::uint32_t kMore = 100;
    const auto offered = static_cast<std::uint32_t>(expected.size()) + kMore;
    const GuardedBytes buffer(offered);
    std::uint32_t size = offered;
    EXPECT_EQ(Build(buffer.start(), size), 1);
    EXPECT_EQ(size, offered) << "left as it was given";
    EXPECT_EQ(buffer.Text(offered), expected + std::string(kMore, static_cast<char>(kFiller)));
    EXPECT_TRUE(buffer.IsFrontUntouched());
}

TEST_F(JobHeaderTest, AJobThatCannotBeReadHasNoHeader) {
    const wchar_t message[] = L"error retrieving job info";
    spooler_.FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED);
    ExpectFailure(LineLevel::kError, message);
    EXPECT_EQ(spooler_.Calls(WinspoolGetJob).size(), 1U) << "there is no size to read with";
    spooler_.FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED, 2);
    ExpectFailure(LineLevel::kError, message);
    spooler_.EmptyCall(WinspoolGetJob);
    ExpectFailure(LineLevel::kError, message);
    spooler_.RemoveJob(L"Printer", 1);
    ExpectFailure(LineLevel::kError, message);
}

TEST_F(JobHeaderTest, AJobThatDoesNotFitIntoMemoryHasNoHeader) {
    std::wstring document(ScarceMemory::kLarge, L'd');
    JOB_INFO_2W job = WinspoolControl::SampleJob(1);
    job.pDocument = document.data();
    PutJob(job);
    std::uint32_t size = 0;
    {
        const ScarceMemory scarce(0);
        EXPECT_EQ(Build(nullptr, size), 0);
    }
    EXPECT_EQ(size, 0xFFFFFFFFU);
    EXPECT_EQ(Count(LineLevel::kCritical, L"memory allocation failure"), 1U);
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
}

TEST_F(JobHeaderTest, ReadsTheJobAtLevelTwoOfThePortsPrinter) {
    spooler_.ClearCalls();
    std::uint32_t size = 0;
    EXPECT_EQ(Build(nullptr, size), 0);
    const auto jobs = spooler_.Calls(WinspoolGetJob);
    ASSERT_EQ(jobs.size(), 2U);
    EXPECT_EQ(jobs[0].error, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    for (const WinspoolCall& call : jobs) {
        EXPECT_EQ(call.handle, printer_);
        EXPECT_EQ(call.job_id, 1U);
        EXPECT_EQ(call.level, 2U);
    }
    for (const WinspoolCall& call : spooler_.Calls(WinspoolGetPrinterDriver)) {
        EXPECT_EQ(call.handle, printer_);
        EXPECT_EQ(call.level, 1U);
    }
}

}  // namespace
}  // namespace ksp::test
