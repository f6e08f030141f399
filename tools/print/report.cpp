#include "tools/print/report.h"

#include <algorithm>

#include "tools/host/registry_text.h"
#include "tools/print/console.h"
#include "tools/print/fold.h"
#include "tools/print/monitor_log.h"
#include "tools/print/spooler_text.h"

namespace ksp::print {
namespace {

constexpr size_t kValueNameWidth = 20;
constexpr size_t kTypeWidth = 11;
constexpr size_t kSizeWidth = 11;

std::wstring StepName(host::JobStep step) {
    switch (step) {
        case host::JobStep::kOpenPort:
            return L"OpenPort";
        case host::JobStep::kStartDocPort:
            return L"StartDocPort";
        case host::JobStep::kWritePort:
            return L"WritePort";
        case host::JobStep::kEndDocPort:
            return L"EndDocPort";
        case host::JobStep::kClosePort:
            return L"ClosePort";
        case host::JobStep::kNone:
            break;
    }
    return L"";
}

// Bytes that are letters or digits as such, the others in hexadecimal digits.
std::wstring DumpOf(const std::string& bytes) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text;
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        if (c == '_' || (c >= 'A' && c <= 'Z')) {
            text += static_cast<wchar_t>(byte);
        } else {
            text += L'<';
            text += kDigits[byte >> 4];
            text += kDigits[byte & 0x0F];
            text += L'>';
        }
    }
    return text;
}

// Whether the monitor took the whole document.
bool Complete(const JobReport& job) {
    return job.given_up.empty() && job.outcome.printed() && job.outcome.excess_bytes == 0;
}

std::wstring Failure(const JobReport& job) {
    if (!job.given_up.empty()) {
        return job.given_up;
    }
    if (job.outcome.printed()) {
        return L"the monitor took more bytes than it was offered";
    }
    return StepName(job.outcome.failed_step) + L" failed (last error " +
           std::to_wstring(job.outcome.error) + L")";
}

std::wstring ShownDigest(const std::wstring& sha256) {
    return sha256.empty() ? L"(not computed)" : sha256;
}

std::wstring SizeAndDigest(uint64_t bytes, const std::wstring& sha256) {
    return PadLeft(Grouped(bytes), kSizeWidth) + L" bytes  SHA-256 " + ShownDigest(sha256);
}

// 0x00000000 when the data is no DWORD.
DWORD DwordOf(const host::RegistryValue& value) {
    DWORD number = 0;
    if (value.data.size() == sizeof(number)) {
        std::copy(value.data.begin(), value.data.end(), reinterpret_cast<BYTE*>(&number));
    }
    return number;
}

void ReportValue(const std::wstring& name, const host::RegistryValue& value) {
    std::wstring type = L"type " + std::to_wstring(value.type);
    std::wstring data = Counted(value.data.size(), L"byte");
    if (value.type == REG_SZ) {
        type = L"REG_SZ";
        data = L"\"" + host::TextOf(value.data) + L"\"  " + Counted(value.data.size(), L"byte");
    } else if (value.type == REG_DWORD) {
        type = L"REG_DWORD";
        data = std::to_wstring(DwordOf(value));
    }
    PrintLine(L"  " + PadRight(name, kValueNameWidth) + PadRight(type, kTypeWidth) + data);
}

std::wstring SameLine(const std::wstring& line) {
    return line;
}

}  // namespace

bool ArrivedUnchanged(const JobReport& job) {
    return job.delivery && job.delivery->bytes == job.document_bytes &&
           !job.document_sha256.empty() && job.delivery->sha256 == job.document_sha256;
}

bool Succeeded(const JobReport& job) {
    return Complete(job) && (!job.delivery || ArrivedUnchanged(job)) &&
           (!job.move || job.move->followed());
}

