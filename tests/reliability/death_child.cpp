// A spooler that is about to be killed: works on the monitor until a certain moment, says so, and
// stays there.
//
//   death_child SCENARIO MOMENT DIRECTORY HIVE ADDRESS
//
// The moment is a change of the registry, counted from 1 within the scenario: it is not carried out
// any more. Of the scenarios "rotate" and "log" it is a RotationMoment of the next rotation of the
// log. At the moment the file "there" appears in the directory. A scenario that ends before its
// moment ends the process with 42; everything that does not work as it should, with 1.

#include <windows.h>
#include <shellapi.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/reliability/half_document.h"
#include "tests/reliability/still_rotation.h"
#include "tests/reliability/test_hive.h"
#include "tests/reliability/xcv_client.h"

namespace ksp::test {
namespace {

constexpr UINT kEnded = 42;
constexpr UINT kFailed = 1;
constexpr DWORD kRaw = 2;

// Appears whole, and then everything stands still.
[[noreturn]] void WaitForDeath(const std::wstring& directory) {
    CloseHandle(CreateFileW((directory + L"\\there").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    for (;;)
        Sleep(INFINITE);
}

// Stands still at the chosen change.
class FatefulRegistry : public TestHive {
  public:
    FatefulRegistry(const std::wstring& hive, std::wstring directory)
        : TestHive(hive), directory_(std::move(directory)) {}

    void StandStillAt(int change) { changes_left_ = change; }
    void StandStillBeforeIndex() { is_index_fatal_ = true; }

    LONG CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                   PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) override {
        Count();
        return TestHive::CreateKey(parent, subkey, options, access, security, result, disposition);
    }
    LONG DeleteKey(HANDLE parent, LPCWSTR subkey) override {
        Count();
        return TestHive::DeleteKey(parent, subkey);
    }
    LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) override {
        Count();
        if (is_index_fatal_ && name != nullptr && std::wstring(name) == L"LogFileIndex")
            WaitForDeath(directory_);
        return TestHive::SetValue(key, name, type, data, size);
    }

  private:
    void Count() {
        if (changes_left_ > 0 && --changes_left_ == 0)
            WaitForDeath(directory_);
    }

    const std::wstring directory_;
    std::atomic<int> changes_left_ = 0;
    bool is_index_fatal_ = false;
};

// Everything here is leaked: the process ends with all of it in use.
class DeathChild {
  public:
    DeathChild(std::wstring directory, const std::wstring& hive, std::wstring address)
        : directory_(std::move(directory)),
          address_(std::move(address)),
          registry_(hive, directory_) {}

    bool Start(const std::wstring& scenario, int moment) {
        if (!spooler_.Connect())
            return false;
        spooler_.PutPrinter({.name = L"Printer", .port_names = L"elsewhere"});
        spooler_.PutJob(L"Printer", WinspoolControl::SampleJob(1));
        spooler_.PutPort(L"LPT1:");
        if (!library_.Load(MonitorLibraryPath()))
            return false;
        if (scenario == L"rotate" || scenario == L"log")
            StandStillInRotation(static_cast<RotationMoment>(moment));
        return library_.Initialize(registry_);
    }
    bool Run(const std::wstring& scenario, int moment) {
        XcvClient client(*library_.table(), library_.monitor());
        if (scenario == L"add") {
            registry_.StandStillAt(moment);
            return client.AddPort(L"changed port", kRaw, address_) == ERROR_SUCCESS;
        }
        if (scenario == L"add again") {
            registry_.StandStillAt(moment);
            return client.AddPort(L"changed port", kRaw, address_) == ERROR_ALREADY_EXISTS;
        }
        if (scenario == L"silent add") {
            const std::string address(address_.begin(), address_.end());
            registry_.StandStillAt(moment);
            return client.AddSilently("AR=" + address + ":PR=RAW:PN=changed port") == ERROR_SUCCESS;
        }
        if (scenario == L"configure") {
            XcvClient::Record record;
            if (client.GetPortConfig(L"changed port", record) != ERROR_SUCCESS)
                return false;
            XcvClient::SetProtocol(record, kRaw);
            XcvClient::SetAddress(record, address_);
            registry_.StandStillAt(moment);
            return client.ConfigurePort(record) == ERROR_SUCCESS;
        }
        if (scenario == L"delete") {
            registry_.StandStillAt(moment);
            return client.DeletePort(L"changed port") == ERROR_SUCCESS;
        }
        if (scenario == L"log")
            LogWithoutEnd(static_cast<RotationMoment>(moment));
        if (scenario == L"half a job")
            return WriteHalf(L"raw port");
        if (scenario == L"half a spooled job")
            return WriteHalf(L"lpr port");
        if (scenario == L"half a streamed job")
            return WriteHalf(L"xlpr port");
        return scenario == L"delivery" && Deliver();
    }

  private:
    void StandStillInRotation(RotationMoment moment) {
        if (moment == RotationMoment::kBeforeIndex)
            registry_.StandStillBeforeIndex();
        rotation_.emplace(library_.module(), moment, [this] { WaitForDeath(directory_); });
        if (!rotation_->works())
            TerminateProcess(GetCurrentProcess(), kFailed);
    }
    HANDLE StartJob(std::wstring port_name) {
        HANDLE port = nullptr;
        std::wstring printer = L"Printer";
        DOC_INFO_1W document = {};
        const MONITOR2& table = *library_.table();
        return table.pfnOpenPort(nullptr, port_name.data(), &port) &&
                       table.pfnStartDocPort(port, printer.data(), 1, 1,
                                             reinterpret_cast<LPBYTE>(&document))
                   ? port
                   : nullptr;
    }
    bool Write(HANDLE port) {
        Bytes data = HalfADocument();
        DWORD written = 0;
        return port != nullptr &&
               library_.table()->pfnWritePort(port, data.data(), static_cast<DWORD>(data.size()),
                                              &written) &&
               written == data.size();
    }
    bool WriteHalf(const std::wstring& port) {
        if (Write(StartJob(port)))
            WaitForDeath(directory_);
        return false;
    }
    // The daemon knows when.
    bool Deliver() {
        const HANDLE port = StartJob(L"lpr port");
        return Write(port) && library_.table()->pfnEndDocPort(port);
    }
    // Without a moment of a rotation the time to die is now.
    [[noreturn]] void LogWithoutEnd(RotationMoment moment) {
        for (int thread = 0; thread < 3; ++thread) {
            std::thread([this] {
                for (;;)
                    library_.table()->pfnReadPort(nullptr, nullptr, 0, nullptr);
            }).detach();
        }
        if (moment != RotationMoment::kNone)
            Sleep(INFINITE);
        WaitForDeath(directory_);
    }

    const std::wstring directory_;
    const std::wstring address_;
    FatefulRegistry registry_;
    WinspoolControl spooler_;
    host::MonitorLibrary library_;
    std::optional<StillRotation> rotation_;
};

}  // namespace
}  // namespace ksp::test

int main() {
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (arguments == nullptr || count != 6)
        return ksp::test::kFailed;
    auto* child = new ksp::test::DeathChild(arguments[3], arguments[4], arguments[5]);
    const std::wstring scenario = arguments[1];
    const int moment = _wtoi(arguments[2]);
    const bool went_well = child->Start(scenario, moment) && child->Run(scenario, moment);
    TerminateProcess(GetCurrentProcess(), went_well ? ksp::test::kEnded : ksp::test::kFailed);
}
