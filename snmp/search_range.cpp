#include "snmp/search_range.h"

#include <unordered_set>

namespace ksp::snmp {

namespace {

struct Block {
    std::uint64_t next;
    std::uint64_t last;
};

bool IsMask(Ipv4 mask) {
    const Ipv4 hosts = ~mask;
    return (hosts & (hosts + 1)) == 0;
}

Block BlockOf(const CNetwork& network, bool& narrowed) {
    const Ipv4 mask = network.mask | CSearchRange::kWidestMask;
    narrowed = mask != network.mask;
    const Ipv4 first = network.address & mask;
    const Ipv4 last = first | ~mask;
    // Those of the whole network: a block inside it has hosts at its ends.
    const Ipv4 itself = network.address & network.mask;
    const Ipv4 all = itself | ~network.mask;
    const bool hasEnds = ~network.mask > 1;
    return {std::uint64_t{first} + (hasEnds && first == itself ? 1 : 0),
            std::uint64_t{last} - (hasEnds && last == all ? 1 : 0)};
}

// Addresses of single hosts: neither "this network" (0) nor multicast and what lies behind it.
bool IsHost(std::uint64_t address) {
    constexpr std::uint64_t kFirstHost = 0x01000000;
    constexpr std::uint64_t kMulticast = 0xE0000000;
    return address >= kFirstHost && address < kMulticast;
}

}  // namespace

CSearchRange RangeOf(const std::vector<CNetwork>& networks) {
    CSearchRange range;
    std::vector<Block> blocks;
    for (const CNetwork& network : networks) {
        bool narrowed = true;
        if (IsMask(network.mask)) {
            blocks.push_back(BlockOf(network, narrowed));
        }
        range.narrowed += narrowed ? 1 : 0;
    }
    std::unordered_set<Ipv4> taken;
    for (bool more = true; more;) {
        more = false;
        for (Block& block : blocks) {
            if (block.next > block.last) {
                continue;
            }
            more = true;
            const std::uint64_t address = block.next++;
            if (!IsHost(address) || taken.contains(static_cast<Ipv4>(address))) {
                continue;
            }
            if (taken.size() == CSearchRange::kMostAddresses) {
                ++range.narrowed;
                return range;
            }
            taken.insert(static_cast<Ipv4>(address));
            range.addresses.push_back(static_cast<Ipv4>(address));
        }
    }
    return range;
}

}  // namespace ksp::snmp
