#include "snmp/search.h"

#include <algorithm>

namespace ksp::snmp {

namespace {

// When a device is due that has just answered: there are few of those, and many others wait.
constexpr std::uint64_t kBeforeOthers = 0;
// How long messages are saved up when none may leave; milliseconds.
constexpr std::uint64_t kPause = 16;

}  // namespace

CSearch::CSearch(std::vector<Ipv4> addresses, CAgentAccess access, const CTiming& timing,
                 RequestIds newId, std::uint64_t now)
    : m_access(std::move(access)), m_timing(timing), m_newId(std::move(newId)), m_counted(now) {
    m_targets.reserve(addresses.size());
    for (const Ipv4 address : addresses) {
        if (!m_byAddress.emplace(address, m_targets.size()).second) {
            continue;
        }
        Target& target = m_targets.emplace_back();
        target.address = address;
        Schedule(m_targets.size() - 1, now);
    }
}

bool CSearch::NextQuestion(Target& target, VersionChoice versions) {
    auto question = target.query ? target.query->Next() : CDeviceQuery::FirstQuestion();
    if (!question) {
        return false;
    }
    const auto requestId = static_cast<std::int32_t>(m_newId() & 0x7FFFFFFF);
    target.exchange.emplace(std::move(*question), requestId, versions);
    target.sendings = 0;
    return true;
}

void CSearch::Schedule(std::size_t index, std::uint64_t when) {
    m_targets[index].due = when;
    m_waiting.emplace(when, index);
}

void CSearch::DropStale() {
    while (!m_waiting.empty()) {
        const auto& [when, index] = m_waiting.top();
        const Target& target = m_targets[index];
        if (!target.isOver && target.due == when) {
            return;
        }
        m_waiting.pop();
    }
}

std::uint64_t CSearch::NextTime() const {
    if (m_waiting.empty()) {
        return UINT64_MAX;
    }
    const std::uint64_t due = m_waiting.top().first;
    return m_budget > 0 ? due : std::max(due, m_counted + kPause);
}

void CSearch::Advance(std::uint64_t now, IOutput& output) {
    m_budget = std::min(kBurst, m_budget + kRate * (now - m_counted));
    m_counted = now;
    DropStale();
    while (!m_waiting.empty() && m_waiting.top().first <= now && m_budget > 0) {
        const std::size_t index = m_waiting.top().second;
        m_waiting.pop();
        switch (Step(index, now, output)) {
            case StepResult::kNothingToSend:
                break;
            case StepResult::kSent:
                --m_budget;
                break;
            case StepResult::kRefused:
                m_budget = 0;
                break;
        }
        DropStale();
    }
}

CSearch::StepResult CSearch::Step(std::size_t index, std::uint64_t now, IOutput& output) {
    Target& target = m_targets[index];
    if (!target.exchange) {
        static_cast<void>(NextQuestion(target, m_access.versions));
    }
    const bool wasAsked = target.end != 0;
    if (wasAsked && now >= target.end) {
        End(target, output);
        return StepResult::kNothingToSend;
    }
    const VersionChoice versions = target.exchange->Versions();
    const auto sending = SendingOf(target.sendings, m_timing, versions);
    if (!sending) {
        Schedule(index, target.end);
        return StepResult::kNothingToSend;
    }
    if (!Send(target, *sending, now, output)) {
        Schedule(index, target.due);
        return StepResult::kRefused;
    }
    if (!wasAsked) {
        target.end = now + m_timing.timeout;
    }
    if (target.sendings == 0) {
        target.asked = now;
    }
    const auto next = SendingOf(++target.sendings, m_timing, versions);
    Schedule(index, next ? std::min(target.asked + next->after, target.end) : target.end);
    return StepResult::kSent;
}

bool CSearch::Send(const Target& target, const CSending& sending, std::uint64_t now,
                   IOutput& output) {
    if (output.Send(target.address,
                    target.exchange->Request(sending.version, m_access.community))) {
        m_refusedSince.reset();
        return true;
    }
    if (!m_refusedSince) {
        m_refusedSince = now;
    }
    return now >= *m_refusedSince + m_timing.timeout;
}

void CSearch::End(Target& target, IOutput& output) {
    target.isOver = true;
    if (const auto query = std::move(target.query); query) {
        output.Found(query->Identity());
    }
}

void CSearch::Receive(Ipv4 address, ByteView datagram, IOutput& output) {
    const auto found = m_byAddress.find(address);
    if (found == m_byAddress.end()) {
        return;
    }
    Target& target = m_targets[found->second];
    if (target.isOver || !target.exchange) {
        return;
    }
    const auto answer = target.exchange->Accept(datagram);
    if (!answer) {
        return;
    }
    if (!target.query) {
        target.query = std::make_unique<CDeviceQuery>(address);
    }
    target.query->Take(*answer);
    if (NextQuestion(target, target.exchange->Versions())) {
        Schedule(found->second, kBeforeOthers);
    } else {
        End(target, output);
    }
    DropStale();
}

}  // namespace ksp::snmp
