#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/unique_resource.h"
#include "tests/standins/winspool_control.h"

namespace ksp::print {

struct ModuleTraits {
    using Type = HMODULE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type module) noexcept { ::FreeLibrary(module); }
};

// The spooler that the monitor meets: printers and jobs in the memory of the winspool.drv that lies
// beside this program, and a journal of the calls made to it.
class Spooler {
  public:
    // To be called before the monitor is loaded, which then gets the same winspool.drv. False when
    // the file is missing or is not that winspool.drv; nothing else may be called then.
    [[nodiscard]] bool Load(const std::wstring& path);

    void AddPrinter(const std::wstring& name, const std::wstring& port);
    void AddJob(const std::wstring& printer, DWORD job_id, const std::wstring& document,
                uint64_t size);

    // The last one that the monitor told; 0 before.
    [[nodiscard]] DWORD PrinterStatus() const;
    // As somebody does who looks at the queue; the monitor gives the job up when it next asks.
    void DeleteJob(const std::wstring& printer, DWORD job_id);

    // From the one with that number on; the first has number 0.
    [[nodiscard]] std::vector<WinspoolCall> CallsSince(size_t first) const;

  private:
    UniqueResource<ModuleTraits> module_;
    const WinspoolControlTable* table_ = nullptr;
};

}  // namespace ksp::print
