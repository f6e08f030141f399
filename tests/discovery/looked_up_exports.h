#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace ksp::test {

// Notes which exports of the discovery library a module looks up by name (GetProcAddress), while
// the object lives: the module's import is turned to a function of this program. One at a time.
class LookedUpExports {
  public:
    explicit LookedUpExports(HMODULE module);
    ~LookedUpExports();
    LookedUpExports(const LookedUpExports&) = delete;
    LookedUpExports& operator=(const LookedUpExports&) = delete;

    // False when the module does not import GetProcAddress.
    [[nodiscard]] bool ready() const { return slot_ != nullptr; }
    // The names, in order.
    const std::vector<std::string>& names() const { return names_; }

  private:
    static FARPROC WINAPI Note(HMODULE module, LPCSTR name);

    static LookedUpExports* listener_;
    ULONG_PTR* slot_ = nullptr;
    ULONG_PTR original_ = 0;
    std::vector<std::string> names_;
};

}  // namespace ksp::test
