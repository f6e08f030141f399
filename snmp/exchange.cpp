#include "snmp/exchange.h"

namespace ksp::snmp {

std::optional<CAnswer> CExchange::Accept(ByteView datagram) {
    auto response = DecodeResponse(datagram);
    if (!response || response->requestId != m_requestId || !Answers(response->answer, m_question)) {
        return std::nullopt;
    }
    const VersionChoice version =
        response->version == SnmpVersion::k1 ? VersionChoice::k1 : VersionChoice::k2c;
    if (m_versions != VersionChoice::kEither && m_versions != version) {
        return std::nullopt;
    }
    m_versions = version;
    return std::move(response->answer);
}

}  // namespace ksp::snmp
