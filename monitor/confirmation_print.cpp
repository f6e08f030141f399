#include "monitor/confirmation_print.h"

#include <string>

#include "monitor/notifier_command.h"
#include "ports/registry_store.h"
#include "support/log.h"
#include "support/windows_handles.h"

namespace ksp {

namespace {

constexpr DWORD kNameBuffer = 255;  // characters
constexpr wchar_t kUnknown[] = L"unknown";

std::wstring UserName() {
    wchar_t name[kNameBuffer] = {};
    DWORD length = kNameBuffer;
    return ::GetUserNameW(name, &length) != FALSE ? name : kUnknown;
}

std::wstring ComputerName() {
    wchar_t name[kNameBuffer] = {};
    DWORD length = kNameBuffer;
    return ::GetComputerNameW(name, &length) != FALSE ? name : kUnknown;
}

std::wstring TextOf(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

void Start(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                         &startup, &started) == FALSE) {
        Log(LogLevel::kError, L"CreateProcess failed.");
        return;
    }
    // Nobody waits for the notifier: its handles are given back at once.
    const UniqueHandle process(started.hProcess);
    const UniqueHandle thread(started.hThread);
}

}  // namespace

void LaunchConfirmationPrint(const wchar_t* portName, const wchar_t* printerName,
                             const DOC_INFO_1W* /*document*/) noexcept {
    try {
        std::wstring program;
        if (RegistryStore().GetNotifierCommand(program) != 1) {
            return;
        }
        const CNotifierValues values{TextOf(printerName), TextOf(portName), UserName(),
                                     ComputerName()};
        std::wstring commandLine = NotifierCommandLine(program, values);
        Logger().LogMessage(LogLevel::kInfo, L"", __LINE__, commandLine.c_str());
        Start(std::move(commandLine));
    } catch (...) {
        // A notification that cannot be built is no reason to stop a job that can print.
    }
}

}  // namespace ksp
