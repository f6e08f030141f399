// What somebody wrote into the registry as ports: values of any type and size, under the names that
// the monitor reads, and keys of any name.

#include <algorithm>
#include <array>
#include <optional>

#include "ports/xcv_port_info.h"
#include "tests/fuzz/fuzz_test.h"
#include "tests/fuzz/port_values.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/standins/loopback_printer.h"
#include "tools/host/registry_text.h"

namespace ksp::test {
namespace {

using ::testing::UnorderedElementsAreArray;

// The values of three ports.
constexpr std::array<const wchar_t*, 14> kPortValues = {
    L"ProtocolID",       L"PrinterAddress", L"QueueName",       L"PrinterAddressType",
    L"IpAddress",        L"SubnetMask",     L"MacAddress",      L"ProxyServer",
    L"ProxyPort",        L"SecureUserMode", L"SecureRawPortNo", L"CheckPortNo",
    L"UserIdentityName", L"Unknown"};
constexpr std::uint8_t kPorts = 3;
constexpr std::uint8_t kKeyName = 0xFF;  // names a further port

constexpr DWORD kRaw = 2;
constexpr DWORD kTracked = 4;
constexpr WORD kSecureRawPort = 9200;
constexpr WORD kCheckPort = 9101;

// The ordinary monitor (1) and the ID-print monitor (2).
class PortValuesFuzz : public FuzzTest, public ::testing::WithParamInterface<DWORD> {
  protected:
    void SetUp() override {
        FuzzTest::SetUp();
        UseMonitor(GetParam());
        SetSetting(L"LPRDirectory", directory());
        SetSetting(L"WaitServerReplyTimeout", 1);
        const WORD port = GetParam() == 2 ? kSecureRawPort : standins::LoopbackPrinter::kRawPort;
        printer_.emplace(standins::PrinterBehavior{}, standins::Endpoint{"", port});
        ASSERT_TRUE(printer_->ready());
        service_.emplace(Ready(), standins::Endpoint{printer_->address(), kCheckPort});
        ASSERT_TRUE(service_->ready());
        discovery_.AddDevice({.address = printer_->address(), .mac = kNarrowMac});
    }
    void TearDown() override {
        Unload();
        service_.reset();
        printer_.reset();
        FuzzTest::TearDown();
    }

    void TryPortValues(const std::string& tape) {
        ForgetCalls();
        store().RemoveKey(root(), L"Ports");
        store().MakeKey(root(), L"Ports");
        for (const TapedValue& value : ReadTape(tape)) {
            if (value.name == kKeyName) {
                MakePort(WideText(
                    {reinterpret_cast<const char*>(value.data.data()), value.data.size()}));
                continue;
            }
            const std::wstring port = L"Port" + std::to_wstring(value.name % kPorts);
            store().SetBytes(root(), PortPath(port),
                             kPortValues[value.name / kPorts % kPortValues.size()], value.type,
                             value.data);
        }
        std::vector<PortValues> ports;
        for (const std::wstring& name : store().SubkeyNames(root(), L"Ports")) {
            KeepOnLoopback(name);
            ports.push_back(ReadPort(name));
        }
        std::vector<std::wstring> expected;
        for (const PortValues& port : ports) {
            if (port.ProtocolID <= kRaw) {
                expected.push_back(port.PortName);
            }
        }
        ASSERT_TRUE(Start());
        EXPECT_THAT(PortNames(), UnorderedElementsAreArray(expected));
        for (const std::wstring& name : expected) {
            ExpectRecord(ports, name);
        }
        if (!expected.empty()) {
            TryJob(ports, expected[tape.size() % expected.size()]);
        }
        Unload();
        ASSERT_EQ(store().OpenKeyCount(), 0U);
    }

