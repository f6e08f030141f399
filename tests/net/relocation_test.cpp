#include "tests/net/relocation_test.h"

#include "support/text.h"

namespace ksp::test {

void RelocationTest::SetUp() {
    DiscoveryTest::SetUp();
    ASSERT_TRUE(sockets_.StartupSockets());
}

void RelocationTest::AddPort(const std::wstring& port, DWORD type,
                             const std::wstring& printer_address, const std::wstring& ip_address,
                             const std::wstring& mac) {
    const std::wstring path = L"Ports\\" + port;
    memory_.SetDword(memory_.Root(), path, L"ProtocolID", 2);
    memory_.SetDword(memory_.Root(), path, L"PrinterAddressType", type);
    memory_.SetText(memory_.Root(), path, L"PrinterAddress", printer_address);
    memory_.SetText(memory_.Root(), path, L"IpAddress", ip_address);
    memory_.SetText(memory_.Root(), path, L"MacAddress", mac);
}

std::string RelocationTest::Resolve(const std::wstring& name) {
    const std::uint32_t error = address_.getByNamePrinting(name, CSLIpAddr::kFamily);
    return error == 0 ? ToAnsi(address_.Text()) : "error " + std::to_string(error);
}

std::vector<std::string> RelocationTest::Writes() {
    std::vector<std::string> writes;
    for (const RegistryCall& call : registry_.Calls()) {
        if (call.operation == RegistryOperation::kSetValue) {
            const std::wstring port = call.key.substr(call.key.find_last_of(L'\\') + 1);
            writes.push_back(ToAnsi(port + L"\\" + call.name));
        }
    }
    registry_.ClearCalls();
    return writes;
}

std::wstring RelocationTest::Value(const std::wstring& name, const std::wstring& port) const {
    return memory_.GetText(memory_.Root(), L"Ports\\" + port, name).value_or(L"no text");
}

std::vector<std::string> RelocationTest::SearchLines() {
    std::vector<std::string> lines = NewLines();
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with("TRACE: Host name = ") ||
               line.starts_with("TRACE: Read port info : hostname = ") ||
               line.starts_with("INFO: read port. port name is ");
    });
    return lines;
}

}  // namespace ksp::test
