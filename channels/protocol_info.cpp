#include "channels/protocol_info.h"

#include <atomic>
#include <utility>

#include "ports/port_info.h"
#include "support/log.h"

namespace ksp {

namespace {
std::atomic<std::uint16_t> g_defaultRawPort{static_cast<std::uint16_t>(kRawPort)};
}

CProtocolInfo::CProtocolInfo(std::uint32_t type, std::uint16_t portNumber, std::wstring hostName)
    : m_type(type), m_portNumber(portNumber), m_hostName(std::move(hostName)) {}

void CProtocolInfo::SetHostName(const std::wstring& name) {
    Log(LogLevel::kTrace, L"protocol : set host name = %s", name.c_str());
    m_hostName = name;
}

CRawProtocolInfo::CRawProtocolInfo(std::wstring hostName)
    : CProtocolInfo(kRaw, g_defaultRawPort.load(), std::move(hostName)) {}

void CRawProtocolInfo::SetDefaultPortNumber(std::uint16_t port) noexcept {
    g_defaultRawPort = port;
}

CLprProtocolInfo::CLprProtocolInfo(std::wstring hostName, std::wstring queueName, bool extended)
    : CProtocolInfo(extended ? kXlpr : kLpr, static_cast<std::uint16_t>(kLprPort),
                    std::move(hostName)),
      m_queueName(std::move(queueName)) {}

}  // namespace ksp
