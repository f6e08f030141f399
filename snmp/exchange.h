#pragma once

#include "snmp/timing.h"

namespace ksp::snmp {

// How this library speaks to agents.
struct CAgentAccess {
    std::string community = "public";
    VersionChoice versions = VersionChoice::kEither;
    std::uint16_t port = 161;
};

// One question to one agent, as often as it has to go out, and its answer.
class CExchange {
  public:
    // The request id is the only word by which an answer is told from somebody's guess: no other
    // exchange has it, and the one who answers best cannot foresee it.
    CExchange(CQuestion question, std::int32_t requestId, VersionChoice versions)
        : m_question(std::move(question)), m_requestId(requestId), m_versions(versions) {}

    [[nodiscard]] Bytes Request(SnmpVersion version, const std::string& community) const {
        return EncodeRequest(version, community, m_requestId, m_question);
    }

    // The answer, if the datagram is one: well-formed, to this request, in a version that was asked
    // in, with a variable that can belong to the question. Whom the datagram came from is the
    // caller's to compare.
    [[nodiscard]] std::optional<CAnswer> Accept(ByteView datagram);

    // After an answer: the version it came in.
    [[nodiscard]] VersionChoice Versions() const noexcept { return m_versions; }

  private:
    CQuestion m_question;
    std::int32_t m_requestId;
    VersionChoice m_versions;
};

}  // namespace ksp::snmp
