#include "tests/fuzz/computing.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "channels/header_text.h"
#include "channels/lpr_commands.h"
#include "discovery/status_values.h"
#include "monitor/notifier_command.h"
#include "monitor/silent_text.h"
#include "net/mac_candidates.h"
#include "ports/port_record_forms.h"
#include "support/folded_text.h"
#include "support/log_rotation.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/snmp_computing.h"

namespace ksp::test {

namespace {

// Reads an input from its front; what is missing is zero.
class Input {
  public:
    explicit Input(std::string_view bytes) : bytes_(bytes) {}

    std::uint8_t Byte() {
        if (bytes_.empty()) {
            return 0;
        }
        const auto byte = static_cast<std::uint8_t>(bytes_.front());
        bytes_.remove_prefix(1);
        return byte;
    }
    std::uint32_t Number() {
        std::uint32_t number = 0;
        for (int place = 0; place < 4; ++place) {
            number = number << 8 | Byte();
        }
        return number;
    }
    std::wstring Text(std::size_t bytes) {
        const std::wstring text = WideText(bytes_.substr(0, bytes));
        bytes_.remove_prefix(std::min(bytes, bytes_.size()));
        return text;
    }
    std::string Bytes(std::size_t count) {
        std::string bytes(bytes_.substr(0, count));
        bytes_.remove_prefix(std::min(count, bytes_.size()));
        return bytes;
    }

