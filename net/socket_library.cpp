#include "net/socket_library.h"

#include <winsock2.h>

#include "support/log.h"
#include "support/process_state.h"

namespace ksp {

CSocketLibrary::~CSocketLibrary() {
    if (m_started && !IsProcessEnding()) {
        ::WSACleanup();
    }
}

bool CSocketLibrary::StartupSockets() {
    if (!m_started) {
        WSADATA data{};
        m_started = ::WSAStartup(MAKEWORD(1, 1), &data) == 0;
        if (!m_started) {
            Log(LogLevel::kCritical, L"Failed : WSAStartup");
        }
    }
    return m_started;
}

}  // namespace ksp