  private:
    void MakePort(std::wstring name) {
        constexpr size_t kLongest = 255;
        name = name.substr(0, std::min(name.find(L'\0'), kLongest));
        std::replace(name.begin(), name.end(), L'\\', L'/');
        if (!name.empty()) {
            store().MakeKey(root(), PortPath(name));
            store().SetDword(root(), PortPath(name), L"ProtocolID", kRaw);
        }
    }
    DWORD Number(const std::wstring& port, const wchar_t* name) {
        return store().GetDword(root(), PortPath(port), name).value_or(0);
    }
    std::wstring Text(const std::wstring& port, const wchar_t* name) {
        const auto value = store().GetValue(root(), PortPath(port), name);
        if (!value || value->type != REG_SZ) {
            return L"";
        }
        const std::wstring text = host::TextOf(value->data);
        return text.substr(0, text.find(L'\0'));
    }
    // No job leaves the machine, and no name is looked up on the network.
    void KeepOnLoopback(const std::wstring& port) {
        if (!IsLoopbackAddress(Text(port, L"PrinterAddress"))) {
            store().SetText(root(), PortPath(port), L"PrinterAddress", printer_->wide_address());
        }
    }
    PortValues ReadPort(const std::wstring& name) {
        return {.PortName = name,
                .PrinterAddress = Text(name, L"PrinterAddress"),
                .QueueName = Text(name, L"QueueName"),
                .ProtocolID = Number(name, L"ProtocolID"),
                .PrinterAddressType = Number(name, L"PrinterAddressType"),
                .IpAddress = Text(name, L"IpAddress"),
                .SubnetMask = Text(name, L"SubnetMask"),
                .MacAddress = Text(name, L"MacAddress"),
                .ProxyServer = Text(name, L"ProxyServer"),
                .ProxyPort = Number(name, L"ProxyPort"),
                .SecureUserMode = Number(name, L"SecureUserMode"),
                .SecureRawPortNo = Number(name, L"SecureRawPortNo"),
                .CheckPortNo = Number(name, L"CheckPortNo"),
                .UserIdentityName = Text(name, L"UserIdentityName")};
    }
    // The first port that is tracked answers for all behind it.
    void ExpectRecord(const std::vector<PortValues>& ports, const std::wstring& name) {
        const auto answers =
            std::find_if(ports.begin(), ports.end(), [&name](const PortValues& port) {
                return port.PortName == name || port.PrinterAddressType == kTracked;
            });
        const std::optional<XcvPortInfo> expected = InRecord(*answers, GetParam());
        const Reply reply = Call(L"GetPortConfig", WideBytes(name + L'\0'), sizeof(XcvPortInfo));
        ASSERT_EQ(reply.code, SuccessIf(expected.has_value()));
        EXPECT_TRUE(!expected ||
                    reply.output ==
                        std::string(reinterpret_cast<const char*>(&*expected), sizeof(*expected)))
            << "another record";
    }
    void TryJob(const std::vector<PortValues>& ports, const std::wstring& name) {
        const auto port = std::find_if(
            ports.begin(), ports.end(),
            [&name](const PortValues& candidate) { return candidate.PortName == name; });
        // A line printer daemon that nobody runs is waited for as long as the job is there.
        if (port->ProtocolID != kRaw) {
            spooler().SetHook(WinspoolGetJob, [this] {
                spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_DELETED);
            });
        }
        const std::size_t before = printer_->received().size();
        const std::vector<uint8_t> data = {'d', 'a', 't', 'a'};
        const host::JobOutcome outcome = Print(QueueJob(name), data, {.max_refusals = 1});
        spooler().SetHook(WinspoolGetJob, {});
        if (port->ProtocolID != kRaw) {
            return;
        }
        outcomes_.Count(outcome.printed());
        // Alone and not to be searched for, a port prints exactly where its values say.
        const bool is_ready = GetParam() != 2 || (port->SecureRawPortNo == kSecureRawPort &&
                                                  port->CheckPortNo == kCheckPort);
        if (ports.size() == 1 && port->PrinterAddressType != kTracked &&
            port->PrinterAddress == printer_->wide_address() && is_ready) {
            EXPECT_TRUE(outcome.printed());
            EXPECT_TRUE(printer_->WaitForBytes(before + data.size()));
        }
    }

    std::optional<standins::LoopbackPrinter> printer_;
    std::optional<ConfirmationService> service_;
};
INSTANTIATE_TEST_SUITE_P(Monitor, PortValuesFuzz, ::testing::Values(1, 2));

// The tape's number of a value of the first port, or of another one.
std::uint8_t NameNumber(std::size_t value, std::size_t port) {
    return static_cast<std::uint8_t>(value * kPorts + port);
}

std::string PortValuesTape(Random& random) {
    constexpr DWORD kNumbers[] = {0,      1,       2,         3, 4, 5, kCheckPort, kSecureRawPort,
                                  0xFFFF, 0x10000, 0xFFFFFFFF};
    std::string tape;
    const bool has_whole_port = random.OneIn(2);
    if (has_whole_port) {
        AppendToTape(tape, NameNumber(0, 0), REG_DWORD, DwordBytes(kRaw));
        if (random.OneIn(2)) {
            AppendMutated(random, tape, NameNumber(1, 0), REG_SZ, WideBytes(L"127.0.0.1"));
        }
        AppendToTape(tape, NameNumber(6, 0), REG_SZ, WideBytes(MacForm(random)));
        AppendToTape(tape, NameNumber(10, 0), REG_DWORD, DwordBytes(kSecureRawPort));
        AppendToTape(tape, NameNumber(11, 0), REG_DWORD, DwordBytes(kCheckPort));
    }
    const std::size_t ports = has_whole_port && random.OneIn(2) ? 1 : kPorts;
    for (std::size_t count = 1 + random.Below(ports == 1 ? 4 : 12); count > 0; --count) {
        const std::uint8_t name = NameNumber(random.Below(kPortValues.size()), random.Below(ports));
        if (ports > 1 && random.OneIn(8)) {
            AppendToTape(tape, kKeyName, REG_NONE,
                         MutatedText(random, L"Another Port", PortWords()));
        } else if (random.OneIn(2)) {
            AppendMutated(
                random, tape, name, REG_SZ,
                MutatedText(random, random.OneIn(2) ? L"127.0.0.1" : MacForm(random), PortWords()));
        } else {
            AppendMutated(random, tape, name, REG_DWORD, DwordBytes(random.Of(kNumbers)));
        }
    }
    return tape;
}

TEST_P(PortValuesFuzz, LoadsAndPrints) {
    Fuzz(Generator::kPortValues, 40, PortValuesTape,
         [this](const std::string& input) { TryPortValues(input); });
}

}  // namespace
}  // namespace ksp::test
