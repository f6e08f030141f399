#include "tests/xcv/xcv_test.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "tests/standins/discovery/guarded_block.h"

namespace ksp::test {
namespace {

using standins::GuardedBlock;

BYTE* BytesAt(const GuardedBlock& block) {
    return reinterpret_cast<BYTE*>(block.data());
}

}  // namespace

Bytes Unterminated(std::wstring_view text) {
    const auto* bytes = reinterpret_cast<const BYTE*>(text.data());
    return Bytes(bytes, bytes + text.size() * sizeof(wchar_t));
}

Bytes Terminated(std::wstring_view text) {
    Bytes bytes = Unterminated(text);
    bytes.resize(bytes.size() + sizeof(wchar_t));
    return bytes;
}

Bytes Terminated(std::string_view text) {
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

std::wstring TextAt(const Bytes& bytes) {
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text.substr(0, text.find(L'\0'));
}

bool IsUntouchedFrom(const Bytes& output, size_t used) {
    return used <= output.size() &&
           std::all_of(output.begin() + static_cast<ptrdiff_t>(used), output.end(),
                       [](BYTE byte) { return byte == 0xCC; });
}

std::wstring AddPortTokens::Text() const {
    std::wstring text = first;
    for (const std::wstring* token :
         {&protocol, &address, &name, &ip_address, &subnet_mask, &mac_address, &address_type,
          &user_mode, &raw_port, &check_port, &user}) {
        text += L"," + *token;
    }
    return text;
}

DWORD XcvTest::CallRaw(const wchar_t* command, BYTE* input, DWORD input_size, BYTE* output,
                       DWORD output_size, DWORD* needed) {
    HANDLE xcv = nullptr;
    EXPECT_TRUE(table().pfnXcvOpenPort(monitor(), nullptr, SERVER_ACCESS_ADMINISTER, &xcv));
    const DWORD code =
        table().pfnXcvDataPort(xcv, command, input, input_size, output, output_size, needed);
    EXPECT_TRUE(table().pfnXcvClosePort(xcv));
    return code;
}

XcvAnswer XcvTest::Call(const std::wstring& command, const XcvInput& input,
                        std::optional<size_t> output_size) {
    const GuardedBlock name(command.c_str(), (command.size() + 1) * sizeof(wchar_t));
    const Bytes filler(output_size.value_or(0), kFiller);
    const GuardedBlock in = input ? GuardedBlock(input->data(), input->size()) : GuardedBlock();
    const GuardedBlock out =
        output_size ? GuardedBlock(filler.data(), filler.size()) : GuardedBlock();
    XcvAnswer answer{.needed = kUntouched};
    answer.code = CallRaw(reinterpret_cast<const wchar_t*>(name.data()), BytesAt(in),
                          static_cast<DWORD>(input ? input->size() : 0), BytesAt(out),
                          static_cast<DWORD>(filler.size()), &answer.needed);
    if (input) {
        answer.input.assign(BytesAt(in), BytesAt(in) + input->size());
    }
    answer.output.assign(BytesAt(out), BytesAt(out) + filler.size());
    return answer;
}

void XcvTest::ExpectUnchanged(const std::wstring& command, const XcvInput& input, DWORD code,
                              const std::vector<std::string>& lines) {
    const std::vector<std::wstring> ports = PortNames();
    const std::wstring keys = PortKeys();
    NewLines();
    const XcvAnswer answer = Call(command, input);
    EXPECT_EQ(LinesOf("Xcv " + std::string(command.begin(), command.end())), lines);
    EXPECT_EQ(answer.code, code);
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_EQ(answer.input, input.value_or(Bytes()));
    EXPECT_EQ(PortNames(), ports);
    EXPECT_EQ(PortKeys(), keys);
}

void XcvTest::AddRawPort(const std::wstring& name) {
    AddPortKey({.name = name, .PrinterAddress = L"127.0.0.1", .IpAddress = L"127.0.0.1"});
}

std::vector<std::wstring> XcvTest::PortNames() {
    DWORD needed = 0;
    DWORD count = 0;
    table().pfnEnumPorts(monitor(), nullptr, 1, nullptr, 0, &needed, &count);
    Bytes buffer(needed);
    EXPECT_TRUE(
        table().pfnEnumPorts(monitor(), nullptr, 1, buffer.data(), needed, &needed, &count));
    const auto* ports = reinterpret_cast<const PORT_INFO_1W*>(buffer.data());
    std::vector<std::wstring> names;
    for (DWORD index = 0; index < count; ++index) {
        names.emplace_back(ports[index].pName);
    }
    return names;
}

HANDLE XcvTest::StartJob(std::wstring port) {
    QueueJob(port);
    std::wstring printer = L"Printer";
    std::wstring document = L"Document";
    DOC_INFO_1W info = {};
    info.pDocName = document.data();
    HANDLE handle = nullptr;
    const bool started =
        table().pfnOpenPort(monitor(), port.data(), &handle) &&
        table().pfnStartDocPort(handle, printer.data(), 1, 1, reinterpret_cast<LPBYTE>(&info));
    return started ? handle : nullptr;
}

std::vector<std::string> XcvTest::LinesOf(const std::string& command) {
    const std::vector<std::string> beginning = {"TRACE called xcv open port",
                                                "TRACE success xcv open port",
                                                "TRACE called xcv data port", "TRACE " + command};
    std::vector<std::string> lines = NewLines();
    const auto first = lines.begin();
    if (lines.size() <= beginning.size() ||
        !std::equal(beginning.begin(), beginning.end(), first) ||
        lines.back() != "TRACE called xcv close port") {
        ADD_FAILURE() << "not the lines of one " << command << ": "
                      << ::testing::PrintToString(lines);
        return {};
    }
    lines.pop_back();
    lines.erase(first, first + static_cast<ptrdiff_t>(beginning.size()));
    return lines;
}

}  // namespace ksp::test
