#include "tools/snmp_agent/oid.h"

#include <algorithm>
#include <charconv>

namespace ksp::agent {

Oid OidOf(std::string_view text) {
    Oid oid;
    const char* position = text.data();
    const char* const end = position + text.size();
    for (;;) {
        uint32_t arc = 0;
        const auto [rest, error] = std::from_chars(position, end, arc);
        if (error != std::errc()) {
            return {};
        }
        oid.push_back(arc);
        if (rest == end) {
            return oid;
        }
        if (*rest != '.') {
            return {};
        }
        position = rest + 1;
    }
}

std::string TextOf(const Oid& oid) {
    std::string text;
    for (const uint32_t arc : oid) {
        text += (text.empty() ? "" : ".") + std::to_string(arc);
    }
    return text;
}

bool StartsWith(const Oid& oid, const Oid& prefix) {
    return oid.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

Oid Row(std::string_view column, const Oid& index) {
    Oid row = OidOf(column);
    row.insert(row.end(), index.begin(), index.end());
    return row;
}

}  // namespace ksp::agent
