#include "tools/print/program_directory.h"

#include <windows.h>

namespace ksp::print {

std::wstring ProgramDirectory() {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = 0;
    while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) ==
           path.size()) {
        path.resize(path.size() * 2);
    }
    path.resize(length);
    return path.substr(0, path.find_last_of(L'\\'));
}

}  // namespace ksp::print
