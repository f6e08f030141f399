#pragma once

#include <string>
#include <vector>

#include "tests/fuzz/random.h"

namespace ksp::test {

// Valid forms of what comes to the library from outside, varied by the seed, for mutation. Plain
// computation.

[[nodiscard]] std::wstring AddPortForm(Random& random);
[[nodiscard]] std::string SilentAddForm(Random& random);  // 8-bit text
[[nodiscard]] std::string PortRecordForm(Random& random);  // the bytes of an XcvPortInfo
// A capability document, the answer to a request for a MAC address and the header of an answer with a
// value, in UTF-8.
[[nodiscard]] std::string CapabilityForm(Random& random);
[[nodiscard]] std::string MacReplyForm(Random& random);
[[nodiscard]] std::string MimeHeaderForm(Random& random);
[[nodiscard]] std::wstring MacForm(Random& random);

// Words that mean something in these forms.
[[nodiscard]] const std::vector<std::wstring>& PortWords();
[[nodiscard]] const std::vector<std::string>& SilentWords();
[[nodiscard]] const std::vector<std::string>& XmlWords();

}  // namespace ksp::test
