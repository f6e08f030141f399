#include "tests/host/winspool_control.h"

#include <sstream>

namespace ksp::test {
namespace {

constexpr const char* kFunctionNames[] = {
    "OpenPrinter",
    "ClosePrinter",
    "GetPrinter",
    "SetPrinter",
    "GetJob",
    "SetJob",
    "EnumPorts",
    "EnumPrinters",
    "GetPrinterDriver",
    "ImpersonatePrinterClient",
    "RevertToPrinterSelf",
    "XcvData",
    "AddMonitor",
    "DeleteMonitor",
};
static_assert(std::size(kFunctionNames) == WinspoolFunctionCount);

// What a sample job points at; job information has pointers to texts that could be written to.
wchar_t g_printer[] = L"Printer";
wchar_t g_machine[] = L"\\\\WORKSTATION";
wchar_t g_user[] = L"alice";
wchar_t g_document[] = L"Document";
wchar_t g_data_type[] = L"RAW";
wchar_t g_print_processor[] = L"winprint";
wchar_t g_parameters[] = L"";
wchar_t g_driver[] = L"Job Driver";

std::string Narrow(const wchar_t* text) {
    std::string result;
    for (; *text != L'\0'; ++text) {
        result += *text < 0x80 ? static_cast<char>(*text) : '?';
    }
    return result;
}

std::string Hex(DWORD number) {
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
}

}  // namespace

WinspoolControl::~WinspoolControl() {
    if (table_ != nullptr) {
        Reset();
    }
}

bool WinspoolControl::Connect() {
    const HMODULE module = LoadLibraryW(L"winspool.drv");
    if (module == nullptr) {
        return false;
    }
    // The module is never freed: a monitor that is loaded later must meet the same spooler.
    const auto function = reinterpret_cast<WinspoolControlFunction>(
        reinterpret_cast<void*>(GetProcAddress(module, WINSPOOL_CONTROL_EXPORT)));
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

void WinspoolControl::Reset() {
    table_->Reset();
    hooks_ = {};
}

void WinspoolControl::PutPrinter(const Printer& printer) {
    const WinspoolPrinter info = {printer.name.c_str(), printer.port_names.c_str(),
                                  printer.driver_name.c_str(), printer.status,
                                  printer.denied_access};
    table_->PutPrinter(&info);
}

bool WinspoolControl::RemovePrinter(const std::wstring& name) {
    return table_->RemovePrinter(name.c_str()) != FALSE;
}

std::optional<DWORD> WinspoolControl::PrinterStatus(const std::wstring& name) const {
    DWORD status = 0;
    if (!table_->GetPrinterStatus(name.c_str(), &status)) {
        return std::nullopt;
    }
    return status;
}

bool WinspoolControl::SetPrinterStatus(const std::wstring& name, DWORD status) {
    return table_->SetPrinterStatus(name.c_str(), status) != FALSE;
}

JOB_INFO_2W WinspoolControl::SampleJob(DWORD job_id) {
    JOB_INFO_2W job = {};
    job.JobId = job_id;
    job.pPrinterName = g_printer;
    job.pMachineName = g_machine;
    job.pUserName = g_user;
    job.pDocument = g_document;
    job.pNotifyName = g_user;
    job.pDatatype = g_data_type;
    job.pPrintProcessor = g_print_processor;
    job.pParameters = g_parameters;
    job.pDriverName = g_driver;
    job.Status = JOB_STATUS_PRINTING;
    job.Priority = DEF_PRIORITY;
    job.Position = 1;
    job.TotalPages = 3;
    job.Size = 1000;
    job.Submitted = {2024, 3, 2, 5, 7, 8, 9, 0};
    return job;
}

bool WinspoolControl::PutJob(const std::wstring& printer, const JOB_INFO_2W& job) {
    return table_->PutJob(printer.c_str(), &job) != FALSE;
}

bool WinspoolControl::RemoveJob(const std::wstring& printer, DWORD job_id) {
    return table_->RemoveJob(printer.c_str(), job_id) != FALSE;
}

std::optional<DWORD> WinspoolControl::JobStatus(const std::wstring& printer, DWORD job_id) const {
    DWORD status = 0;
    if (!table_->GetJobStatus(printer.c_str(), job_id, &status)) {
        return std::nullopt;
    }
    return status;
}

bool WinspoolControl::SetJobStatus(const std::wstring& printer, DWORD job_id, DWORD status) {
    return table_->SetJobStatus(printer.c_str(), job_id, status) != FALSE;
}

void WinspoolControl::PutPort(const std::wstring& name, const std::wstring& monitor) {
    std::wstring port_name = name;
    std::wstring monitor_name = monitor;
    PORT_INFO_2W port = {};
    port.pPortName = port_name.data();
    port.pMonitorName = monitor_name.data();
    port.pDescription = monitor_name.data();
    port.fPortType = PORT_TYPE_WRITE;
    table_->PutPort(&port);
}

bool WinspoolControl::RemovePort(const std::wstring& name) {
    return table_->RemovePort(name.c_str()) != FALSE;
}

void WinspoolControl::PutMonitor(const std::wstring& name, const std::wstring& library) {
    table_->PutMonitor(name.c_str(), library.c_str());
}

std::optional<std::wstring> WinspoolControl::MonitorLibrary(const std::wstring& name) const {
    wchar_t library[WINSPOOL_CALL_TEXT] = {};
    return table_->GetMonitorLibrary(name.c_str(), library) != FALSE
               ? std::optional<std::wstring>(library)
               : std::nullopt;
}

void WinspoolControl::SetXcvHandler(XcvFunction handler) {
    xcv_handler_ = std::move(handler);
    table_->SetXcvHandler(xcv_handler_ ? RunXcvHandler : nullptr, &xcv_handler_);
}

DWORD WinspoolControl::RunXcvHandler(void* context, const wchar_t* object, const wchar_t* command,
                                     BYTE* input, DWORD input_size, BYTE* output, DWORD output_size,
                                     DWORD* needed) {
    const auto& handler = *static_cast<const XcvFunction*>(context);
    return handler(object, command, {input, input_size}, {output, output_size}, needed);
}

std::vector<WinspoolCall> WinspoolControl::Calls() const {
    std::vector<WinspoolCall> calls;
    WinspoolCall call = {};
    while (table_->GetCall(static_cast<DWORD>(calls.size()), &call)) {
        calls.push_back(call);
    }
    return calls;
}

std::vector<WinspoolCall> WinspoolControl::Calls(WinspoolFunction function) const {
    std::vector<WinspoolCall> calls = Calls();
    std::erase_if(calls, [&](const WinspoolCall& call) { return call.function != function; });
    return calls;
}

void WinspoolControl::ClearCalls() {
    table_->ClearCalls();
}

void WinspoolControl::FailCall(WinspoolFunction function, DWORD error, DWORD nth) {
    AddFault(function, WinspoolFail, error, nth, false);
}

void WinspoolControl::FailCallsFrom(WinspoolFunction function, DWORD error, DWORD nth) {
    AddFault(function, WinspoolFail, error, nth, true);
}

void WinspoolControl::EmptyCall(WinspoolFunction function, DWORD nth) {
    AddFault(function, WinspoolSucceedEmpty, ERROR_SUCCESS, nth, false);
}

void WinspoolControl::AddFault(WinspoolFunction function, WinspoolFaultKind kind, DWORD error,
                               DWORD nth, bool and_later) {
    const WinspoolFault fault = {function, nth, and_later ? TRUE : FALSE, kind, error};
    table_->AddFault(&fault);
}

void WinspoolControl::ClearFaults() {
    table_->ClearFaults();
}

void WinspoolControl::SetHook(WinspoolFunction function, HookFunction hook) {
    const bool wanted = static_cast<bool>(hook);
    hooks_[function] = std::move(hook);
    table_->SetHook(function, wanted ? RunHook : nullptr, this);
}

void CALLBACK WinspoolControl::RunHook(void* context, WinspoolFunction function) {
    static_cast<WinspoolControl*>(context)->hooks_[function]();
}

std::vector<WinspoolHandle> WinspoolControl::OpenHandles() const {
    std::vector<WinspoolHandle> handles;
    WinspoolHandle handle = {};
    while (table_->GetOpenHandle(static_cast<DWORD>(handles.size()), &handle)) {
        handles.push_back(handle);
    }
    return handles;
}

const char* NameOf(WinspoolFunction function) {
    return kFunctionNames[function];
}

std::string DescribeCall(const WinspoolCall& call) {
    const bool about_job = call.function == WinspoolGetJob || call.function == WinspoolSetJob;
    const bool sets = call.function == WinspoolSetJob || call.function == WinspoolSetPrinter;
    const bool has_level = sets || call.buffer_size > 0 || call.level > 0;

    std::ostringstream line;
    line << NameOf(call.function);
    if (call.printer[0] != L'\0') {
        line << " '" << Narrow(call.printer) << "'";
    }
    if (call.function == WinspoolOpenPrinter) {
        line << " access " << Hex(call.access);
    }
    if (about_job) {
        line << " job " << call.job_id;
    }
    if (has_level) {
        line << " level " << call.level;
    }
    if (sets) {
        line << " command " << call.command << " status " << Hex(call.status);
    }
    line << (call.result ? " -> TRUE" : " -> FALSE");
    if (!call.result) {
        line << " error " << call.error;
    }
    return line.str();
}

}  // namespace ksp::test
