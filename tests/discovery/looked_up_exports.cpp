#include "tests/discovery/looked_up_exports.h"

#include <cstring>

namespace ksp::test {

namespace {

template <class Type>
const Type* At(HMODULE module, ULONG_PTR offset) {
    return reinterpret_cast<const Type*>(reinterpret_cast<ULONG_PTR>(module) + offset);
}

// Where the module keeps the address of an imported function; null when it imports none of that
// name.
ULONG_PTR* FindImport(HMODULE module, const char* function) {
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

}  // namespace

LookedUpExports* LookedUpExports::listener_ = nullptr;

LookedUpExports::LookedUpExports(HMODULE module) : slot_(FindImport(module, "GetProcAddress")) {
    if (slot_ != nullptr) {
        original_ = *slot_;
        listener_ = this;
        Point(reinterpret_cast<ULONG_PTR>(&Note));
    }
}

LookedUpExports::~LookedUpExports() {
    if (slot_ != nullptr) {
        Point(original_);
        listener_ = nullptr;
    }
}

void LookedUpExports::Point(ULONG_PTR target) {
    DWORD protection = 0;
    ::VirtualProtect(slot_, sizeof(*slot_), PAGE_READWRITE, &protection);
    *slot_ = target;
    ::VirtualProtect(slot_, sizeof(*slot_), protection, &protection);
}

FARPROC WINAPI LookedUpExports::Note(HMODULE module, LPCSTR name) {
    // Numbers in place of names are below the first 64 KiB.
    if (reinterpret_cast<ULONG_PTR>(name) > 0xFFFF && std::strncmp(name, "KS", 2) == 0) {
        listener_->names_.emplace_back(name);
    }
    return ::GetProcAddress(module, name);
}

}  // namespace ksp::test
