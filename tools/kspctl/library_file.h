#pragma once

#include <windows.h>

#include <string>

namespace ksp::ctl {

// The library's file on this computer. The spooler loads it from the system directory.

// The name without its directory.
[[nodiscard]] std::wstring FileNameOf(const std::wstring& path);
[[nodiscard]] bool FileExists(const std::wstring& path);

// Copies the library into the system directory under the name `file`, from the given path or from
// beside this program. A file that is the system directory's own, or that is there already byte for
// byte, is left alone, and so is a bare name that does not lie beside this program: it is taken to
// be there. A Windows code; 32 when the spooler has another version loaded.
[[nodiscard]] DWORD PlaceLibrary(const std::wstring& library, const std::wstring& file);

}  // namespace ksp::ctl
