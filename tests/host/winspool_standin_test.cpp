// The spooler stand-in as a monitor meets it: through the spooler's own functions.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/winspool_control.h"

namespace ksp::test {
namespace {

constexpr DWORD kJob = 7;

class WinspoolStandinTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(spooler_.Connect());
        spooler_.Reset();
        spooler_.PutPrinter({.name = L"Printer", .port_names = L"PORT_1,PORT_2", .status = 0x10});
        spooler_.PutJob(L"Printer", WinspoolControl::SampleJob(kJob));
    }

    static HANDLE OpenPrinterHandle(ACCESS_MASK access) {
        wchar_t name[] = L"Printer";
        PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
        HANDLE handle = nullptr;
        return OpenPrinterW(name, &handle, &defaults) ? handle : nullptr;
    }

    // Asks for the size, checks that one byte less is refused and that the size fills the buffer.
    template <typename Ask>
    static std::vector<BYTE> FollowSizeProtocol(Ask ask) {
        DWORD needed = 0;
        EXPECT_FALSE(ask(nullptr, 0, &needed));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        std::vector<BYTE> buffer(needed, 0xEE);
        DWORD again = 0;
        EXPECT_FALSE(ask(buffer.data(), needed - 1, &again));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(again, needed);
        EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [](BYTE b) { return b == 0xEE; }));
        EXPECT_TRUE(ask(buffer.data(), needed, &again));
        EXPECT_EQ(again, needed);
        return buffer;
    }

    template <typename Info>
    static const Info* As(const std::vector<BYTE>& buffer) {
        return reinterpret_cast<const Info*>(buffer.data());
    }

    // True when the text and its terminator lie inside the buffer.
    static bool Inside(const std::vector<BYTE>& buffer, const wchar_t* text) {
        const BYTE* begin = reinterpret_cast<const BYTE*>(text);
        const BYTE* end = begin + (wcslen(text) + 1) * sizeof(wchar_t);
        return begin >= buffer.data() && end <= buffer.data() + buffer.size();
    }

    WinspoolControl spooler_;
};

