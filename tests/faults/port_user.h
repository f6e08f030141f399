#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/faults/fault_world.h"
#include "tools/host/monitor_library.h"

namespace ksp::test {

// Who configures ports: the configuration interface over Xcv, and whoever lists the ports. Every
// call answers as the library did; a DWORD is a Win32 code.
class PortUser {
  public:
    static constexpr wchar_t kSilentPort[] = L"Silent";

    // The library is started, and stays so.
    PortUser(FaultWorld& world, const host::MonitorLibrary& library);

    // A port of the world's printer, with its second place as its name and the first as its last
    // known address; type 4 is tracked.
    DWORD AddPort(const std::wstring& name, DWORD address_type);
    DWORD SilentAdd();
    // Reads the settings of the world's tracked port and gives it the same ones.
    DWORD Configure();
    DWORD DeletePort(const std::wstring& name);
    [[nodiscard]] bool Enumerate(std::set<std::wstring>* names);
    // All the questions that change nothing.
    [[nodiscard]] bool AskAround();

  private:
    DWORD Xcv(const wchar_t* command, std::vector<BYTE>& input, std::vector<BYTE>& output);
    DWORD XcvText(const wchar_t* command, const std::wstring& text);
    [[nodiscard]] bool IsAsAdded(const std::vector<BYTE>& record) const;

    FaultWorld& world_;
    const MONITOR2& table_;
    HANDLE monitor_;
};

}  // namespace ksp::test
