#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ksp::test {

// The job that a script orders by environment variables, each named KSPMON_PEER_ and the member's
// name in capitals.
struct PeerJob {
    std::wstring address;     // the daemon's
    DWORD protocol = 0;       // as the port's ProtocolID
    std::wstring queue;       // empty: none
    std::wstring title;       // the document's name
    size_t size = 0;          // bytes
    DWORD max_file_size = 0;  // the setting MaxFileSize; 0: not set
    bool refused = false;     // the daemon says no, and the monitor is to report it
    std::wstring sent_file;   // where to put a copy of the document, in the notation of the
                              // system on which the script runs
    std::wstring names_file;  // where to put the names that the daemon should see, a line each

    // None when a variable that every job needs is missing or is no number.
    static std::optional<PeerJob> FromEnvironment();
};

// The machine's and the user's names, as the control file of a job carries them: "H" and "P" lines.
std::string NameLines();

// So many bytes in which every position differs from its neighbourhood.
std::vector<uint8_t> PeerDocument(size_t size);

// Writes to a file that is named as the script names it. False when that fails.
[[nodiscard]] bool WriteForScript(const std::wstring& path, const void* data, size_t size);

}  // namespace ksp::test
