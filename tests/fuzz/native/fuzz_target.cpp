// The entry for a fuzzer that makes inputs itself and watches which code they reach. KSP_FORM says which
// form this program tries.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/fuzz/computing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string wrong = ksp::test::CheckForm(
        ksp::test::Form::KSP_FORM, std::string_view(reinterpret_cast<const char*>(data), size));
    if (!wrong.empty()) {
        std::fprintf(stderr, "%s\n", wrong.c_str());
        std::abort();
    }
    return 0;
}
