#include "tests/fuzz/fuzz_test.h"

#include <cstring>

#include "tests/standins/discovery/guarded_block.h"

namespace ksp::test {

FuzzTest::Reply FuzzTest::Call(const std::wstring& command, std::string_view input,
                               std::size_t output_size) {
    const standins::GuardedBlock in(input.data(), input.size());
    const standins::GuardedBlock out(std::string(output_size, '\xCC').data(), output_size);
    const standins::GuardedBlock name(command.c_str(), (command.size() + 1) * sizeof(wchar_t));
    Reply reply;
    reply.needed = 0xCCCCCCCC;
    reply.code = table().pfnXcvDataPort(
        nullptr, reinterpret_cast<LPCWSTR>(name.data()), reinterpret_cast<PBYTE>(in.data()),
        static_cast<DWORD>(input.size()), reinterpret_cast<PBYTE>(out.data()),
        static_cast<DWORD>(output_size), &reply.needed);
    reply.input.assign(in.data(), input.size());
    reply.output.assign(out.data(), output_size);
    return reply;
}

void FuzzTest::DeletePort(const std::wstring& name) {
    spooler().RemovePrinter(L"Printer");
    EXPECT_EQ(Call(L"DeletePort", WideBytes(name + L'\0')).code, DWORD{ERROR_SUCCESS});
}

std::vector<std::wstring> FuzzTest::PortNames() {
    DWORD needed = 0;
    DWORD count = 0;
    table().pfnEnumPorts(monitor(), nullptr, 2, nullptr, 0, &needed, &count);
    const standins::GuardedBlock buffer(std::string(needed, '\xCC').data(), needed);
    if (!table().pfnEnumPorts(monitor(), nullptr, 2, reinterpret_cast<LPBYTE>(buffer.data()),
                              needed, &needed, &count)) {
        ADD_FAILURE() << "EnumPorts: error " << GetLastError();
        return {};
    }
    std::vector<std::wstring> names;
    for (DWORD index = 0; index < count; ++index) {
        PORT_INFO_2W port = {};
        std::memcpy(&port, buffer.data() + index * sizeof(port), sizeof(port));
        names.emplace_back(port.pPortName);
    }
    return names;
}

void FuzzTest::SetUp() {
    MonitorDiscoveryTest::SetUp();
    UseMonitor(1);
}

void FuzzTest::UseMonitor(DWORD type) {
    constexpr DWORD kNothing = 5;
    SetMonitorType(type);
    SetSetting(L"LogLevel", kNothing);
    SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory());
    SetSetting(L"WaitPrinterValueTimeout", 1);
}

void FuzzTest::ForgetCalls() {
    discovery_.ClearCalls();
    registry().ClearCalls();
    spooler().ClearCalls();
}

void FuzzTest::ExpectNoPort() {
    EXPECT_THAT(PortNames(), ::testing::IsEmpty());
    EXPECT_THAT(store().SubkeyNames(root(), L"Ports"), ::testing::IsEmpty());
}

std::vector<TapedValue> ReadTape(std::string_view tape) {
    constexpr std::size_t kHeader = 4;
    std::vector<TapedValue> values;
    while (tape.size() >= kHeader) {
        const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(tape[at]); };
        TapedValue value{byte(0), byte(1), {}};
        const std::size_t size = static_cast<std::size_t>(byte(2) | byte(3) << 8);
        tape.remove_prefix(kHeader);
        const std::string_view data = tape.substr(0, size);
        tape.remove_prefix(data.size());
        value.data.assign(data.begin(), data.end());
        values.push_back(std::move(value));
    }
    return values;
}

void AppendToTape(std::string& tape, std::uint8_t name, DWORD type, std::string_view data) {
    data = data.substr(0, 0xFFFF);
    tape += static_cast<char>(name);
    tape += static_cast<char>(type);
    tape += static_cast<char>(data.size() & 0xFF);
    tape += static_cast<char>(data.size() >> 8);
    tape += data;
}

void AppendMutated(Random& random, std::string& tape, std::uint8_t name, DWORD type,
                   const std::string& data) {
    const DWORD tape_type = random.OneIn(8) ? static_cast<DWORD>(random.Below(12)) : type;
    AppendToTape(tape, name, tape_type, random.OneIn(3) ? MutatedBytes(random, data) : data);
}

std::string DwordBytes(std::uint32_t number) {
    std::string bytes;
    for (int place = 0; place < 4; ++place) {
        bytes += static_cast<char>(number >> 8 * place & 0xFF);
    }
    return bytes;
}

}  // namespace ksp::test