  private:
    std::string_view bytes_;
};

bool IsSameRecord(const CPortInfo& left, const CPortInfo& right) {
    return left.PortName == right.PortName && left.PrinterAddress == right.PrinterAddress &&
           left.QueueName == right.QueueName && left.ProtocolID == right.ProtocolID &&
           left.PrinterAddressType == right.PrinterAddressType &&
           left.IpAddress == right.IpAddress && left.SubnetMask == right.SubnetMask &&
           left.MacAddress == right.MacAddress && left.SecureUserMode == right.SecureUserMode &&
           left.SecureRawPortNo == right.SecureRawPortNo &&
           left.UserIdentityName == right.UserIdentityName && left.CheckPortNo == right.CheckPortNo;
}

// The texts that have slots of their own in a record.
std::vector<std::wstring> Texts(const CPortInfo& info) {
    return {info.PortName,   info.PrinterAddress, info.QueueName,   info.IpAddress,
            info.SubnetMask, info.MacAddress,     info.ProxyServer, info.UserIdentityName};
}

std::string CheckRecord(const CPortInfo& info) {
    const std::vector<std::wstring> texts = Texts(info);
    // A slot has room for a terminator, and a text ends at its first zero.
    const bool fits = std::all_of(texts.begin(), texts.end(), [](const std::wstring& text) {
        return text.size() < XcvPortInfo::kSlot;
    });
    const bool has_zero = std::any_of(texts.begin(), texts.end(), [](const std::wstring& text) {
        return text.find(L'\0') != std::wstring::npos;
    });
    const auto record = std::make_unique<XcvPortInfo>();
    if (FillRecord(info, *record) != fits) {
        return fits ? "a record that fits is refused" : "a record that does not fit";
    }
    CPortInfo again;
    ReadRecord(*record, again);
    return fits && !has_zero && !IsSameRecord(info, again) ? "the record reads back otherwise" : "";
}

std::string CheckAddPortString(std::string_view input) {
    const std::wstring text = WideText(input);
    std::vector<std::wstring> pieces;
    const std::size_t count = SplitAt(text, L',', pieces);
    std::wstring joined;
    for (const std::wstring& piece : pieces) {
        joined += (joined.empty() && &piece == &pieces.front() ? L"" : L",") + piece;
        const std::uint32_t number = LeadingNumber(piece);
        if (LeadingNumber(std::to_wstring(static_cast<std::int32_t>(number))) != number) {
            return "a number reads back otherwise";
        }
        if (IsPortNameValid(piece) &&
            (piece.empty() || piece.size() > 255 || piece.find(L'\\') != std::wstring::npos)) {
            return "a name that cannot be a key";
        }
    }
    if (count != pieces.size() || joined != text) {
        return "the pieces are not the text";
    }
    if (count < kAddPortTokens) {
        return "";
    }
    CPortInfo info;
    StoreAddPortTokens(pieces, info);
    return info.PortName != pieces[3] ? "another port name" : CheckRecord(info);
}

std::string CheckSilentText(std::string_view input) {
    const std::wstring text(input.begin(), input.end());
    for (const wchar_t* key : {L"AR", L"PR", L"MN", L"PN", L"DP", L"SN", L"MA", L"XX"}) {
        const std::wstring value = SilentValue(text, key);
        const std::wstring wanted = std::wstring(key) + L"=";
        const auto found = text.find(wanted);
        if (found == std::wstring::npos) {
            if (!value.empty()) {
                return "a value without a key";
            }
            continue;
        }
        const std::size_t start = found + wanted.size();
        if (text.compare(start, value.size(), value) != 0) {
            return "a value that is not behind the key";
        }
        const std::size_t end = start + value.size();
        if (end < text.size() && text[end] != L':') {
            return "a value that ends too early";
        }
        for (std::size_t at = 1; at < value.size(); ++at) {
            if (value[at] == L':' && value[at - 1] != L'\\') {
                return "a value that ends too late";
            }
        }
    }
    return "";
}

std::string CheckPortRecord(std::string_view input) {
    const auto record = std::make_unique<XcvPortInfo>();
    std::memcpy(static_cast<void*>(record.get()), input.data(),
                std::min(input.size(), sizeof(*record)));
    CPortInfo info;
    ReadRecord(*record, info);
    for (const std::wstring& text : Texts(info)) {
        if (text.size() > XcvPortInfo::kSlot) {
            return "a text longer than its slot";
        }
    }
    return CheckRecord(info);
}

std::string CheckMacAddress(std::string_view input) {
    const std::wstring stored = WideText(input);
    const std::vector<std::wstring> candidates = MacCandidates(stored);
    if ((candidates.size() != 1 && candidates.size() != 4) || candidates.front() != stored) {
        return "not the stored address and its variants";
    }
    for (const std::wstring& candidate : candidates) {
        const std::wstring* const found = FindMacCandidate(candidates, candidate);
        if ((found == nullptr) != candidate.empty()) {
            return "a candidate that is not found";
        }
        if (found != nullptr && !IsEqualFolded(*found, candidate)) {
            return "another candidate";
        }
    }
    for (std::size_t variant = 1; variant < candidates.size(); ++variant) {
        // Each is a variant of the other.
        const std::wstring digits = stored.substr(0, 12);
        const auto back = MacCandidates(candidates[variant]);
        if (back.size() != 4 || !IsEqualFolded(back[variant], digits)) {
            return "a variant that does not lead back";
        }
    }
    return "";
}

std::string CheckJobHeader(std::string_view input) {
    Input bytes(input);
    CJobHeaderValues values;
    values.JobId = bytes.Number();
    values.Priority = bytes.Number();
    values.TotalPages = bytes.Number();
    values.DataSize = bytes.Number();
    values.StartTime = HeaderTimeText(
        {bytes.Number(), bytes.Byte(), bytes.Byte(), bytes.Byte(), bytes.Byte(), bytes.Byte()});
    for (std::wstring* text : {&values.Identifier, &values.Document, &values.Driver, &values.User,
                               &values.Printer, &values.Machine, &values.DataType}) {
        *text = bytes.Text(bytes.Byte());
    }
    values.Processor = bytes.Text(input.size());
    const std::string header = JobHeaderText(values);
    std::size_t at = 0;
    const auto skip = [&](const std::string& expected) {
        const bool is_there = header.compare(at, expected.size(), expected) == 0;
        at += expected.size();
        return is_there;
    };
    const auto line = [&](const char* keyword, const std::wstring& value) {
        return skip(std::string("@EXTRAKJL ") + keyword + "=\"" + WideBytes(value) +
                    std::string(2, '\0') + "\"\n");
    };
    const bool is_right =
        skip("@EXTRAKJL START\n") && line("VERSION", L"1.00") &&
        line("IDENTIFIER", values.Identifier) && line("DOCUMENT", values.Document) &&
        line("DRIVER", values.Driver) && line("PWD", L"") && line("USER", values.User) &&
        line("JOBID", std::to_wstring(values.JobId)) && line("PRINTER", values.Printer) &&
        line("MACHINE", values.Machine) && line("STARTTIME", values.StartTime) &&
        line("PRIORITY", HeaderPriorityText(values.Priority)) &&
        line("TOTALPAGES", std::to_wstring(values.TotalPages)) &&
        line("DATASIZE", std::to_wstring(values.DataSize)) && line("DATATYPE", values.DataType) &&
        line("PROCESSOR", values.Processor) && skip("@EXTRAKJL END\n") && at == header.size();
    return is_right ? "" : "not the header of these values";
}

std::string CheckOctets(std::string_view input) {
    const std::vector<unsigned char> bytes(input.begin(), input.end());
    const auto count = static_cast<std::ptrdiff_t>(bytes.size());
    const bool is_value = count == 1 || count == 2 || count == 4;
    std::uint32_t integer = 0;
    std::uint32_t reversed = 0;
    for (std::size_t at = 0; is_value && at < bytes.size(); ++at) {
        integer |= static_cast<std::uint32_t>(bytes[at]) << 8 * at;
        for (unsigned bit = 0; bit < 8; ++bit) {
            const std::uint32_t is_set = static_cast<std::uint32_t>(bytes[at]) >> bit & 1U;
            reversed |= is_set << (7 - bit) << 8 * (bytes.size() - 1 - at);
        }
    }
    if (IntegerValue(bytes.data(), count) != integer) {
        return "another integer";
    }
    if (OctetStringValue(bytes.data(), count) != reversed) {
        return "another bit string";
    }
    constexpr std::uint32_t kStatusBits = 0xC70298;
    return (SpoolerStatus({integer, reversed}) & ~kStatusBits) != 0 ? "an unknown status bit" : "";
}

std::string CheckLogFileName(std::string_view input) {
    Input bytes(input);
    const std::uint32_t index = bytes.Number();
    const std::uint32_t files = LogRotation::MaximumFiles(bytes.Number());
    const std::uint32_t size = LogRotation::MaximumSize(index);
    const std::wstring name = bytes.Text(input.size());
    const std::uint32_t next = LogRotation::NextIndex(index, files);
    if (files == 0 || next == 0 || next > files || size < 1U << 20) {
        return "a setting out of its range";
    }
    const std::wstring digits = std::to_wstring(next);
    const std::wstring backup = LogRotation::BackupFileName(name, next);
    const std::size_t dot = std::min(name.rfind(L'.'), name.size());
    return backup == name.substr(0, dot) + digits + name.substr(dot) ? "" : "another backup name";
}

std::string CheckLprCommands(std::string_view input) {
    Input bytes(input);
    const std::uint32_t number = bytes.Number();
    const std::string host = LprLineText(bytes.Bytes(bytes.Byte()), bytes.Byte());
    const std::string user = LprLineText(bytes.Bytes(bytes.Byte()), 31);
    const std::string job = LprLineText(bytes.Bytes(input.size()), 99);
    const std::string control = LprControlFile({host, user, job}, number);
    if (user.size() > 31 || job.size() > 99 ||
        std::count(control.begin(), control.end(), '\n') != 6) {
        return "a control file of other lines";
    }
    for (const std::string& command :
         {LprReceiveJobCommand(job), LprControlFileCommand(control.size(), number, host),
          LprDataFileCommand("1", number, host)}) {
        const bool is_line = command.size() > 1 && command.find('\n') == command.size() - 1;
        if (!is_line || std::any_of(command.begin() + 1, command.end() - 1, [](char c) {
                return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
            })) {
            return "a command that is not one line";
        }
    }
    return "";
}

std::string CheckNotifierCommand(std::string_view input) {
    const std::wstring value = WideText(input);
    const std::wstring argument = NotifierArgument(L'P', value);
    const bool is_counted = value.find(L'"') != std::wstring::npos;
    const std::wstring expected =
        (is_counted ? L"/P<" + std::to_wstring(value.size()) + L"> \"" : L"/P \"") + value + L"\"";
    return argument == expected ? "" : "another argument";
}

}  // namespace

std::string CheckForm(Form form, std::string_view input) {
    switch (form) {
        case Form::kAddPortString:
            return CheckAddPortString(input);
        case Form::kSilentText:
            return CheckSilentText(input);
        case Form::kPortRecord:
            return CheckPortRecord(input);
        case Form::kMacAddress:
            return CheckMacAddress(input);
        case Form::kJobHeader:
            return CheckJobHeader(input);
        case Form::kOctets:
            return CheckOctets(input);
        case Form::kLogFileName:
            return CheckLogFileName(input);
        case Form::kLprCommands:
            return CheckLprCommands(input);
        case Form::kNotifierCommand:
            return CheckNotifierCommand(input);
        case Form::kSnmpDatagram:
        case Form::kMimeMessage:
        case Form::kBase64:
        case Form::kXmlText:
            return CheckSnmpForm(form, input);
    }
    return "no such form";
}

}  // namespace ksp::test
