#include "tests/fuzz/computing.h"
#include "tests/fuzz/fuzz_run.h"

namespace ksp::test {
namespace {

// The first byte of an input says which form it is.
TEST(ComputingFuzz, KeepsItsPromises) {
    Fuzz(
        Generator::kComputing, 20000,
        [](Random& random) {
            const auto form = static_cast<char>(random.Below(kForms));
            return form + MakeForm(static_cast<Form>(form), random);
        },
        [](const std::string& input) {
            ASSERT_FALSE(input.empty());
            EXPECT_EQ(CheckForm(static_cast<Form>(input[0]), std::string_view(input).substr(1)), "");
        });
}

}  // namespace
}  // namespace ksp::test
