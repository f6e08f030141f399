#include "tools/host/temp_directory.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

namespace ksp::host {

TempDirectory::TempDirectory() {
    static volatile LONG counter = 0;
    const std::wstring name = L"kspmon-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L"-" +
                              std::to_wstring(InterlockedIncrement(&counter));
    std::error_code error;
    const std::filesystem::path path = std::filesystem::temp_directory_path(error) / name;
    if (!error && std::filesystem::create_directories(path, error)) {
        path_ = path.wstring();
    }
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;  // what is still open stays behind
    if (!path_.empty()) {
        std::filesystem::remove_all(path_, ignored);
    }
}

}  // namespace ksp::host
