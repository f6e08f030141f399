// A notifier program for the tests: notifier.exe MODE REPORT EVENT and whatever the monitor
// appends. It writes its whole command line, as UTF-16, to the file REPORT, which is there only
// when it is complete. Then, by MODE:
//   end    it ends well;
//   fail   it ends with an exit code that says failure;
//   hang   it waits until somebody sets the named event EVENT, makes the file REPORT.end and ends.
//          Forgotten it ends after two minutes, without that file.

#include <windows.h>

#include <shellapi.h>

#include <string>

namespace {

constexpr DWORD kPatience = 120000;  // milliseconds
constexpr int kBadUsage = 2;
constexpr int kFailure = 3;

// Appears under its name when it is complete.
bool WriteReport(const std::wstring& path, const std::wstring& text) {
    const std::wstring unfinished = path + L".part";
    const HANDLE file =
        CreateFileW(unfinished.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    const auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    DWORD written = 0;
    const BOOL result = WriteFile(file, text.data(), size, &written, nullptr);
    CloseHandle(file);
    return result && written == size && MoveFileW(unfinished.c_str(), path.c_str());
}

int Hang(const std::wstring& report, const std::wstring& event_name) {
    const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, event_name.c_str());
    if (event == nullptr) {
        return kBadUsage;
    }
    const DWORD result = WaitForSingleObject(event, kPatience);
    CloseHandle(event);
    return result == WAIT_OBJECT_0 && WriteReport(report + L".end", L"") ? 0 : kFailure;
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (arguments == nullptr || count < 4) {
        return kBadUsage;
    }
    const std::wstring mode = arguments[1];
    const std::wstring report = arguments[2];
    const std::wstring event_name = arguments[3];
    LocalFree(arguments);
    if (!WriteReport(report, GetCommandLineW())) {
        return kFailure;
    }
    if (mode == L"hang") {
        return Hang(report, event_name);
    }
    return mode == L"fail" ? kFailure : 0;
}
