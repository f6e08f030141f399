#pragma once

#include <string>
#include <string_view>

#include "tests/fuzz/computing.h"

namespace ksp::test {

// The forms of the discovery library, which CheckForm and MakeForm hand on.
[[nodiscard]] std::string CheckSnmpForm(Form form, std::string_view input);
[[nodiscard]] std::string MakeSnmpForm(Form form, Random& random);

}  // namespace ksp::test
