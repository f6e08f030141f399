// Inputs that broke something once, or that reach an edge at which a change of the code would. A line
// says what; an input is kept for ever.

#include "tests/fuzz/fuzz_run.h"
#include "tests/fuzz/mutation.h"

namespace ksp::test {

namespace {

struct KeptInput {
    Generator generator;
    const char* bytes;  // hexadecimal
};

constexpr KeptInput kKept[] = {
    // A value without a byte was lost on the way through its own MIME message.
    {Generator::kComputing, "0a"},
    // Nothing at all.
    {Generator::kAddPortString, ""},
    {Generator::kSilentText, ""},
    {Generator::kPortRecord, ""},
    {Generator::kPortValues, ""},
    {Generator::kSettings, ""},
    {Generator::kCapabilities, ""},
};

}  // namespace

std::vector<std::string> KeptInputs(Generator generator) {
    std::vector<std::string> inputs;
    for (const KeptInput& kept : kKept) {
        if (kept.generator == generator) {
            inputs.push_back(FromHexadecimal(kept.bytes));
        }
    }
    return inputs;
}

}  // namespace ksp::test
