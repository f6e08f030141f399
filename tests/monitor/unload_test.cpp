// The end: the library is freed, or the process ends under it.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class UnloadTest : public PortCallTest {};

TEST_F(UnloadTest, EndsAJobThatIsOpen) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    ASSERT_TRUE(WriteAll(port, Document(5000)));
    ASSERT_EQ(spooler().OpenHandles().size(), 1U);
    NewCalls();
    Unload();
    EXPECT_THAT(NewCalls(), ElementsAre("ClosePrinter 'Printer' -> TRUE"))
        << "the spooler is not told that the job was sent";
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(SameBytes(Document(5000), printer.received()));
}

TEST_F(UnloadTest, EndsManyPortsAndJobs) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    constexpr int kPorts = 20;
    std::vector<std::wstring> names;
    for (int index = 0; index < kPorts; ++index) {
        names.push_back(L"port " + std::to_wstring(index));
        AddRawPort(names.back(), printer);
    }
    ASSERT_TRUE(Start());
    for (const std::wstring& name : names) {
        QueueJob(name, name);
        const HANDLE port = Open(name);
        ASSERT_TRUE(StartDoc(port, name).result);
        ASSERT_TRUE(WriteAll(port, Document(10)));
    }
    Unload();
    EXPECT_TRUE(printer.WaitForEndings(kPorts));
}

TEST_F(UnloadTest, ClosesBothRegistryKeys) {
    ASSERT_TRUE(Start());
    EXPECT_THAT(registry().OpenKeys(),
                ElementsAre(L"root\\Ports", L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print"));
    Unload();
    EXPECT_THAT(registry().OpenKeys(), IsEmpty());
}

TEST_F(UnloadTest, KeyThatCannotBeClosedDoesNotStopIt) {
    // The registry fails the first attempt to close each key, though it closes it.
    ASSERT_TRUE(Start());
    registry().AddFault({.operation = RegistryOperation::kCloseKey, .code = ERROR_BUSY});
    NewLines();
    Unload();
    EXPECT_THAT(NewLines(),
                ElementsAre("ERROR Unable to close Software key. (170)", "TRACE Logger terminate"));
    EXPECT_THAT(registry().OpenKeys(), ElementsAre(L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print"));
    for (ULONG_PTR number = 1; store().OpenKeyCount() > 0 && number < 100000; ++number)
        registry().CloseKey(Handle(number));
}

// Runs exit_child.exe, which loads the library and ends its own process with exit code 42 in the
// middle of things, with its log in this test's directory.
class ProcessExitTest : public PortCallTest {
  protected:
    static constexpr DWORD kPatience = 60000;  // milliseconds; beyond this the child hangs
    static constexpr DWORD kNoExit = 0xFFFFFFFF;

    DWORD RunChild(const std::wstring& scenario) {
        const std::wstring library = MonitorLibraryPath();
        const std::wstring program =
            library.substr(0, library.find_last_of(L'\\') + 1) + L"exit_child.exe";
        std::wstring command = L"\"" + program + L"\" " + scenario + L" \"" + directory() + L"\"";
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                            nullptr, &startup, &process))
            return kNoExit;
        DWORD code = kNoExit;
        if (WaitForSingleObject(process.hProcess, kPatience) == WAIT_OBJECT_0)
            GetExitCodeProcess(process.hProcess, &code);
        else
            TerminateProcess(process.hProcess, 1);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return code;
    }
    // A log that was cut has a last line without its end.
    std::string LastBytes() const {
        std::ifstream file(std::filesystem::path(log_path()), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        return bytes.size() < 2 ? bytes : bytes.substr(bytes.size() - 2);
    }
};

TEST_F(ProcessExitTest, WithAnOpenJob) {
    EXPECT_EQ(RunChild(L"open-job"), 42U);
    const std::vector<std::string> lines = LogNow();
    ASSERT_THAT(lines, Not(IsEmpty()));
    EXPECT_THAT(lines, Contains("TRACE WritePort Success. written:1000"));
    EXPECT_EQ(lines.back(), "TRACE Logger terminate");
    EXPECT_EQ(LastBytes(), "\r\n");
}

TEST_F(ProcessExitTest, WhileAnotherThreadIsInsideWritePort) {
    EXPECT_EQ(RunChild(L"in-write"), 42U);
    EXPECT_THAT(LogNow(), Not(IsEmpty()));
    EXPECT_EQ(LastBytes(), "\r\n");
}

TEST_F(ProcessExitTest, WhileAnotherThreadIsInsideTheSpooler) {
    EXPECT_EQ(RunChild(L"in-spooler"), 42U);
    EXPECT_THAT(LogNow(), Not(IsEmpty()));
    EXPECT_EQ(LastBytes(), "\r\n");
}

TEST_F(ProcessExitTest, WhileThreadsLog) {
    EXPECT_EQ(RunChild(L"logging"), 42U);
    EXPECT_THAT(LogNow(), Not(IsEmpty()));
    EXPECT_EQ(LastBytes(), "\r\n");
}

TEST_F(ProcessExitTest, WithoutAnyPort) {
    EXPECT_EQ(RunChild(L"idle"), 42U);
    EXPECT_EQ(LogNow().back(), "TRACE Logger terminate");
}

}  // namespace
}  // namespace ksp::test
