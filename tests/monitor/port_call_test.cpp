#include "tests/monitor/port_call_test.h"

#include <algorithm>

namespace ksp::test {

Bytes Document(size_t size, unsigned seed) {
    Bytes bytes(size);
    std::uint32_t state = 0x9E3779B9U * (seed + 1);
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

::testing::AssertionResult SameBytes(const Bytes& sent, const Bytes& received) {
    const auto [left, right] =
        std::mismatch(sent.begin(), sent.end(), received.begin(), received.end());
    if (left == sent.end() && right == received.end())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << sent.size() << " bytes sent, " << received.size()
           << " received, the first difference at " << left - sent.begin();
}

std::vector<std::string> Describe(const std::vector<WinspoolCall>& calls) {
    std::vector<std::string> lines;
    for (const WinspoolCall& call : calls) {
        const bool learns_size = !call.result && call.error == ERROR_INSUFFICIENT_BUFFER;
        if (!learns_size)
            lines.push_back(DescribeCall(call));
    }
    return lines;
}

void PortCallTest::AddRawPort(const std::wstring& name, const std::wstring& address) {
    AddPortKey({.name = name, .PrinterAddress = address, .IpAddress = address});
}

HANDLE PortCallTest::Open(std::wstring name) {
    HANDLE port = nullptr;
    return table().pfnOpenPort(monitor(), name.data(), &port) ? port : nullptr;
}

CallResult PortCallTest::StartDoc(HANDLE port, std::wstring printer, DWORD job_id) {
    std::wstring document = L"Document";
    DOC_INFO_1W info = {};
    info.pDocName = document.data();
    SetLastError(kUntouched);
    CallResult result;
    result.result = table().pfnStartDocPort(port, printer.data(), job_id, 1,
                                            reinterpret_cast<LPBYTE>(&info)) != FALSE;
    result.error = GetLastError();
    return result;
}

WriteResult PortCallTest::Write(HANDLE port, const Bytes& data) {
    Bytes copy = data;
    WriteResult result;
    result.written = kUnwritten;
    result.result = table().pfnWritePort(port, copy.data(), static_cast<DWORD>(copy.size()),
                                         &result.written) != FALSE;
    EXPECT_EQ(copy, data) << "the spooler's buffer was changed";
    return result;
}

bool PortCallTest::WriteAll(HANDLE port, const Bytes& data, size_t chunk) {
    constexpr int kMostRefusals = 20;
    int refusals = 0;
    for (size_t position = 0; position < data.size();) {
        const size_t offered = std::min(chunk, data.size() - position);
        const auto first = data.begin() + static_cast<ptrdiff_t>(position);
        const WriteResult write =
            Write(port, Bytes(first, first + static_cast<ptrdiff_t>(offered)));
        if (!write.result && ++refusals == kMostRefusals)
            return false;
        if (write.result) {
            refusals = 0;
            position += write.written;
        }
    }
    return true;
}

DWORD PortCallTest::DeletePort(std::wstring name) {
    HANDLE xcv = nullptr;
    EXPECT_TRUE(table().pfnXcvOpenPort(monitor(), nullptr, SERVER_ACCESS_ADMINISTER, &xcv));
    DWORD needed = 0;
    const DWORD code = table().pfnXcvDataPort(
        xcv, L"DeletePort", reinterpret_cast<PBYTE>(name.data()),
        static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)), nullptr, 0, &needed);
    EXPECT_TRUE(table().pfnXcvClosePort(xcv));
    return code;
}

std::vector<std::string> PortCallTest::NewCalls() {
    std::vector<std::string> calls = Describe(spooler().Calls());
    spooler().ClearCalls();
    return calls;
}

}  // namespace ksp::test
