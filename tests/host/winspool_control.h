#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/standins/winspool_control.h"

namespace ksp::test {

// The spooler stand-in that lies beside this program, for C++. A name that does not exist in the
// stand-in makes the bool functions false and the optional ones empty.
class WinspoolControl {
  public:
    using HookFunction = std::function<void()>;

    struct Printer {
        std::wstring name;
        std::wstring port_names = {};  // commas between the ports of a pooled printer
        std::wstring driver_name = L"Test Driver";
        DWORD status = 0;
        ACCESS_MASK denied_access = 0;  // OpenPrinter asking for one of these rights fails
    };

    WinspoolControl() = default;
    ~WinspoolControl();
    WinspoolControl(const WinspoolControl&) = delete;
    WinspoolControl& operator=(const WinspoolControl&) = delete;

    // Finds the stand-in. False when this process has the system's winspool.drv or another version;
    // nothing else may be called then.
    [[nodiscard]] bool Connect();

    // Back to a spooler without printers, jobs, ports, handles, notes, faults and hooks.
    void Reset();

    void PutPrinter(const Printer& printer);
    bool RemovePrinter(const std::wstring& name);
    [[nodiscard]] std::optional<DWORD> PrinterStatus(const std::wstring& name) const;
    bool SetPrinterStatus(const std::wstring& name, DWORD status);

    // A job with plain values in every member, for a test to change and pass to PutJob.
    static JOB_INFO_2W SampleJob(DWORD job_id);
    bool PutJob(const std::wstring& printer, const JOB_INFO_2W& job);
    bool RemoveJob(const std::wstring& printer, DWORD job_id);
    [[nodiscard]] std::optional<DWORD> JobStatus(const std::wstring& printer, DWORD job_id) const;
    bool SetJobStatus(const std::wstring& printer, DWORD job_id, DWORD status);

    void PutPort(const std::wstring& name, const std::wstring& monitor = L"Other Port");
    bool RemovePort(const std::wstring& name);

    // What a monitor answers to the commands of a configuration channel; see SetXcvHandler.
    using XcvFunction =
        std::function<DWORD(const std::wstring& object, const wchar_t* command,
                            std::span<BYTE> input, std::span<BYTE> output, DWORD* needed)>;
    void PutMonitor(const std::wstring& name, const std::wstring& library = L"monitor.dll");
    [[nodiscard]] std::optional<std::wstring> MonitorLibrary(const std::wstring& name) const;
    // An empty handler takes it away. Set it while no command is under way.
    void SetXcvHandler(XcvFunction handler);

    [[nodiscard]] std::vector<WinspoolCall> Calls() const;
    [[nodiscard]] std::vector<WinspoolCall> Calls(WinspoolFunction function) const;
    void ClearCalls();

    // nth 1 is the function's next call.
    void FailCall(WinspoolFunction function, DWORD error, DWORD nth = 1);
    void FailCallsFrom(WinspoolFunction function, DWORD error, DWORD nth = 1);
    // The call succeeds, does nothing and reports sizes and counts of 0.
    void EmptyCall(WinspoolFunction function, DWORD nth = 1);
    void ClearFaults();

    // Runs at the start of every call of the function, on the calling thread, outside the
    // stand-in's lock; an empty hook takes it away. Set it while no call is under way.
    void SetHook(WinspoolFunction function, HookFunction hook);

    [[nodiscard]] std::vector<WinspoolHandle> OpenHandles() const;

  private:
    static DWORD CALLBACK RunXcvHandler(void* context, const wchar_t* object,
                                        const wchar_t* command, BYTE* input, DWORD input_size,
                                        BYTE* output, DWORD output_size, DWORD* needed);
    static void CALLBACK RunHook(void* context, WinspoolFunction function);
    void AddFault(WinspoolFunction function, WinspoolFaultKind kind, DWORD error, DWORD nth,
                  bool and_later);

    const WinspoolControlTable* table_ = nullptr;
    std::array<HookFunction, WinspoolFunctionCount> hooks_;
    XcvFunction xcv_handler_;
};

const char* NameOf(WinspoolFunction function);
// A call on one line, for messages: "SetPrinter 'Printer' level 0 command 4 status 0x80 -> TRUE".
std::string DescribeCall(const WinspoolCall& call);

}  // namespace ksp::test
