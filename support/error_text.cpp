#include "support/error_text.h"

#include <winsock2.h>
#include <windows.h>

#include "support/unique_resource.h"

namespace ksp {

namespace {

struct LocalMemoryTraits {
    using Type = wchar_t*;
    static Type None() noexcept { return nullptr; }
    static void Close(Type memory) noexcept { ::LocalFree(memory); }
};

std::wstring SystemMessage(int code) {
    UniqueResource<LocalMemoryTraits> message;
    // With FORMAT_MESSAGE_ALLOCATE_BUFFER the buffer argument is the address of a pointer.
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        reinterpret_cast<wchar_t*>(message.Receive()), 0, nullptr);
    if (length == 0 || !message) {
        return L"Error while retrieving message using FormatMessage method";
    }
    return std::wstring(message.Get(), length);
}

}  // namespace

SocketError SocketErrorText() {
    const int code = ::WSAGetLastError();
    return {SystemMessage(code), code};
}

}  // namespace ksp
