#pragma once

#include <vector>

#include "snmp/device_query.h"

namespace ksp::snmp {

// A network as it is configured: any address in it, and its mask.
struct CNetwork {
    Ipv4 address;
    Ipv4 mask;

    friend bool operator==(const CNetwork&, const CNetwork&) = default;
};

// The addresses that a search asks, each once.
struct CSearchRange {
    // Of a network with more addresses only the 4096 (a "/20") around its stated address are asked:
    // those of the local host's neighbours, or those that begin a configured network.
    static constexpr Ipv4 kWidestMask = 0xFFFFF000;
    static constexpr std::size_t kMostAddresses = 16384;

    std::vector<Ipv4> addresses;
    // Networks that were not taken as a whole: too large, one too many, or with a mask that is
    // none.
    int narrowed = 0;
};

// The networks take turns, address by address, so that a small one is not kept waiting by a large
// one. The addresses that stand for a network itself and for all in it are left out.
[[nodiscard]] CSearchRange RangeOf(const std::vector<CNetwork>& networks);

}  // namespace ksp::snmp
