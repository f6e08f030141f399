#pragma once

#include <span>
#include <string>
#include <string_view>

#include "ports/monitor_type.h"
#include "ports/port_info.h"
#include "tools/kspctl/failure.h"
#include "tools/kspctl/json.h"

namespace ksp::ctl {

// How a value of a port's record can be changed.
enum class FieldChange {
    kConfigured,  // by configuring the port
    kIdPrint,     // the same, on ID-print ports; the ordinary monitor does not keep it
    kAddress,     // only by adding the port again under its name
    kFixed,       // never; `why_fixed` says why
};

// One value of a port's record, under the name that it has in the registry.
struct PortField {
    std::wstring_view name;
    std::wstring CPortInfo::*text;     // null for a number
    std::uint32_t CPortInfo::*number;  // null for a text
    FieldChange change;
    std::wstring_view meaning;
    std::wstring_view why_fixed;
};

std::span<const PortField> PortFields();
// By the exact name; null when there is none.
const PortField* FindPortField(std::wstring_view name);

// Puts a value from the command line into the record of a port of that kind of monitor, unless such
// a port cannot have it. ProtocolID and PrinterAddressType also take their words: raw, lpr, xlpr;
// address, host, url, tracked.
[[nodiscard]] Problem StoreField(const PortField& field, const std::wstring& value,
                                 MonitorType type, CPortInfo* info);
[[nodiscard]] bool IsTcpPort(std::uint32_t number);
// Whether the port's user mode (`SecureUserMode`) is the one in which an ID-print monitor prints
// nothing. The record's identity name changes nothing about it.
[[nodiscard]] bool PrintsNothing(const CPortInfo& info, MonitorType type);
[[nodiscard]] bool SameValue(const PortField& field, const CPortInfo& left, const CPortInfo& right);
// As `show` shows it: "2 (raw)".
[[nodiscard]] std::wstring ShownValue(const PortField& field, const CPortInfo& info);
// Every value as a member of the object that is open.
void WriteFields(const CPortInfo& info, JsonWriter* json);

// "raw"; the number when it has no word.
[[nodiscard]] std::wstring ProtocolWord(std::uint32_t protocol);
[[nodiscard]] Problem ParseProtocol(const std::wstring& value, std::uint32_t* protocol);
[[nodiscard]] Problem ParseAddressType(const std::wstring& value, std::uint32_t* type);
// A decimal number of up to 32 bits. `what` names it in the message.
[[nodiscard]] Problem ParseNumber(std::wstring_view what, const std::wstring& value,
                                  std::uint32_t* number);

// The TCP port that the monitor prints to with this record, as it derives it when it starts.
[[nodiscard]] std::uint32_t PrintingPort(const CPortInfo& info, MonitorType type);

}  // namespace ksp::ctl
