#include "tools/kspctl/settings_table.h"

#include <algorithm>
#include <limits>

#include "tools/kspctl/port_fields.h"

namespace ksp::ctl {
namespace {

constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kMostSeconds = 3600;
constexpr std::uint32_t kMostMegabytes = 4095;  // in bytes it still fits 32 bits
constexpr std::uint32_t kMostHops = 255;

constexpr Setting kSettings[] = {
    {L"LogLevel", SettingKind::kNumber, 1, 5, L"", L"5", true,
     L"lowest level written: 1 TRACE, 2 INFO, 3 ERROR, 4 CRITICAL, 5 nothing"},
    {L"LogDirectory", SettingKind::kText, 0, 0, L"", L"C:\\Kestrel Print", true,
     L"directory of the log; its parent must exist"},
    {L"LogFileName", SettingKind::kText, 0, 0, L"", L"log.txt", true, L"name of the log file"},
    {L"MaxLogSize", SettingKind::kNumber, 1, kMostMegabytes, L"MB", L"1", true,
     L"at this size the log becomes a backup"},
    {L"MaxLogFiles", SettingKind::kNumber, 1, kMost, L"files", L"3", true, L"backups kept"},
    {L"LogFileIndex", SettingKind::kNumber, 0, kMost, L"", L"0", false,
     L"number of the last backup; the monitor counts it"},
    {L"WaitServerReplyTimeout", SettingKind::kNumber, 1, kMostSeconds, L"seconds", L"20", true,
     L"how long a printer may take to connect, take or answer"},
    {L"WaitStatusReplyTimeout", SettingKind::kNumber, 1, kMostSeconds, L"seconds", L"20", true,
     L"how long it may take to tell its status"},
    {L"WaitPrinterValueTimeout", SettingKind::kNumber, 1, kMostSeconds, L"seconds", L"20", true,
     L"how long a search, and the question who it is, may take"},
    {L"MultiCastTTL", SettingKind::kNumber, 0, kMostHops, L"hops", L"3", true,
     L"hop limit for searches; read, and not used at present"},
    {L"LocalSegment", SettingKind::kFlag, 0, 1, L"", L"1", true,
     L"1: searches cover the local segment; kept, and not used at present"},
    {L"SubnetSegment", SettingKind::kNumber, 0, 1, L"", L"0", true,
     L"1: searches also cover the networks in the subkey \"subnet\""},
    {L"MaxFileSize", SettingKind::kNumber, 1, 0x7FFFFFFF, L"thousand bytes", L"1073741824", true,
     L"the size that XLPR announces for every job"},
    {L"LPRDirectory", SettingKind::kText, 0, 0, L"", L"the spooler's spool directory", true,
     L"where LPR jobs are spooled"},
    {L"ExeDirectory", SettingKind::kText, 0, 0, L"", L"none: the monitor does not start", true,
     L"directory of the discovery library"},
};

}  // namespace

std::span<const Setting> Settings() {
    return kSettings;
}

const Setting* FindSetting(std::wstring_view name) {
    const auto found = std::find_if(std::begin(kSettings), std::end(kSettings),
                                    [&](const Setting& setting) { return setting.name == name; });
    return found == std::end(kSettings) ? nullptr : found;
}

std::optional<std::wstring> ReadSetting(const Setting& setting, MachineRegistry& registry,
                                        const CRegistryKey& key) {
    const std::wstring name(setting.name);
    if (setting.kind == SettingKind::kText) {
        return key.ReadText(name.c_str());
    }
    if (setting.kind == SettingKind::kNumber) {
        const auto number = key.ReadDword(name.c_str());
        return number ? std::optional(std::to_wstring(*number)) : std::nullopt;
    }
    BYTE flag = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(flag);
    if (registry.access().QueryValue(key.Get(), name.c_str(), &type, &flag, &size) !=
            ERROR_SUCCESS ||
        type != REG_BINARY) {
        return std::nullopt;
    }
    return std::to_wstring(flag);
}

Problem CheckSetting(const Setting& setting, const std::wstring& value) {
    if (!setting.writable) {
        return WrongUsage(std::wstring(setting.name) + L" is written by the monitor itself");
    }
    if (setting.kind == SettingKind::kText) {
        return value.empty()
                   ? Problem(WrongUsage(std::wstring(setting.name) + L" needs a text; " +
                                        std::wstring(setting.name) + L"=default removes the value"))
                   : std::nullopt;
    }
    std::uint32_t number = 0;
    if (Problem problem = ParseNumber(setting.name, value, &number); problem) {
        return problem;
    }
    if (number < setting.least || number > setting.most) {
        return WrongUsage(std::wstring(setting.name) + L" is a number from " +
                          std::to_wstring(setting.least) + L" to " + std::to_wstring(setting.most) +
                          L", not " + Quoted(value));
    }
    return std::nullopt;
}

LONG WriteSetting(const Setting& setting, const CRegistryKey& key, const std::wstring& value) {
    const std::wstring name(setting.name);
    if (setting.kind == SettingKind::kText) {
        return key.WriteText(name.c_str(), value);
    }
    const auto number = static_cast<std::uint32_t>(std::stoul(value));
    if (setting.kind == SettingKind::kNumber) {
        return key.WriteDword(name.c_str(), number);
    }
    const auto flag = static_cast<BYTE>(number);
    return key.WriteBinary(name.c_str(), &flag, sizeof(flag));
}

LONG RemoveSetting(const Setting& setting, const CRegistryKey& key) {
    const LONG code =
        ::RegDeleteValueW(static_cast<HKEY>(key.Get()), std::wstring(setting.name).c_str());
    return code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : code;
}

}  // namespace ksp::ctl
