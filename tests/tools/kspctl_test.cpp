#include "tests/tools/kspctl_test.h"

#include <cstring>
#include <utility>

namespace ksp::test {

bool KspctlTest::StartSpooler(const std::wstring& name) {
    if (!Start()) {
        return false;
    }
    spooler().PutMonitor(name, L"kspmon.dll");
    const auto show = [this, name] { ShowPortsToSpooler(name); };
    spooler().SetHook(WinspoolEnumPorts, show);
    spooler().SetHook(WinspoolOpenPrinter, show);
    spooler().SetXcvHandler([this](const std::wstring& object, const wchar_t* command,
                                   std::span<BYTE> input, std::span<BYTE> output, DWORD* needed) {
        if (object.ends_with(L"Foreign")) {
            return static_cast<DWORD>(ERROR_INVALID_PARAMETER);  // another monitor answers
        }
        HANDLE xcv = nullptr;
        if (table().pfnXcvOpenPort(monitor(), object.c_str(), 0, &xcv) == FALSE) {
            return GetLastError();
        }
        const DWORD code =
            table().pfnXcvDataPort(xcv, command, input.data(), static_cast<DWORD>(input.size()),
                                   output.data(), static_cast<DWORD>(output.size()), needed);
        table().pfnXcvClosePort(xcv);
        return code;
    });
    return true;
}

void KspctlTest::ShowPortsToSpooler(const std::wstring& monitor_name) {
    DWORD needed = 0;
    DWORD count = 0;
    std::wstring server;
    table().pfnEnumPorts(monitor(), server.data(), 1, nullptr, 0, &needed, &count);
    std::vector<BYTE> buffer(needed);
    ASSERT_TRUE(
        table().pfnEnumPorts(monitor(), server.data(), 1, buffer.data(), needed, &needed, &count));
    for (const std::wstring& name : std::exchange(shown_, {})) {
        spooler().RemovePort(name);
    }
    for (DWORD i = 0; i < count; ++i) {
        PORT_INFO_1W port = {};
        std::memcpy(&port, buffer.data() + i * sizeof(port), sizeof(port));
        spooler().PutPort(port.pName, monitor_name);
        shown_.emplace_back(port.pName);
    }
}

std::wstring KspctlTest::StoredText(const std::wstring& port, const std::wstring& value) {
    return store().GetText(root(), PortPath(port), value).value_or(L"");
}

DWORD KspctlTest::StoredNumber(const std::wstring& port, const std::wstring& value) {
    return store().GetDword(root(), PortPath(port), value).value_or(0);
}

std::vector<std::wstring> KspctlTest::OpenedObjects() {
    std::vector<std::wstring> objects;
    for (const WinspoolCall& call : spooler().Calls(WinspoolOpenPrinter)) {
        objects.emplace_back(call.printer);
    }
    return objects;
}

}  // namespace ksp::test