TEST_F(WinspoolStandinTest, OpensOnlyPrintersThatExistWithRightsTheyGrant) {
    wchar_t missing[] = L"No Printer";
    HANDLE handle = nullptr;
    EXPECT_FALSE(OpenPrinterW(missing, &handle, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PRINTER_NAME});

    spooler_.PutPrinter({.name = L"Printer", .denied_access = PRINTER_ACCESS_ADMINISTER});
    EXPECT_EQ(OpenPrinterHandle(PRINTER_ALL_ACCESS), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    ASSERT_NE(handle, nullptr);

    ASSERT_EQ(spooler_.OpenHandles().size(), 1u);
    EXPECT_EQ(spooler_.OpenHandles()[0].access, ACCESS_MASK{PRINTER_ACCESS_USE});
    EXPECT_STREQ(spooler_.OpenHandles()[0].printer, L"Printer");
    EXPECT_TRUE(ClosePrinter(handle));
    EXPECT_TRUE(spooler_.OpenHandles().empty());
    EXPECT_FALSE(ClosePrinter(handle));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(WinspoolStandinTest, TellsAPrinter) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    const std::vector<BYTE> buffer = FollowSizeProtocol([&](LPBYTE data, DWORD size, LPDWORD need) {
        return GetPrinterW(handle, 2, data, size, need);
    });
    const auto* info = As<PRINTER_INFO_2W>(buffer);
    EXPECT_STREQ(info->pPrinterName, L"Printer");
    EXPECT_STREQ(info->pPortName, L"PORT_1,PORT_2");
    EXPECT_TRUE(Inside(buffer, info->pPortName));
    EXPECT_EQ(info->Status, 0x10u);
    EXPECT_EQ(info->cJobs, 1u);
    DWORD needed = 0;
    EXPECT_FALSE(GetPrinterW(handle, 4, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_LEVEL});
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, SetsThePrintersStatusFromTheBufferPointerItself) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ALL_ACCESS);
    EXPECT_TRUE(SetPrinterW(handle, 0, reinterpret_cast<LPBYTE>(ULONG_PTR{0x800080}),
                            PRINTER_CONTROL_SET_STATUS));
    EXPECT_EQ(spooler_.PrinterStatus(L"Printer"), 0x800080u);
    const std::vector<WinspoolCall> calls = spooler_.Calls(WinspoolSetPrinter);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].status, 0x800080u);
    EXPECT_EQ(calls[0].command, DWORD{PRINTER_CONTROL_SET_STATUS});
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, SetsNoStatusThroughAHandleThatMayOnlyPrint) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    EXPECT_FALSE(SetPrinterW(handle, 0, reinterpret_cast<LPBYTE>(ULONG_PTR{0x80}),
                             PRINTER_CONTROL_SET_STATUS));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(spooler_.PrinterStatus(L"Printer"), 0x10u);
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, TellsAJobAtBothLevels) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    const std::vector<BYTE> first = FollowSizeProtocol([&](LPBYTE data, DWORD size, LPDWORD need) {
        return GetJobW(handle, kJob, 1, data, size, need);
    });
    EXPECT_EQ(As<JOB_INFO_1W>(first)->JobId, kJob);
    EXPECT_EQ(As<JOB_INFO_1W>(first)->Status, DWORD{JOB_STATUS_PRINTING});
    EXPECT_STREQ(As<JOB_INFO_1W>(first)->pDocument, L"Document");

    const std::vector<BYTE> second = FollowSizeProtocol([&](LPBYTE data, DWORD size, LPDWORD need) {
        return GetJobW(handle, kJob, 2, data, size, need);
    });
    const auto* info = As<JOB_INFO_2W>(second);
    EXPECT_STREQ(info->pUserName, L"alice");
    EXPECT_STREQ(info->pDriverName, L"Job Driver");
    EXPECT_TRUE(Inside(second, info->pDriverName));
    EXPECT_EQ(info->pStatus, nullptr) << "a text that was null stays null";
    EXPECT_EQ(info->Size, 1000u);
    EXPECT_EQ(info->Submitted.wYear, 2024);

    DWORD needed = 0;
    EXPECT_FALSE(GetJobW(handle, kJob + 1, 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_FALSE(GetJobW(nullptr, kJob, 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, ChangesAJobAndNotesTheStatusWritten) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    JOB_INFO_2W job = WinspoolControl::SampleJob(kJob);
    job.Status = JOB_STATUS_ERROR;
    EXPECT_TRUE(SetJobW(handle, kJob, 2, reinterpret_cast<LPBYTE>(&job), 0));
    EXPECT_EQ(spooler_.JobStatus(L"Printer", kJob), DWORD{JOB_STATUS_ERROR});
    EXPECT_TRUE(SetJobW(handle, kJob, 0, nullptr, JOB_CONTROL_SENT_TO_PRINTER));
    EXPECT_EQ(spooler_.JobStatus(L"Printer", kJob), DWORD{JOB_STATUS_ERROR | JOB_STATUS_COMPLETE});

    const std::vector<WinspoolCall> calls = spooler_.Calls(WinspoolSetJob);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].level, 2u);
    EXPECT_EQ(calls[0].status, DWORD{JOB_STATUS_ERROR});
    EXPECT_EQ(calls[0].job_id, kJob);
    EXPECT_EQ(calls[1].command, DWORD{JOB_CONTROL_SENT_TO_PRINTER});
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, TellsTheDriverOrThatThereIsNone) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    const std::vector<BYTE> buffer = FollowSizeProtocol([&](LPBYTE data, DWORD size, LPDWORD need) {
        return GetPrinterDriverW(handle, nullptr, 1, data, size, need);
    });
    EXPECT_STREQ(As<DRIVER_INFO_1W>(buffer)->pName, L"Test Driver");

    spooler_.PutPrinter({.name = L"Printer", .driver_name = L""});
    DWORD needed = 0;
    EXPECT_FALSE(GetPrinterDriverW(handle, nullptr, 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_UNKNOWN_PRINTER_DRIVER});
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, ListsPortsAndPrinters) {
    DWORD needed = 1;
    DWORD returned = 1;
    EXPECT_TRUE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_EQ(needed, 0u);
    EXPECT_EQ(returned, 0u);

    spooler_.PutPort(L"LPT1:");
    spooler_.PutPort(L"COM1:");
    const std::vector<BYTE> ports = FollowSizeProtocol([&](LPBYTE data, DWORD size, LPDWORD need) {
        return EnumPortsW(nullptr, 1, data, size, need, &returned);
    });
    ASSERT_EQ(returned, 2u);
    EXPECT_STREQ(As<PORT_INFO_1W>(ports)[0].pName, L"LPT1:");
    EXPECT_STREQ(As<PORT_INFO_1W>(ports)[1].pName, L"COM1:");

    spooler_.PutPrinter({.name = L"Second", .port_names = L"PORT_3"});
    const std::vector<BYTE> printers =
        FollowSizeProtocol([&](LPBYTE data, DWORD size, LPDWORD need) {
            return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, data, size, need, &returned);
        });
    ASSERT_EQ(returned, 2u);
    EXPECT_STREQ(As<PRINTER_INFO_2W>(printers)[1].pPortName, L"PORT_3");
}

