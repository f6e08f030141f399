#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace ksp::test {

// What this process says to a debugger (OutputDebugString) while the object lives. One at a time.
class DebuggerOutput {
  public:
    DebuggerOutput();
    ~DebuggerOutput();
    DebuggerOutput(const DebuggerOutput&) = delete;
    DebuggerOutput& operator=(const DebuggerOutput&) = delete;

    const std::vector<std::wstring>& Texts() const { return texts_; }

  private:
    static LONG CALLBACK Listen(EXCEPTION_POINTERS* exception);

    static DebuggerOutput* listener_;
    PVOID handler_;
    std::vector<std::wstring> texts_;
};

}  // namespace ksp::test
