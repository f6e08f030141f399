#pragma once

#include <windows.h>

namespace ksp::test {

// Leads the calls of an imported function that one module of this process makes elsewhere for as long
// as it lives: to count them, or for what the system refuses too rarely to wait for. The replacement
// may call the original. The module is the program unless another is given, and stays loaded
// meanwhile.
//
// Not for two threads at once.
template <class Function>
class PatchedImport;

// Where a module keeps the address of an imported function; null when it imports none of that name.
// A null module is the program.
ULONG_PTR* FindImport(HMODULE module, const char* function);
void WriteImport(ULONG_PTR* slot, ULONG_PTR target);

template <class Result, class... Arguments>
class PatchedImport<Result(WINAPI*)(Arguments...)> {
  public:
    using Function = Result(WINAPI*)(Arguments...);

    PatchedImport(const char* name, Function replacement, HMODULE module = nullptr)
        : slot_(FindImport(module, name)) {
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

    // False when the module does not call the function at all.
    [[nodiscard]] bool works() const { return slot_ != nullptr; }
    [[nodiscard]] Function original() const { return reinterpret_cast<Function>(original_); }

  private:
    ULONG_PTR* slot_;
    ULONG_PTR original_ = 0;
};

}  // namespace ksp::test