TEST_F(WinspoolStandinTest, FailsTheCallsItIsToldTo) {
    spooler_.PutPort(L"LPT1:");
    spooler_.FailCall(WinspoolEnumPorts, ERROR_OUTOFMEMORY, 2);
    DWORD needed = 0;
    DWORD returned = 0;
    EXPECT_FALSE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_FALSE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_OUTOFMEMORY});
    EXPECT_FALSE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});

    spooler_.FailCallsFrom(WinspoolOpenPrinter, RPC_S_SERVER_UNAVAILABLE);
    EXPECT_EQ(OpenPrinterHandle(PRINTER_ACCESS_USE), nullptr);
    EXPECT_EQ(OpenPrinterHandle(PRINTER_ACCESS_USE), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{RPC_S_SERVER_UNAVAILABLE});
    EXPECT_TRUE(spooler_.OpenHandles().empty());
    EXPECT_EQ(spooler_.Calls(WinspoolOpenPrinter).size(), 2u) << "failed calls are noted too";

    spooler_.ClearFaults();
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    EXPECT_NE(handle, nullptr);
    spooler_.EmptyCall(WinspoolGetJob);
    needed = 1;
    EXPECT_TRUE(GetJobW(handle, kJob, 1, nullptr, 0, &needed));
    EXPECT_EQ(needed, 0u);
    EXPECT_TRUE(ClosePrinter(handle));
}

TEST_F(WinspoolStandinTest, RunsTheHookOnTheCallingThreadOutsideItsLock) {
    DWORD hook_thread = 0;
    spooler_.SetHook(WinspoolEnumPorts, [&] {
        hook_thread = GetCurrentThreadId();
        spooler_.PutPort(L"LPT1:");
        // Another thread gets its answer while this call is under way.
        std::thread other([&] { spooler_.SetJobStatus(L"Printer", kJob, JOB_STATUS_PAUSED); });
        other.join();
    });
    DWORD needed = 0;
    DWORD returned = 0;
    EXPECT_FALSE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_EQ(hook_thread, GetCurrentThreadId());
    EXPECT_GT(needed, 0u) << "the call sees what its hook did";
    EXPECT_EQ(spooler_.JobStatus(L"Printer", kJob), DWORD{JOB_STATUS_PAUSED});

    spooler_.SetHook(WinspoolEnumPorts, nullptr);
    hook_thread = 0;
    EXPECT_FALSE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_EQ(hook_thread, 0u);
}

TEST_F(WinspoolStandinTest, NotesCallsInTheirOrder) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ALL_ACCESS);
    DWORD needed = 0;
    EXPECT_FALSE(GetJobW(handle, kJob, 2, nullptr, 0, &needed));
    EXPECT_TRUE(ClosePrinter(handle));
    const std::vector<WinspoolCall> calls = spooler_.Calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(DescribeCall(calls[0]), "OpenPrinter 'Printer' access 0xf000c -> TRUE");
    EXPECT_EQ(DescribeCall(calls[1]), "GetJob 'Printer' job 7 level 2 -> FALSE error 122");
    EXPECT_EQ(DescribeCall(calls[2]), "ClosePrinter 'Printer' -> TRUE");
    EXPECT_EQ(calls[1].handle, handle);
    EXPECT_EQ(calls[1].thread_id, GetCurrentThreadId());
    spooler_.ClearCalls();
    EXPECT_TRUE(spooler_.Calls().empty());
}

TEST_F(WinspoolStandinTest, ForgetsEverythingWhenReset) {
    HANDLE handle = OpenPrinterHandle(PRINTER_ACCESS_USE);
    spooler_.FailCallsFrom(WinspoolEnumPorts, ERROR_OUTOFMEMORY);
    spooler_.Reset();
    EXPECT_TRUE(spooler_.OpenHandles().empty());
    EXPECT_TRUE(spooler_.Calls().empty());
    EXPECT_FALSE(spooler_.PrinterStatus(L"Printer"));
    DWORD needed = 0;
    DWORD returned = 0;
    EXPECT_TRUE(EnumPortsW(nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_FALSE(ClosePrinter(handle)) << "the old handle is good no longer";
}

}  // namespace
}  // namespace ksp::test
