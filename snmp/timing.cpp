#include "snmp/timing.h"

#include <algorithm>

namespace ksp::snmp {

namespace {

constexpr std::uint64_t kLeastInterval = 100;
// Long enough for a device on the network that is awake, so that few are asked twice.
constexpr std::uint64_t kOtherVersionAfter = 300;

}  // namespace

std::optional<CSending> SendingOf(std::uint64_t n, const CTiming& timing,
                                  VersionChoice versions) noexcept {
    const bool either = versions == VersionChoice::kEither;
    const std::uint64_t rounds = std::uint64_t{timing.retry} + 1;
    const std::uint64_t round = either ? n / 2 : n;
    if (round >= rounds) {
        return std::nullopt;
    }
    const std::uint64_t interval = std::max(
        kLeastInterval, std::min<std::uint64_t>(timing.retryInterval, timing.timeout / rounds));
    const bool isOther = either && n % 2 != 0;
    const std::uint64_t after =
        round * interval + (isOther ? std::min(kOtherVersionAfter, interval / 2) : 0);
    // The first one goes out even when there is no time for an answer.
    if (n != 0 && after >= timing.timeout) {
        return std::nullopt;
    }
    const bool is1 = versions == VersionChoice::k1 || isOther;
    return CSending{static_cast<std::uint32_t>(after), is1 ? SnmpVersion::k1 : SnmpVersion::k2c};
}

}  // namespace ksp::snmp
