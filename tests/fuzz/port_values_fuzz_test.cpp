// What somebody wrote into the registry: values of any type and size, under the names that the monitor
// reads.

#include <algorithm>
#include <array>

#include "ports/xcv_port_info.h"
#include "tests/fuzz/fuzz_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::UnorderedElementsAreArray;

// Three ports, whose names are the last three that a tape can name.
constexpr std::array<const wchar_t*, 14> kPortValues = {
    L"ProtocolID",      L"PrinterAddress", L"QueueName",     L"PrinterAddressType", L"IpAddress",
    L"SubnetMask",      L"MacAddress",     L"ProxyServer",   L"ProxyPort",          L"SecureUserMode",
    L"SecureRawPortNo", L"CheckPortNo",    L"UserIdentityName", L"Unknown"};
constexpr std::uint8_t kPorts = 3;
constexpr std::uint8_t kKeyName = 0xFF;  // names a further port

constexpr std::array<const wchar_t*, 14> kSettings = {
    L"LogLevel",      L"LogFileIndex",  L"MaxLogSize",      L"MaxLogFiles",
    L"LogDirectory",  L"LogFileName",   L"LPRDirectory",    L"ExeDirectory",
    L"MaxFileSize",   L"SubnetSegment", L"MultiCastTTL",    L"WaitServerReplyTimeout",
    L"subnet0",       L"subnet1"};
constexpr std::uint8_t kFirstDirectory = 4;
constexpr std::uint8_t kLastDirectory = 6;
constexpr std::uint8_t kWait = 11;
constexpr std::uint8_t kFirstSubnet = 12;

std::string DwordBytes(std::uint32_t number) {
    std::string bytes;
    for (int place = 0; place < 4; ++place) {
        bytes += static_cast<char>(number >> 8 * place & 0xFF);
    }
    return bytes;
}

// A value of the wrong type or size now and then.
void AppendMutated(Random& random, std::string& tape, std::uint8_t name, DWORD type,
                   const std::string& data) {
    const DWORD tape_type = random.OneIn(8) ? static_cast<DWORD>(random.Below(12)) : type;
    AppendToTape(tape, name, tape_type, random.OneIn(3) ? MutatedBytes(random, data) : data);
}

class RegistryFuzz : public FuzzTest {
  protected:
    static bool IsNumber(DWORD type, const std::vector<BYTE>& data) {
        return type == REG_DWORD && data.size() == sizeof(DWORD);
    }

    static bool IsText(const host::RegistryValue& value) {
        return value.type == REG_SZ && value.data.size() >= sizeof(wchar_t) &&
               (value.data[0] != 0 || value.data[1] != 0);
    }

    void TryPortValues(const std::string& tape) {
        ForgetCalls();
        store().RemoveKey(root(), L"Ports");
        store().MakeKey(root(), L"Ports");
        for (const TapedValue& value : ReadTape(tape)) {
            if (value.name == kKeyName) {
                MakePort(WideText({reinterpret_cast<const char*>(value.data.data()), value.data.size()}));
                continue;
            }
            const std::wstring port = L"Port" + std::to_wstring(value.name % kPorts);
            store().SetBytes(root(), PortPath(port), kPortValues[value.name / kPorts % kPortValues.size()],
                             value.type, value.data);
        }
        const std::vector<std::wstring> expected = LoadablePorts();
        ASSERT_TRUE(Start());
        EXPECT_THAT(PortNames(), UnorderedElementsAreArray(expected));
        for (const std::wstring& port : expected) {
            const Reply reply = Call(L"GetPortConfig", WideBytes(port + L'\0'), sizeof(XcvPortInfo));
            EXPECT_TRUE(reply.code == ERROR_SUCCESS || reply.code == ERROR_INVALID_DATA) << reply.code;
        }
        Unload();
        ASSERT_EQ(store().OpenKeyCount(), 0U);
    }

    void TrySettings(const std::string& tape, const std::wstring& address) {
        ForgetCalls();
        UseMonitor(1);
        UseLog();
        // A search ends when the printer is found.
        SetSetting(L"WaitPrinterValueTimeout", 60);
        for (TapedValue& value : ReadTape(tape)) {
            value.name = static_cast<std::uint8_t>(value.name % kSettings.size());
            if (value.name >= kFirstDirectory && value.name <= kLastDirectory) {
                KeepInside(value);
            }
            if (value.name == kWait && IsNumber(value.type, value.data)) {
                value.data = {1, 0, 0, 0};  // a longer wait is a longer wait
            }
            const std::wstring key =
                value.name >= kFirstSubnet ? software_key() + L"\\subnet" : software_key();
            store().SetBytes(HKEY_LOCAL_MACHINE, key, kSettings[value.name], value.type, value.data);
        }
        AddPortKey({.name = L"Port",
                    .PrinterAddress = L"127.0.0.1",
                    .PrinterAddressType = 4,
                    .IpAddress = L"127.9.9.9",
                    .MacAddress = kMac});
        // Without its directory the monitor refuses to start; with another one it has no library to
        // follow its printers with.
        const auto exe_directory = store().GetValue(HKEY_LOCAL_MACHINE, software_key(), L"ExeDirectory");
        if (!IsText(*exe_directory)) {
            EXPECT_TRUE(StartExpectingFailure());
            Unload();
            return;
        }
        ASSERT_TRUE(Start());
        const std::vector<uint8_t> data = {'d', 'a', 't', 'a'};
        const host::JobOutcome outcome = Print(QueueJob(L"Port"), data, {.max_refusals = 1});
        EXPECT_THAT(PortNames(), ::testing::ElementsAre(L"Port"));
        Unload();
        ASSERT_EQ(store().OpenKeyCount(), 0U);
        EXPECT_EQ(store().GetText(root(), PortPath(L"Port"), L"MacAddress"), kMac);
        if (store().GetText(HKEY_LOCAL_MACHINE, software_key(), L"ExeDirectory") ==
            DiscoveryControl::FullDirectory()) {
            EXPECT_EQ(store().GetText(root(), PortPath(L"Port"), L"IpAddress"), address);
            EXPECT_TRUE(outcome.printed());
        }
    }

