// What somebody wrote into the registry as settings: values of any type and size, under the names
// that the monitor reads.

#include <algorithm>
#include <array>
#include <utility>

#include "discovery/utf8.h"
#include "tests/fuzz/fuzz_test.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

// The software key depends on the monitor's type, the monitor's root on the registry.
enum class Key { kRoot, kSoftware, kSubnet, kSpool, kNotifier };
enum class Kind { kNumber, kText, kDirectory, kFile, kSubnet, kProgram, kByte };

struct Setting {
    Key key;
    Kind kind;
    const wchar_t* name;
};

constexpr std::array kSettings = {
    Setting{Key::kRoot, Kind::kNumber, L"KSPRINT_SECURE"},
    Setting{Key::kSoftware, Kind::kNumber, L"LogLevel"},
    Setting{Key::kSoftware, Kind::kNumber, L"LogFileIndex"},
    Setting{Key::kSoftware, Kind::kNumber, L"MaxLogSize"},
    Setting{Key::kSoftware, Kind::kNumber, L"MaxLogFiles"},
    Setting{Key::kSoftware, Kind::kDirectory, L"LogDirectory"},
    Setting{Key::kSoftware, Kind::kFile, L"LogFileName"},
    Setting{Key::kSoftware, Kind::kDirectory, L"LPRDirectory"},
    Setting{Key::kSoftware, Kind::kText, L"ExeDirectory"},
    Setting{Key::kSoftware, Kind::kByte, L"LocalSegment"},
    Setting{Key::kSoftware, Kind::kNumber, L"MaxFileSize"},
    Setting{Key::kSoftware, Kind::kNumber, L"SubnetSegment"},
    Setting{Key::kSoftware, Kind::kNumber, L"MultiCastTTL"},
    Setting{Key::kSoftware, Kind::kNumber, L"WaitServerReplyTimeout"},
    Setting{Key::kSoftware, Kind::kNumber, L"WaitPrinterValueTimeout"},
    Setting{Key::kSoftware, Kind::kNumber, L"WaitStatusReplyTimeout"},
    Setting{Key::kSubnet, Kind::kSubnet, L"subnet0"},
    Setting{Key::kSubnet, Kind::kSubnet, L"subnet1"},
    Setting{Key::kSpool, Kind::kDirectory, L"DefaultSpoolDirectory"},
    Setting{Key::kNotifier, Kind::kProgram, L"NAME"},
};

constexpr DWORD kIdPrint = 2;
constexpr WORD kCheckPort = 9101;

// A setting of the number that a tape gives, and where it stands in the registry.
const Setting& SettingOf(const TapedValue& value) {
    return kSettings[value.name % kSettings.size()];
}

class SettingsFuzz : public FuzzTest {
  protected:
    void TrySettings(const std::string& tape, const std::wstring& address) {
        ForgetCalls();
        std::vector<TapedValue> values = ReadTape(tape);
        MakeWorld(values);
        for (TapedValue& value : values) {
            const Setting& setting = SettingOf(value);
            if (setting.kind == Kind::kDirectory || setting.kind == Kind::kFile) {
                KeepInside(value, setting.kind);
            }
            // A longer wait for a reply is a longer wait; a search ends when the printer is found.
            if (IsNumber(value.type, value.data) &&
                setting.name == std::wstring(L"WaitServerReplyTimeout")) {
                value.data = {1, 0, 0, 0};
            }
            if (IsNumber(value.type, value.data) &&
                setting.name == std::wstring(L"WaitPrinterValueTimeout")) {
                value.data[0] |= 0x40;
            }
            const auto [root_key, path] = PlaceOf(setting.key);
            store().SetBytes(root_key, path, setting.name, value.type, value.data);
        }
        // Without its type or its directory the monitor refuses to start; with another directory it
        // has no library to follow its printers with.
        const DWORD type = store().GetDword(root(), L"", L"KSPRINT_SECURE").value_or(0);
        const bool starts =
            (type == 1 || type == kIdPrint) && IsText(Key::kSoftware, L"ExeDirectory");
        outcomes_.Count(starts);
        if (!starts) {
            EXPECT_TRUE(StartExpectingFailure());
            Unload();
            return;
        }
        ASSERT_TRUE(Start());
        const std::vector<uint8_t> data = {'d', 'a', 't', 'a'};
        const host::JobOutcome outcome = Print(QueueJob(L"Port"), data, {.max_refusals = 1});
        PrintOverLpr(data);
        EXPECT_THAT(PortNames(), ::testing::UnorderedElementsAre(L"Lpr", L"Port"));
        Unload();
        ASSERT_EQ(store().OpenKeyCount(), 0U);
        EXPECT_EQ(store().GetText(root(), PortPath(L"Port"), L"MacAddress"), kMac);
        if (IsSearchable() &&
            store().GetText(HKEY_LOCAL_MACHINE, software_key(), L"ExeDirectory") ==
                DiscoveryControl::FullDirectory()) {
            EXPECT_EQ(store().GetText(root(), PortPath(L"Port"), L"IpAddress"), address);
            EXPECT_TRUE(outcome.printed());
        }
    }

