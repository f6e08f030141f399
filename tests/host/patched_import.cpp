#include "tests/host/patched_import.h"

#include <cstring>

namespace ksp::test {
namespace {

template <class Type>
const Type* At(HMODULE module, ULONG_PTR offset) {
    return reinterpret_cast<const Type*>(reinterpret_cast<ULONG_PTR>(module) + offset);
}

}  // namespace

ULONG_PTR* FindImport(HMODULE module, const char* function) {
    if (module == nullptr) {
        module = ::GetModuleHandleW(nullptr);
    }
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* header = At<IMAGE_NT_HEADERS64>(module, static_cast<ULONG_PTR>(dos->e_lfanew));
    const DWORD imports =
        header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (const auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, imports);
         library->OriginalFirstThunk != 0; ++library) {
        const auto* name = At<IMAGE_THUNK_DATA64>(module, library->OriginalFirstThunk);
        for (ULONG_PTR slot = library->FirstThunk; name->u1.AddressOfData != 0;
             ++name, slot += sizeof(ULONG_PTR)) {
            const bool by_name = (name->u1.Ordinal & IMAGE_ORDINAL_FLAG64) == 0;
            if (by_name &&
                std::strcmp(At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData)->Name,
                            function) == 0) {
                return const_cast<ULONG_PTR*>(At<ULONG_PTR>(module, slot));
            }
        }
    }
    return nullptr;
}

void WriteImport(ULONG_PTR* slot, ULONG_PTR target) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = target;
    ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

}  // namespace ksp::test
