#pragma once

#include <string>
#include <vector>

namespace ksp {

// The MAC addresses under which a printer may be found: the stored one as it is, and the variants
// of the other network interfaces of the same printer, which differ from it in bit 0x02 of the
// first byte and in bit 0x80 of the fifth. Variants are 12 upper-case hexadecimal digits. A stored
// text that does not begin with 12 hexadecimal digits has no variants. Plain computation.
[[nodiscard]] std::vector<std::wstring> MacCandidates(const std::wstring& stored);

// The first candidate that equals the reported address, letter case aside; null when none does. A device
// that reports none is nobody's printer, also for a port that has no address stored.
[[nodiscard]] const std::wstring* FindMacCandidate(const std::vector<std::wstring>& candidates,
                                                   const std::wstring& reported);

}  // namespace ksp
