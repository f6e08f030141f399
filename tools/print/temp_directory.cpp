#include "tools/print/temp_directory.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

namespace ksp::print {

TempDirectory::TempDirectory() {
    const std::wstring name = L"kspprint-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64());
    std::error_code error;
    const std::filesystem::path path = std::filesystem::temp_directory_path(error) / name;
    if (!error && std::filesystem::create_directories(path, error)) {
        path_ = path.wstring();
        if (path_.ends_with(L'\\')) {
            path_.pop_back();
        }
    }
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;  // what is still open stays behind
    if (!path_.empty()) {
        std::filesystem::remove_all(path_, ignored);
    }
}

}  // namespace ksp::print
