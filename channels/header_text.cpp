#include "channels/header_text.h"

namespace ksp {

namespace {

constexpr char kPrefix[] = "@EXTRAKJL ";

void AppendPlainLine(std::string& header, const char* keyword) {
    header += kPrefix;
    header += keyword;
    header += '\n';
}

// UTF-16LE, whatever the byte order of the machine.
void AppendUnit(std::string& header, wchar_t unit) {
    const auto value = static_cast<std::uint16_t>(unit);
    header += static_cast<char>(value & 0xFF);
    header += static_cast<char>(value >> 8);
}

void AppendLine(std::string& header, const char* keyword, std::wstring_view value) {
    header += kPrefix;
    header += keyword;
    header += "=\"";
    for (const wchar_t unit : value) {
        AppendUnit(header, unit);
    }
    AppendUnit(header, L'\0');
    header += "\"\n";
}

}  // namespace

std::wstring HeaderTimeText(const CHeaderTime& time) {
    std::wstring year = std::to_wstring(time.year);
    if (year.size() < 4) {
        year.insert(0, 4 - year.size(), L' ');
    }
    return year + L"/" + std::to_wstring(time.month) + L"/" + std::to_wstring(time.day) + L"/" +
           std::to_wstring(time.hour) + L":" + std::to_wstring(time.minute) + L":" +
           std::to_wstring(time.second);
}

std::wstring HeaderPriorityText(std::uint32_t priority) {
    switch (priority) {
        case 0:
            return L"NO_PRIORITY";
        case 1:
            return L"MIN_PRIORITY";
        case 99:
            return L"MAX_PRIORITY";
        default:
            return std::to_wstring(priority);
    }
}

std::string JobHeaderText(const CJobHeaderValues& values) {
    std::string header;
    AppendPlainLine(header, "START");
    AppendLine(header, "VERSION", L"1.00");
    AppendLine(header, "IDENTIFIER", values.Identifier);
    AppendLine(header, "DOCUMENT", values.Document);
    AppendLine(header, "DRIVER", values.Driver);
    AppendLine(header, "PWD", L"");
    AppendLine(header, "USER", values.User);
    AppendLine(header, "JOBID", std::to_wstring(values.JobId));
    AppendLine(header, "PRINTER", values.Printer);
    AppendLine(header, "MACHINE", values.Machine);
    AppendLine(header, "STARTTIME", values.StartTime);
    AppendLine(header, "PRIORITY", HeaderPriorityText(values.Priority));
    AppendLine(header, "TOTALPAGES", std::to_wstring(values.TotalPages));
    AppendLine(header, "DATASIZE", std::to_wstring(values.DataSize));
    AppendLine(header, "DATATYPE", values.DataType);
    AppendLine(header, "PROCESSOR", values.Processor);
    AppendPlainLine(header, "END");
    return header;
}

}  // namespace ksp
