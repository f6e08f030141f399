#pragma once

#include <windows.h>

#include "support/unique_resource.h"

namespace ksp {

// Owners of the kernel objects that the library holds.

struct KernelHandleTraits {
    using Type = HANDLE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};

// Events, processes, threads: null stands for "none".
using UniqueHandle = UniqueResource<KernelHandleTraits>;

struct FileHandleTraits {
    using Type = HANDLE;
    static Type None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};

// Files: CreateFile answers a failure with INVALID_HANDLE_VALUE, not with null.
using UniqueFile = UniqueResource<FileHandleTraits>;

struct RegistryKeyTraits {
    using Type = HKEY;
    static Type None() noexcept { return nullptr; }
    static void Close(Type key) noexcept { ::RegCloseKey(key); }
};

// Registry keys that were opened with the Windows functions themselves.
using UniqueRegistryKey = UniqueResource<RegistryKeyTraits>;

}  // namespace ksp
