#include "tools/print/spooler.h"

#include <algorithm>
#include <limits>

#include "tools/print/spooler_text.h"

namespace ksp::print {

bool Spooler::Load(const std::wstring& path) {
    module_.Reset(LoadLibraryW(path.c_str()));
    if (!module_) {
        return false;
    }
    const auto function = reinterpret_cast<WinspoolControlFunction>(
        reinterpret_cast<void*>(GetProcAddress(module_.Get(), WINSPOOL_CONTROL_EXPORT)));
    if (function == nullptr) {
        return false;
    }
    const WinspoolControlTable* table = function();
    if (table->size != sizeof(*table) || table->version != WINSPOOL_CONTROL_VERSION) {
        return false;
    }
    table_ = table;
    return true;
}

void Spooler::AddPrinter(const std::wstring& name, const std::wstring& port) {
    const WinspoolPrinter printer = {name.c_str(), port.c_str(), L"Demo Driver", 0, 0};
    table_->PutPrinter(&printer);
}

void Spooler::AddJob(const std::wstring& printer, DWORD job_id, const std::wstring& document,
                     uint64_t size) {
    std::wstring printer_name = printer;
    std::wstring document_name = document;
    std::wstring machine = L"\\\\DEMO";
    std::wstring user = L"demo";
    std::wstring data_type = L"RAW";
    JOB_INFO_2W job = {};
    job.JobId = job_id;
    job.pPrinterName = printer_name.data();
    job.pMachineName = machine.data();
    job.pUserName = user.data();
    job.pDocument = document_name.data();
    job.pDatatype = data_type.data();
    job.Status = JOB_STATUS_PRINTING;
    job.Priority = DEF_PRIORITY;
    job.Position = 1;
    job.TotalPages = 1;
    job.Size = static_cast<DWORD>(std::min<uint64_t>(size, std::numeric_limits<DWORD>::max()));
    GetSystemTime(&job.Submitted);
    table_->PutJob(printer.c_str(), &job);
}

DWORD Spooler::PrinterStatus() const {
    DWORD status = 0;
    for (const WinspoolCall& call : CallsSince(0)) {
        if (SetsPrinterStatus(call)) {
            status = call.status;
        }
    }
    return status;
}

void Spooler::DeleteJob(const std::wstring& printer, DWORD job_id) {
    table_->SetJobStatus(printer.c_str(), job_id, JOB_STATUS_DELETED);
}

std::vector<WinspoolCall> Spooler::CallsSince(size_t first) const {
    std::vector<WinspoolCall> calls;
    WinspoolCall call = {};
    while (table_->GetCall(static_cast<DWORD>(first + calls.size()), &call)) {
        calls.push_back(call);
    }
    return calls;
}

}  // namespace ksp::print
