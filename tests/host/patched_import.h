#pragma once

#include <windows.h>

namespace ksp::test {

// Leads this program's calls of an imported system function elsewhere for as long as it lives: for
// what the system refuses too rarely to wait for. The replacement may call the original.
//
// Not for two threads at once.
template <class Function>
class PatchedImport;

// Where a module keeps the address of an imported function; null when it imports none of that name.
ULONG_PTR* FindImport(HMODULE module, const char* function);
void WriteImport(ULONG_PTR* slot, ULONG_PTR target);

template <class Result, class... Arguments>
class PatchedImport<Result(WINAPI*)(Arguments...)> {
  public:
    using Function = Result(WINAPI*)(Arguments...);

    PatchedImport(const char* name, Function replacement) : slot_(FindImport(::GetModuleHandleW(nullptr), name)) {
        if (slot_ != nullptr) {
            original_ = *slot_;
            WriteImport(slot_, reinterpret_cast<ULONG_PTR>(replacement));
        }
    }
    ~PatchedImport() {
        if (slot_ != nullptr) {
            WriteImport(slot_, original_);
        }
    }
    PatchedImport(const PatchedImport&) = delete;
    PatchedImport& operator=(const PatchedImport&) = delete;

    // False when the program does not call the function at all.
    [[nodiscard]] bool works() const { return slot_ != nullptr; }
    [[nodiscard]] Function original() const { return reinterpret_cast<Function>(original_); }

  private:
    ULONG_PTR* slot_;
    ULONG_PTR original_ = 0;
};

}  // namespace ksp::test
