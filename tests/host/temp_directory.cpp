#include "tests/host/temp_directory.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

namespace ksp::test {

TempDirectory::TempDirectory() {
    static volatile LONG counter = 0;
    const std::wstring name = L"kspmon-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L"-" +
                              std::to_wstring(InterlockedIncrement(&counter));
    path_ = (std::filesystem::temp_directory_path() / name).wstring();
    std::filesystem::create_directories(path_);
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;  // a file that is still open stays behind
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace ksp::test