void ReportDelivery(const JobReport& job) {
    PrintHeading(L"What arrived");
    const bool complete = Complete(job);
    PrintField(complete ? L"sent" : L"offered",
               SizeAndDigest(job.document_bytes, job.document_sha256));
    if (!complete) {
        PrintField(L"taken", PadLeft(Grouped(job.outcome.bytes_taken), kSizeWidth) + L" bytes");
    }
    if (job.delivery) {
        PrintField(L"received", SizeAndDigest(job.delivery->bytes, job.delivery->sha256));
        PrintField(L"compared", ArrivedUnchanged(job) ? L"identical" : L"DIFFERENT");
        PrintField(L"connections", Grouped(job.delivery->connections));
    } else {
        PrintField(L"received", L"unknown: what a real printer received cannot be compared");
    }
    PrintField(L"time", Seconds(job.seconds) + L" from OpenPort to ClosePort, " +
                            Counted(job.outcome.writes, L"WritePort call") + L", " +
                            Grouped(job.outcome.refusals) + L" of them took nothing");
    if (!complete) {
        PrintField(L"failure", Failure(job));
    }
}

void ReportMove(const PrinterMove& move) {
    PrintHeading(L"Where the printer is");
    PrintField(L"was at", move.from);
    PrintField(L"is at", move.to);
    PrintField(L"IpAddress", move.recorded + L" in the port's registry entry: " +
                                 (move.followed() ? L"followed" : L"NOT FOLLOWED"));
}

void ReportConfirmation(const std::string& asked, const std::string& answered) {
    PrintHeading(L"Is the printer there?");
    PrintField(L"asked", DumpOf(asked));
    PrintField(L"answered", answered.empty() ? L"nothing" : DumpOf(answered));
}

void ReportJobHeader(const std::string& header) {
    PrintHeading(L"The job header: " + Counted(header.size(), L"byte") + L" in front of the data");
    if (header.empty()) {
        PrintLine(L"  none");
    }
    for (const JobHeaderLine& line : DecodeJobHeader(header)) {
        PrintLine(L"  " + line.text);
        PrintLine(L"      " + line.bytes);
    }
}

void ReportPrinterStatus(const std::vector<WinspoolCall>& calls) {
    PrintHeading(L"Printer status that the monitor told the spooler");
    size_t changes = 0;
    for (const WinspoolCall& call : calls) {
        if (SetsPrinterStatus(call)) {
            ++changes;
            PrintLine(
                L"  " + std::to_wstring(changes) + L".  " + DescribePrinterStatus(call.status) +
                (call.result ? L"" : L"  (refused: error " + std::to_wstring(call.error) + L")"));
        }
    }
    if (changes == 0) {
        PrintLine(L"  none: the status never changed");
    }
}

void ReportSpoolerCalls(const std::vector<WinspoolCall>& calls) {
    PrintHeading(
        L"Calls that the monitor made to the spooler, without those that only ask for a size");
    std::vector<std::wstring> lines;
    for (const WinspoolCall& call : calls) {
        if (!AsksForSize(call)) {
            lines.push_back(DescribeCall(call));
        }
    }
    for (const std::wstring& line : FoldRepeats(lines, SameLine)) {
        PrintLine(L"  " + line);
    }
}

void ReportRegistryEntry(const host::MemoryRegistry& registry, const std::wstring& key) {
    PrintHeading(L"Registry entry of the port, below the monitor's root key: " + key);
    for (const std::wstring& name : registry.ValueNames(registry.Root(), key)) {
        if (const auto value = registry.GetValue(registry.Root(), key, name)) {
            ReportValue(name, *value);
        }
    }
}

void ReportLog(const std::vector<std::wstring>& lines) {
    PrintHeading(L"The monitor's log at TRACE: " + Counted(lines.size(), L"line"));
    for (const std::wstring& line : FoldRepeats(lines, LogLineKey)) {
        PrintLine(L"  " + line);
    }
}

void ReportVerdict(const JobReport& job) {
    const std::wstring bytes = Counted(job.document_bytes, L"byte");
    if (Succeeded(job)) {
        PrintHeading(job.delivery ? L"OK: " + bytes + L" sent, identical bytes received."
                                  : L"OK: the printer took " + bytes + L".");
    } else if (Complete(job) && job.move && !job.move->followed()) {
        PrintHeading(L"FAILED: the port's registry entry does not say where the printer is.");
    } else if (Complete(job)) {
        PrintHeading(L"FAILED: what the printer received differs from what was sent.");
    } else {
        PrintHeading(L"FAILED: " + Failure(job) + L".");
    }
}

}  // namespace ksp::print
