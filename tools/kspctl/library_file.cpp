#include "tools/kspctl/library_file.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tools/print/program_directory.h"

namespace ksp::ctl {
namespace {

std::wstring SystemDirectory() {
    wchar_t path[MAX_PATH] = {};
    return {path, GetSystemDirectoryW(path, MAX_PATH)};
}

bool SameContent(const std::wstring& left, const std::wstring& right) {
    using Bytes = std::istreambuf_iterator<char>;
    std::ifstream a(std::filesystem::path(left), std::ios::binary);
    std::ifstream b(std::filesystem::path(right), std::ios::binary);
    return a && b && std::equal(Bytes(a), Bytes(), Bytes(b), Bytes());
}

bool HasDirectory(const std::wstring& path) {
    return path.find_first_of(L"\\/") != std::wstring::npos;
}

}  // namespace

std::wstring FileNameOf(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

bool FileExists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

DWORD PlaceLibrary(const std::wstring& library, const std::wstring& file) {
    const std::wstring source =
        HasDirectory(library) ? library : print::ProgramDirectory() + L"\\" + library;
    const std::wstring target = SystemDirectory() + L"\\" + file;
    if (!HasDirectory(library) && !FileExists(source)) {
        return ERROR_SUCCESS;
    }
    if (CompareStringOrdinal(source.c_str(), -1, target.c_str(), -1, TRUE) == CSTR_EQUAL) {
        return ERROR_SUCCESS;
    }
    // The spooler keeps what it has loaded, and then nobody can write it.
    if (SameContent(source, target) || CopyFileW(source.c_str(), target.c_str(), FALSE) != FALSE) {
        return ERROR_SUCCESS;
    }
    return GetLastError();
}

}  // namespace ksp::ctl