  private:
    void MakePort(std::wstring name) {
        constexpr size_t kLongest = 255;
        name = name.substr(0, std::min(name.find(L'\0'), kLongest));
        std::replace(name.begin(), name.end(), L'\\', L'/');
        if (!name.empty()) {
            store().MakeKey(root(), PortPath(name));
            store().SetDword(root(), PortPath(name), L"ProtocolID", 2);
        }
    }
    // A port whose transport is missing or no number is an LPR port; one of an unknown transport is
    // none.
    std::vector<std::wstring> LoadablePorts() {
        std::vector<std::wstring> ports = store().SubkeyNames(root(), L"Ports");
        std::erase_if(ports, [this](const std::wstring& port) {
            const auto value = store().GetValue(root(), PortPath(port), L"ProtocolID");
            return value && IsNumber(value->type, value->data) &&
                   store().GetDword(root(), PortPath(port), L"ProtocolID").value_or(0) > 2;
        });
        return ports;
    }
    // Files are only written below the test's own directory, whatever their names.
    void KeepInside(TapedValue& value) {
        std::wstring text = WideText({reinterpret_cast<const char*>(value.data.data()), value.data.size()});
        for (const wchar_t* leaving : {L"..", L":"}) {
            for (auto at = text.find(leaving); at != std::wstring::npos; at = text.find(leaving)) {
                text[at] = L'_';
            }
        }
        const bool is_file = value.name == kFirstDirectory + 1;
        const std::string bytes = WideBytes(is_file ? text : directory() + L"\\" + text);
        value.data.assign(bytes.begin(), bytes.end());
    }
};

std::string PortValuesTape(Random& random) {
    std::string tape;
    for (std::size_t count = 1 + random.Below(12); count > 0; --count) {
        const auto name = static_cast<std::uint8_t>(random.Below(kPortValues.size() * kPorts));
        const std::wstring value = kPortValues[name / kPorts];
        if (random.OneIn(8)) {
            AppendToTape(tape, kKeyName, REG_NONE, MutatedText(random, L"Another Port", PortWords()));
        } else if (random.OneIn(2)) {
            AppendMutated(random, tape, name, REG_SZ,
                          MutatedText(random, random.OneIn(2) ? L"127.0.0.1" : MacForm(random), PortWords()));
        } else {
            AppendMutated(random, tape, name, REG_DWORD, DwordBytes(static_cast<DWORD>(random.Below(6))));
        }
    }
    return tape;
}

TEST_F(RegistryFuzz, PortValues) {
    Fuzz(Generator::kPortValues, 40, PortValuesTape,
         [this](const std::string& input) { TryPortValues(input); });
}

std::string SettingsTape(Random& random) {
    std::string tape;
    for (std::size_t count = 1 + random.Below(6); count > 0; --count) {
        const auto name = static_cast<std::uint8_t>(random.Below(kSettings.size()));
        const bool is_text = (name >= kFirstDirectory && name <= kFirstDirectory + 3) || name >= kFirstSubnet;
        if (is_text) {
            AppendMutated(random, tape, name, REG_SZ,
                          MutatedText(random, name >= kFirstSubnet ? L"127.0.0.0;255.0.0.0" : L"log.txt",
                                      {L".", L";", L"/", L"\"", L"<", L"&"}));
        } else {
            const auto number = static_cast<std::uint32_t>(random.OneIn(2) ? random.Below(8) : random.Next());
            AppendMutated(random, tape, name, REG_DWORD, DwordBytes(number));
        }
    }
    return tape;
}

TEST_F(RegistryFuzz, Settings) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    discovery_.AddDevice({.address = printer.address(), .mac = kNarrowMac});
    Fuzz(Generator::kSettings, 12, SettingsTape, [&](const std::string& input) {
        TrySettings(input, printer.wide_address());
    });
    Unload();
}

}  // namespace
}  // namespace ksp::test
