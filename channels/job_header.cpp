#include "channels/job_header.h"

#include <cstring>
#include <string>

#include "channels/header_text.h"
#include "support/log.h"
#include "support/spooler_query.h"

namespace ksp {

namespace {

std::wstring TextOf(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

// The printer's driver, or the job's when the printer does not say.
std::wstring DriverName(HANDLE printer, const JOB_INFO_2W& job) {
    SpoolerRecords records;
    const SpoolerAnswer answer = records.Read([printer](BYTE* buffer, DWORD bytes, DWORD* needed) {
        return ::GetPrinterDriverW(printer, nullptr, 1, buffer, bytes, needed);
    });
    if (answer == SpoolerAnswer::kOk) {
        const wchar_t* const name = records.As<DRIVER_INFO_1W>()->pName;
        if (name != nullptr && *name != L'\0') {
            return name;
        }
    }
    return TextOf(job.pDriverName);
}

CHeaderTime TimeOf(const SYSTEMTIME& time) {
    return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
}

CJobHeaderValues ValuesOf(const JOB_INFO_2W& job, HANDLE printer, DWORD jobId,
                          const wchar_t* identity) {
    CJobHeaderValues values;
    values.User = TextOf(job.pUserName);
    values.Identifier = identity != nullptr ? identity : values.User;
    values.Document = TextOf(job.pDocument);
    values.Driver = DriverName(printer, job);
    values.JobId = jobId;
    values.Printer = TextOf(job.pPrinterName);
    values.Machine = TextOf(job.pMachineName);
    values.StartTime = HeaderTimeText(TimeOf(job.Submitted));
    values.Priority = job.Priority;
    values.TotalPages = job.TotalPages;
    values.DataSize = job.Size;
    values.DataType = TextOf(job.pDatatype);
    values.Processor = TextOf(job.pPrintProcessor);
    return values;
}

}  // namespace

int BuildJobHeader(HANDLE printer, DWORD jobId, BYTE* buffer, std::uint32_t& size,
                   const wchar_t* identity) {
    SpoolerRecords records;
    const SpoolerAnswer answer =
        records.Read([printer, jobId](BYTE* bytes, DWORD count, DWORD* needed) {
            return ::GetJobW(printer, jobId, 2, bytes, count, needed);
        });
    if (answer == SpoolerAnswer::kNoMemory) {
        Log(LogLevel::kCritical, L"memory allocation failure");
    } else if (answer != SpoolerAnswer::kOk) {
        Log(LogLevel::kError, L"error retrieving job info");
    }
    if (answer != SpoolerAnswer::kOk) {
        size = kNoJobHeader;
        return 0;
    }
    const std::string header =
        JobHeaderText(ValuesOf(*records.As<JOB_INFO_2W>(), printer, jobId, identity));
    if (buffer == nullptr || size < header.size()) {
        size = static_cast<std::uint32_t>(header.size());
        return 0;
    }
    std::memcpy(buffer, header.data(), header.size());
    return 1;
}

}  // namespace ksp