  private:
    // A network whose text cannot be told to the discovery library ends the search, with a line.
    bool IsSearchable() {
        const auto [root_key, path] = PlaceOf(Key::kSubnet);
        for (const wchar_t* name : {L"subnet0", L"subnet1"}) {
            if (!ToUtf8(store().GetText(root_key, path, name).value_or(L""))) {
                return false;
            }
        }
        return true;
    }
    static bool IsNumber(DWORD type, const std::vector<BYTE>& data) {
        return type == REG_DWORD && data.size() == sizeof(DWORD);
    }
    bool IsText(Key key, const wchar_t* name) {
        const auto [root_key, path] = PlaceOf(key);
        const auto value = store().GetValue(root_key, path, name);
        return value && value->type == REG_SZ && value->data.size() >= sizeof(wchar_t) &&
               (value->data[0] != 0 || value->data[1] != 0);
    }
    std::pair<HANDLE, std::wstring> PlaceOf(Key key) {
        switch (key) {
            case Key::kRoot:
                return {root(), L""};
            case Key::kSoftware:
                return {HKEY_LOCAL_MACHINE, software_key()};
            case Key::kSubnet:
                return {HKEY_LOCAL_MACHINE, software_key() + L"\\subnet"};
            case Key::kSpool:
                return {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers"};
            case Key::kNotifier:
                break;
        }
        return {HKEY_LOCAL_MACHINE, L"SOFTWARE\\TAVRIN\\PNOTIFY"};
    }
    // Everything as it should be: the settings of the type that the values choose, a port whose
    // printer has moved, and one over LPR.
    void MakeWorld(const std::vector<TapedValue>& values) {
        DWORD type = 1;
        for (const TapedValue& value : values) {
            if (SettingOf(value).key == Key::kRoot) {
                type =
                    IsNumber(value.type, value.data) && value.data == std::vector<BYTE>{2, 0, 0, 0}
                        ? 2
                        : 1;
            }
        }
        for (const Key key : {Key::kSpool, Key::kNotifier}) {
            store().RemoveKey(PlaceOf(key).first, PlaceOf(key).second);
        }
        UseMonitor(type);
        UseLog();
        SetSetting(L"WaitPrinterValueTimeout", 60);
        store().SetText(HKEY_LOCAL_MACHINE, PlaceOf(Key::kSpool).second, L"DefaultSpoolDirectory",
                        directory());
        AddPortKey({.name = L"Port",
                    .PrinterAddress = L"127.0.0.1",
                    .PrinterAddressType = 4,
                    .IpAddress = L"127.9.9.9",
                    .MacAddress = kMac});
        store().SetDword(root(), PortPath(L"Port"), L"SecureRawPortNo",
                         standins::LoopbackPrinter::kRawPort);
        store().SetDword(root(), PortPath(L"Port"), L"CheckPortNo", kCheckPort);
        AddPortKey({.name = L"Lpr", .PrinterAddress = L"127.9.9.8", .ProtocolID = 0});
    }
    // To nobody: for the spool file's directory. A job that could not be sent is deleted.
    void PrintOverLpr(const std::vector<uint8_t>& data) {
        if (!IsText(Key::kSoftware, L"LPRDirectory") &&
            !IsText(Key::kSpool, L"DefaultSpoolDirectory")) {
            return;  // the spool file would lie in the current directory
        }
        spooler().SetHook(WinspoolGetJob,
                          [this] { spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_DELETED); });
        static_cast<void>(Print(QueueJob(L"Lpr"), data, {.max_refusals = 1}));
        spooler().SetHook(WinspoolGetJob, {});
    }
    // Files are only written below the test's own directory, whatever their names.
    void KeepInside(TapedValue& value, Kind kind) {
        std::wstring text =
            WideText({reinterpret_cast<const char*>(value.data.data()), value.data.size()});
        for (const wchar_t* leaving : {L"..", L":"}) {
            for (auto at = text.find(leaving); at != std::wstring::npos; at = text.find(leaving)) {
                text[at] = L'_';
            }
        }
        const std::string bytes =
            WideBytes(kind == Kind::kFile ? text : directory() + L"\\" + text);
        value.data.assign(bytes.begin(), bytes.end());
    }
};

std::string SettingsTape(Random& random) {
    std::string tape;
    for (std::size_t count = 1 + random.Below(6); count > 0; --count) {
        const std::size_t index = random.Below(kSettings.size());
        const auto name = static_cast<std::uint8_t>(index);
        const auto append_text = [&](const wchar_t* form) {
            AppendMutated(
                random, tape, name, REG_SZ,
                MutatedText(random, form, {L".", L";", L"/", L"\"", L"<", L"&", L"%s", L" "}));
        };
        switch (kSettings[index].kind) {
            case Kind::kNumber:
                AppendMutated(random, tape, name, REG_DWORD,
                              DwordBytes(static_cast<std::uint32_t>(
                                  random.OneIn(2) ? random.Below(4) : random.Next())));
                break;
            case Kind::kByte:
                AppendMutated(random, tape, name, REG_BINARY,
                              std::string(1, static_cast<char>(random.Below(3))));
                break;
            case Kind::kSubnet:
                append_text(L"127.0.0.0;255.0.0.0");
                break;
            case Kind::kProgram:
                append_text(L"Q:\\no such directory\\no such program.exe");
                break;
            case Kind::kText:
            case Kind::kDirectory:
            case Kind::kFile:
                append_text(L"log.txt");
                break;
        }
    }
    return tape;
}

TEST_F(SettingsFuzz, FollowsItsPrinter) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    discovery_.AddDevice({.address = printer.address(), .mac = kNarrowMac});
    const ConfirmationService service(Ready(), {printer.address(), kCheckPort});
    ASSERT_TRUE(service.ready());
    Fuzz(Generator::kSettings, 16, SettingsTape,
         [&](const std::string& input) { TrySettings(input, printer.wide_address()); });
    Unload();
}

}  // namespace
}  // namespace ksp::test
