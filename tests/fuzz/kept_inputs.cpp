// Inputs that broke something once, or that reach an edge at which a change of the code would. A
// line says what; an input is kept for ever.

#include <optional>

#include "tests/fuzz/computing.h"
#include "tests/fuzz/fuzz_run.h"
#include "tests/fuzz/mutation.h"

namespace ksp::test {

namespace {

struct KeptInput {
    Generator generator;
    const char* bytes;  // hexadecimal
    // Of the computing code: which form the bytes are, by name, so that a new form changes no
    // input.
    std::optional<Form> form = std::nullopt;
};

constexpr KeptInput kKept[] = {
    // A value without a byte was lost on the way through its own MIME message.
    {Generator::kComputing, "", Form::kMimeMessage},
    // A version number of 400 digits in a declaration ended the process within Wine's parser.
    {Generator::kCapabilities, "3c3f786d6c2076657273696f6e3d22312e30{400}223f3e3c612f3e"},
    // A network with half a character in it ends the search; the test asked for it all the same.
    {Generator::kSettings,
     "1001320031002e0000d82e0030002e0030003b003200350035002e0030002e0030002e003000350035002e003000"
     "2e0030002e0030000a04040000ff00030b0404000100000003040400921abca8"},
    // A daemon that acknowledges the data ahead of time and then hangs up: the test called its job
    // lost.
    {Generator::kLprAcknowledgements, "00000025000000ff000000000100000000"},
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
            const std::string form = kept.form ? std::string(1, static_cast<char>(*kept.form)) : "";
            inputs.push_back(form + FromHexadecimal(kept.bytes));
        }
    }
    return inputs;
}

}  // namespace ksp::test
