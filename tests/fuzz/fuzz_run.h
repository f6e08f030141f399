#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/random.h"

namespace ksp::test {

// What makes inputs.
enum class Generator {
    kComputing,
    kAddPortString,
    kLoggedString,
    kSilentText,
    kPortRecord,
    kCommand,
    kPortValues,
    kSettings,
    kLprAcknowledgements,
    kConfirmations,
    kCapabilities,
    kMacReplies,
    kMimeReplies,
    kMimeText,
};
[[nodiscard]] const char* NameOf(Generator generator);

// Every input of this generator that ever broke something.
[[nodiscard]] std::vector<std::string> KeptInputs(Generator generator);

// How many inputs of a run the library took and how many it refused. Where all of them end the same
// way only half is tested.
struct Outcomes {
    std::size_t taken = 0;
    std::size_t refused = 0;

    void Count(bool is_taken) { ++(is_taken ? taken : refused); }
};

// The inputs of one generator: first those that were kept, then as many new ones as the test suite
// always tries, or as many as there is time for:
//   KSPMON_FUZZ_SECONDS  how long all generators of the program take together
//   KSPMON_FUZZ_SEED     the seed of the first new input (default 1); the next one has the next
//   seed, so
//                        that the seed of a failure makes it again as the first input
// While one is running, an input that ends the process or hangs is printed by whoever notices.
class FuzzRun {
  public:
    // The outcomes, if there are any, outlive the run.
    FuzzRun(Generator generator, std::size_t inputs, const Outcomes* outcomes);
    // Prints how many inputs were tried, and how they ended.
    ~FuzzRun();
    FuzzRun(const FuzzRun&) = delete;
    FuzzRun& operator=(const FuzzRun&) = delete;

    // False when the run is over.
    [[nodiscard]] bool Next();
    [[nodiscard]] Random MakeRandom() const { return Random(seed_); }
    // What is being tried from now on.
    void Trying(std::string_view input);
    // Prints the input that is being tried, as hexadecimal digits, with its seed.
    void Report(const char* what) const;
    // Some inputs were taken and some refused: of those that the test suite always tries, or of
    // enough others.
    void ExpectBothOutcomes() const;

  private:
    const Generator generator_;
    const Outcomes* const outcomes_;
    const std::size_t suite_inputs_;
    const std::uint64_t first_seed_;
    std::uint64_t seed_;
    std::size_t left_;
    std::uint64_t deadline_ = 0;  // of the steady tick count; 0: none
    std::size_t tried_ = 0;
};

// Tries inputs until one fails the test. `make` turns a Random into an input, `attempt` tries it
// and counts in `outcomes`, if there are any, how it ended.
template <typename Make, typename Attempt>
void Fuzz(Generator generator, std::size_t inputs, Make make, Attempt attempt,
          const Outcomes* outcomes = nullptr) {
    FuzzRun run(generator, inputs, outcomes);
    const auto fails = [&](const std::string& input) {
        run.Trying(input);
        // An exception would take the input with it.
        try {
            attempt(input);
        } catch (const std::exception& exception) {
            ADD_FAILURE() << "an exception: " << exception.what();
        } catch (...) {
            ADD_FAILURE() << "an exception of an unknown type";
        }
        if (::testing::Test::HasFailure()) {
            run.Report("failed");
        }
        return ::testing::Test::HasFailure();
    };
    for (const std::string& kept : KeptInputs(generator)) {
        if (fails(kept)) {
            return;
        }
    }
    while (run.Next()) {
        Random random = run.MakeRandom();
        if (fails(make(random))) {
            return;
        }
    }
    run.ExpectBothOutcomes();
}

}  // namespace ksp::test
