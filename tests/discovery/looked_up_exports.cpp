#include "tests/discovery/looked_up_exports.h"

#include <cstring>

#include "tests/host/patched_import.h"

namespace ksp::test {

LookedUpExports* LookedUpExports::listener_ = nullptr;

LookedUpExports::LookedUpExports(HMODULE module) : slot_(FindImport(module, "GetProcAddress")) {
    if (slot_ != nullptr) {
        original_ = *slot_;
        listener_ = this;
        WriteImport(slot_, reinterpret_cast<ULONG_PTR>(&Note));
    }
}

LookedUpExports::~LookedUpExports() {
    if (slot_ != nullptr) {
        WriteImport(slot_, original_);
        listener_ = nullptr;
    }
}

FARPROC WINAPI LookedUpExports::Note(HMODULE module, LPCSTR name) {
    // Numbers in place of names are below the first 64 KiB.
    if (reinterpret_cast<ULONG_PTR>(name) > 0xFFFF && std::strncmp(name, "KS", 2) == 0) {
        listener_->names_.emplace_back(name);
    }
    return ::GetProcAddress(module, name);
}

}  // namespace ksp::test
