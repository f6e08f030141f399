// Writes valid forms as files, with which a fuzzer begins: seed_forms DIRECTORY FORM COUNT
// Without arguments it prints the names of the forms, a line each, in the order of their numbers.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/fuzz/computing.h"

int main(int count, char** arguments) {
    if (count == 1) {
        for (int form = 0; form < ksp::test::kForms; ++form) {
            std::puts(ksp::test::NameOf(static_cast<ksp::test::Form>(form)));
        }
        return 0;
    }
    if (count != 4) {
        return 2;
    }
    const auto form = static_cast<ksp::test::Form>(std::atoi(arguments[2]));
    for (int seed = 1; seed <= std::atoi(arguments[3]); ++seed) {
        ksp::test::Random random(static_cast<std::uint64_t>(seed));
        std::ofstream file(arguments[1] + ("/" + std::to_string(seed)), std::ios::binary);
        file << ksp::test::MakeForm(form, random);
    }
    return 0;
}
