#pragma once

#include <windows.h>
#include <winspool.h>
#include <winsplp.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

namespace ksp::test {

// The configuration interface as it talks to a monitor; one for each thread.
class XcvClient {
  public:
    static constexpr size_t kRecordSize = 16412;  // of the record that ConfigurePort takes
    using Record = std::array<std::uint8_t, kRecordSize>;

    explicit XcvClient(const MONITOR2& table, HANDLE monitor) : table_(table) {
        std::wstring object = L",XcvMonitor";
        table_.pfnXcvOpenPort(monitor, object.data(), SERVER_ACCESS_ADMINISTER, &xcv_);
    }
    ~XcvClient() { table_.pfnXcvClosePort(xcv_); }
    XcvClient(const XcvClient&) = delete;
    XcvClient& operator=(const XcvClient&) = delete;

    // A port without relocation, in the order of the AddPort string.
    DWORD AddPort(const std::wstring& name, DWORD protocol, const std::wstring& address) {
        std::wstring text = name + L"," + std::to_wstring(protocol) + L"," + address + L"," + name +
                            L",NONE,NONE,NONE,1,0,0,0,";
        return Run(L"AddPort", text);
    }
    // From a text of key=value pairs.
    DWORD AddSilently(std::string text) {
        return Call(L"SilentAddPort", reinterpret_cast<PBYTE>(text.data()),
                    static_cast<DWORD>(text.size() + 1), nullptr, 0);
    }
    DWORD DeletePort(std::wstring name) { return Run(L"DeletePort", name); }
    DWORD PortExists(std::wstring name) { return Run(L"PortExists", name); }
    bool IsKspPort(std::wstring name) {
        BOOL known = FALSE;
        Run(L"IsKspPort", name, &known, sizeof(known));
        return known != FALSE;
    }
    DWORD GetPortConfig(std::wstring name, Record& record) {
        return Run(L"GetPortConfig", name, record.data(), kRecordSize);
    }
    DWORD ConfigurePort(Record record) {
        return Call(L"ConfigurePort", record.data(), kRecordSize, nullptr, 0);
    }

    // Texts of a record: the name and the address are its first two, 1024 code units each.
    static std::wstring NameIn(const Record& record) { return TextAt(record, 0); }
    static std::wstring AddressIn(const Record& record) { return TextAt(record, 2048); }

    static DWORD ProtocolIn(const Record& record) {
        DWORD protocol = 0;
        std::memcpy(&protocol, record.data() + 6144, sizeof(protocol));
        return protocol;
    }
    static void SetProtocol(Record& record, DWORD protocol) {
        std::memcpy(record.data() + 6144, &protocol, sizeof(protocol));
    }
    static void SetAddress(Record& record, const std::wstring& address) {
        std::memset(record.data() + 2048, 0, 2048);
        std::memcpy(record.data() + 2048, address.data(), address.size() * sizeof(wchar_t));
    }

  private:
    static std::wstring TextAt(const Record& record, size_t offset) {
        wchar_t text[1024];
        std::memcpy(text, record.data() + offset, sizeof(text));
        text[1023] = L'\0';
        return text;
    }
    DWORD Run(const wchar_t* command, std::wstring& input, void* output = nullptr, DWORD size = 0) {
        return Call(command, reinterpret_cast<PBYTE>(input.data()),
                    static_cast<DWORD>((input.size() + 1) * sizeof(wchar_t)), output, size);
    }
    DWORD Call(const wchar_t* command, PBYTE input, DWORD input_size, void* output, DWORD size) {
        DWORD needed = 0;
        return table_.pfnXcvDataPort(xcv_, command, input, input_size, static_cast<PBYTE>(output),
                                     size, &needed);
    }

    const MONITOR2& table_;
    HANDLE xcv_ = nullptr;
};

}  // namespace ksp::test
