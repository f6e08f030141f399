// Ends its process under a loaded monitor, as a spooler that is shut down does: no Shutdown, no
// FreeLibrary, other threads wherever they are.
//
//   exit_child SCENARIO DIRECTORY
//
// Exit code 42 when everything got as far as the scenario wants, 2 when the monitor calls the
// spooler while the process ends, 1 otherwise.

#include <windows.h>
#include <shellapi.h>

#include <atomic>
#include <cwchar>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/monitor_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

constexpr wchar_t kSoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr UINT kDone = 42;
constexpr UINT kFailed = 1;
constexpr UINT kSpoolerCalled = 2;

// Everything here is leaked: the process is to end with all of it in use.
class ExitChild {
  public:
    explicit ExitChild(std::wstring directory) : directory_(std::move(directory)) {}

    bool Start(const standins::PrinterBehavior& behavior) {
        printer_ = new standins::LoopbackPrinter(behavior);
        if (!printer_->ready() || !spooler_.Connect())
            return false;
        registry_.SetDword(registry_.Root(), L"", L"KSPRINT_SECURE", 1);
        const auto set = [this](const wchar_t* name, const std::wstring& text) {
            registry_.SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, name, text);
        };
        set(L"ExeDirectory", directory_);
        set(L"LogDirectory", directory_);
        set(L"LogFileName", L"log.txt");
        registry_.SetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, L"LogLevel", 1);
        // Longer than anybody waits for this process.
        registry_.SetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, L"WaitServerReplyTimeout", 600);
        registry_.SetDword(registry_.Root(), L"Ports\\PORT", L"ProtocolID", 2);
        registry_.SetDword(registry_.Root(), L"Ports\\PORT", L"PrinterAddressType", 1);
        registry_.SetText(registry_.Root(), L"Ports\\PORT", L"PrinterAddress",
                          printer_->wide_address());
        spooler_.PutPrinter({.name = L"Printer", .port_names = L"PORT"});
        spooler_.PutJob(L"Printer", WinspoolControl::SampleJob(1));
        return library_.Load(MonitorLibraryPath()) && library_.Initialize(registry_);
    }

    bool StartJob() {
        // A spooler whose process ends is no longer there to be called.
        spooler_.SetHook(WinspoolClosePrinter,
                         [] { TerminateProcess(GetCurrentProcess(), kSpoolerCalled); });
        std::wstring port = L"PORT";
        std::wstring printer = L"Printer";
        DOC_INFO_1W document = {};
        return table().pfnOpenPort(nullptr, port.data(), &port_) &&
               table().pfnStartDocPort(port_, printer.data(), 1, 1,
                                       reinterpret_cast<LPBYTE>(&document));
    }
    DWORD Write(DWORD size) {
        std::vector<BYTE> data(size, 0x55);
        DWORD written = 0;
        table().pfnWritePort(port_, data.data(), size, &written);
        return written;
    }

    const MONITOR2& table() const { return *library_.table(); }
    WinspoolControl& spooler() { return spooler_; }
    standins::LoopbackPrinter& printer() { return *printer_; }

  private:
    std::wstring directory_;
    standins::LoopbackPrinter* printer_ = nullptr;
    host::MemoryRegistry registry_;
    WinspoolControl spooler_;
    host::MonitorLibrary library_;
    HANDLE port_ = nullptr;
};

bool OpenJob(ExitChild& child) {
    return child.Start({}) && child.StartJob() && child.Write(1000) == 1000 &&
           child.printer().WaitForBytes(1000);
}

// A printer that reads nothing: when no write has ended for a while, one is waiting for it.
bool InWrite(ExitChild& child) {
    if (!child.Start({.reads = false, .receive_buffer = 4096}) || !child.StartJob())
        return false;
    static std::atomic<int> writes{0};
    std::thread([&child] {
        while (child.Write(1 << 20) > 0)
            ++writes;
    }).detach();
    constexpr int kMostRounds = 100;
    int quiet_rounds = 0;
    int seen = 0;
    for (int round = 0; round < kMostRounds && quiet_rounds < 5; ++round) {
        Sleep(100);
        const int now = writes;
        quiet_rounds = now == seen && now > 0 ? quiet_rounds + 1 : 0;
        seen = now;
    }
    return quiet_rounds == 5;
}

// The other thread holds the port while the spooler answers it, and never comes back.
bool InSpooler(ExitChild& child) {
    if (!child.Start({}) || !child.StartJob())
        return false;
    static std::atomic<bool> inside{false};
    child.spooler().SetHook(WinspoolGetJob, [] {
        inside = true;
        Sleep(INFINITE);
    });
    std::thread([&child] { child.Write(10); }).detach();
    for (int round = 0; round < 200 && !inside; ++round)
        Sleep(50);
    return inside;
}

bool Logging(ExitChild& child) {
    if (!child.Start({}) || !child.StartJob())
        return false;
    static std::atomic<int> calls{0};
    for (int thread = 0; thread < 4; ++thread) {
        std::thread([&child] {
            for (;;) {
                child.table().pfnReadPort(nullptr, nullptr, 0, nullptr);
                ++calls;
            }
        }).detach();
    }
    for (int round = 0; round < 200 && calls < 100; ++round)
        Sleep(10);
    return calls >= 100;
}

bool Reach(const std::wstring& scenario, ExitChild& child) {
    if (scenario == L"open-job")
        return OpenJob(child);
    if (scenario == L"in-write")
        return InWrite(child);
    if (scenario == L"in-spooler")
        return InSpooler(child);
    if (scenario == L"logging")
        return Logging(child);
    return scenario == L"idle" && child.Start({});
}

}  // namespace
}  // namespace ksp::test

int main() {
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (arguments == nullptr || count != 3)
        return ksp::test::kFailed;
    auto* child = new ksp::test::ExitChild(arguments[2]);
    ExitProcess(ksp::test::Reach(arguments[1], *child) ? ksp::test::kDone : ksp::test::kFailed);
}
