#pragma once

#include <string>

namespace ksp {

// What went wrong in the last Windows Sockets call of this thread.
struct SocketError {
    std::wstring text;  // the system's message, with the line end that the system gives it
    int code;           // the Windows Sockets code
};

// Takes the code first, so that nothing done for the text can change it.
[[nodiscard]] SocketError SocketErrorText();

}  // namespace ksp
