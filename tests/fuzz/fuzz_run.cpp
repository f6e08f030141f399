#include "tests/fuzz/fuzz_run.h"

#include <windows.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "tests/fuzz/mutation.h"
#include "tools/host/slim_mutex.h"

namespace ksp::test {

namespace {

constexpr std::uint64_t kHangs = 90 * 1000;  // milliseconds; longer than any time-out that is set

struct Attempt {
    Generator generator = Generator::kComputing;
    std::uint64_t seed = 0;
    std::string input;
    std::uint64_t since = 0;
};

// Not the standard's mutex, which keeps an event once two threads met at it: tests count the
// events.
host::SlimMutex g_mutex;
std::optional<Attempt> g_attempt;

void Print(const Attempt& attempt, const char* what) {
    std::printf("fuzz: %s: input %s, seed %llu: %s\n", NameOf(attempt.generator), what,
                static_cast<unsigned long long>(attempt.seed), Hexadecimal(attempt.input).c_str());
    std::fflush(stdout);
}

[[noreturn]] void Die(const char* what) {
    // Without the lock: whoever holds it may be the one that crashed.
    if (g_attempt) {
        Print(*g_attempt, what);
    }
    TerminateProcess(GetCurrentProcess(), 3);
    std::abort();
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* exception) {
    std::printf("fuzz: exception 0x%08lX at %p\n", exception->ExceptionRecord->ExceptionCode,
                exception->ExceptionRecord->ExceptionAddress);
    Die("crashed");
}

void OnAbort(int) {
    Die("aborted");
}

std::uint64_t Number(const char* variable, std::uint64_t otherwise) {
    const char* const text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

// Ends the process when an input hangs, so that it is known which one it was.
class Watch : public ::testing::Environment {
  public:
    void SetUp() override {
        SetUnhandledExceptionFilter(OnCrash);
        std::signal(SIGABRT, OnAbort);
        thread_ = std::jthread([](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                Sleep(200);
                const std::lock_guard lock(g_mutex);
                if (g_attempt && GetTickCount64() - g_attempt->since > kHangs) {
                    Die("hangs");
                }
            }
        });
    }
    void TearDown() override { thread_ = {}; }

  private:
    std::jthread thread_;
};

const ::testing::Environment* const g_watch = ::testing::AddGlobalTestEnvironment(new Watch);

}  // namespace

const char* NameOf(Generator generator) {
    switch (generator) {
        case Generator::kComputing:
            return "computing code";
        case Generator::kAddPortString:
            return "AddPort string";
        case Generator::kLoggedString:
            return "AddPort string, logged";
        case Generator::kSilentText:
            return "silent-add text";
        case Generator::kPortRecord:
            return "port record";
        case Generator::kCommand:
            return "other commands";
        case Generator::kPortValues:
            return "registry values of ports";
        case Generator::kSettings:
            return "registry values of settings";
        case Generator::kLprAcknowledgements:
            return "LPR acknowledgements";
        case Generator::kConfirmations:
            return "CONF_REQ replies";
        case Generator::kCapabilities:
            return "capability documents";
        case Generator::kMacReplies:
            return "MAC-address replies";
        case Generator::kMimeReplies:
            return "MIME replies";
        case Generator::kMimeText:
            return "MIME text";
    }
    return "?";
}

FuzzRun::FuzzRun(Generator generator, std::size_t inputs, const Outcomes* outcomes)
    : generator_(generator),
      outcomes_(outcomes),
      suite_inputs_(inputs),
      first_seed_(Number("KSPMON_FUZZ_SEED", 1)),
      seed_(first_seed_ - 1),
      left_(inputs) {
    const std::uint64_t seconds = Number("KSPMON_FUZZ_SECONDS", 0);
    if (seconds != 0) {
        const auto generators =
            static_cast<std::uint64_t>(::testing::UnitTest::GetInstance()->test_to_run_count());
        deadline_ = GetTickCount64() + seconds * 1000 / generators;
    }
}

FuzzRun::~FuzzRun() {
    const std::lock_guard lock(g_mutex);
    g_attempt.reset();
    std::printf("fuzz: %s: %zu inputs tried, ", NameOf(generator_), tried_);
    if (outcomes_ != nullptr) {
        std::printf("%zu taken, %zu refused, ", outcomes_->taken, outcomes_->refused);
    }
    std::printf("seeds from %llu\n", static_cast<unsigned long long>(first_seed_));
    std::fflush(stdout);
}

bool FuzzRun::Next() {
    if (deadline_ != 0 ? GetTickCount64() >= deadline_ : left_ == 0) {
        return false;
    }
    left_ -= deadline_ != 0 ? 0U : 1U;
    ++seed_;
    return true;
}

void FuzzRun::Trying(std::string_view input) {
    ++tried_;
    const std::lock_guard lock(g_mutex);
    g_attempt = Attempt{generator_, seed_, std::string(input), GetTickCount64()};
}

void FuzzRun::Report(const char* what) const {
    const std::lock_guard lock(g_mutex);
    if (g_attempt) {
        Print(*g_attempt, what);
    }
}

void FuzzRun::ExpectBothOutcomes() const {
    // A few inputs from a seed of their own may happen to end the same way.
    constexpr std::size_t kManyTimes = 10;
    const std::size_t enough = suite_inputs_ * (deadline_ != 0 ? kManyTimes : 1);
    if (outcomes_ != nullptr && tried_ >= enough) {
        EXPECT_GT(outcomes_->taken, 0U) << NameOf(generator_) << ": nothing was taken";
        EXPECT_GT(outcomes_->refused, 0U) << NameOf(generator_) << ": nothing was refused";
    }
}

}  // namespace ksp::test
