#include "snmp/windows_sockets.h"

#include <winsock2.h>

#include "snmp/unloading.h"

namespace ksp::snmp {

namespace {

bool Start() noexcept {
    WSADATA data{};
    return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

}  // namespace

CWindowsSockets::CWindowsSockets() noexcept : m_started(Start()) {}

CWindowsSockets::~CWindowsSockets() {
    if (m_started && !g_isUnloading) {
        ::WSACleanup();
    }
}

}  // namespace ksp::snmp
