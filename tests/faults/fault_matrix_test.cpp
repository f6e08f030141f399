// Everything that the library calls fails once, each call in a run of its own.

#include <gtest/gtest.h>
#include <objbase.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "tests/faults/fault_run.h"
#include "tests/host/monitor_test.h"
#include "tests/host/warm_up.h"

namespace ksp::test {
namespace {

// How many faults of a boundary are tried when not all are.
constexpr size_t kSample = 8;
// A run that takes longer hangs, in seconds.
constexpr int kLongestRun = 120;

// How often a printer is asked how it is depends on time, and with it the number of all calls: the
// last ones of a run without a fault may not come again. What a printer does wrong it does each
// time.
size_t MayBeMissed(Boundary boundary, size_t selected) {
    return boundary == Boundary::kPrinter ? 0 : std::max<size_t>(1, selected / 20);
}

// Ends the process when a run does not end, and names it.
class HangGuard {
  public:
    HangGuard() : thread_([this] { Watch(); }) {}
    ~HangGuard() {
        stopping_ = true;
        thread_.join();
    }
    HangGuard(const HangGuard&) = delete;
    HangGuard& operator=(const HangGuard&) = delete;

    void RunBegins(std::string run) {
        const std::lock_guard lock(mutex_);
        run_ = std::move(run);
        left_ = kLongestRun * kTicks;
    }

  private:
    static constexpr int kTicks = 10;  // a second

    void Watch() {
        while (!stopping_) {
            Sleep(1000 / kTicks);
            const std::lock_guard lock(mutex_);
            if (--left_ == 0) {
                std::printf("a run hangs: %s\n", run_.c_str());
                std::fflush(stdout);
                std::_Exit(3);
            }
        }
    }

    std::atomic<bool> stopping_ = false;
    std::mutex mutex_;
    std::string run_;
    int left_ = kLongestRun * kTicks;
    std::thread thread_;
};

struct Surroundings {
    SharedStandins standins;
    HangGuard guard;
};

class FaultMatrixTest : public ::testing::TestWithParam<std::tuple<Transport, Boundary>> {
  protected:
    static void SetUpTestSuite() {
        WarmUp(MonitorLibraryPath());
        ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        surroundings_ = std::make_unique<Surroundings>();
        ASSERT_TRUE(standins().spooler.Connect());
        ASSERT_TRUE(standins().discovery.Connect());
    }
    static void TearDownTestSuite() {
        standins().spooler.Reset();
        standins().discovery.Reset();
        surroundings_.reset();
        ::CoUninitialize();
    }
    static SharedStandins& standins() { return surroundings_->standins; }

    static FaultRun::Result Try(Transport transport, const Fault& fault) {
        const std::string name = std::string(NameOf(transport)) + ", " + Describe(transport, fault);
        surroundings_->guard.RunBegins(name);
        if (std::getenv("KSP_FAULTS_VERBOSE") != nullptr) {
            std::printf("%s\n", name.c_str());
            std::fflush(stdout);
        }
        FaultRun::Result result = FaultRun(transport, fault, standins()).Run();
        for (const std::string& finding : result.findings) {
            ADD_FAILURE() << name << ": " << finding;
        }
        return result;
    }

  private:
    static inline std::unique_ptr<Surroundings> surroundings_;
};

TEST_P(FaultMatrixTest, EachCallFailsOnce) {
    const auto [transport, boundary] = GetParam();
    // Calls of the system are counted in the world in which they fail; the others share one.
    const Fault none{.boundary = boundary == Boundary::kSystem ? boundary : Fault().boundary};
    // What is opened at first use and kept is no leak, and the first run does not look.
    static_cast<void>(FaultRun(transport, none, standins()).Run());
    const CallCounts counts = Try(transport, none).counts;
    ASSERT_FALSE(HasFailure());
    const std::vector<Fault> faults = FaultsOf(boundary, counts);
    ASSERT_FALSE(faults.empty());
    const std::vector<Fault> selected = Selected(faults, kSample);
    size_t tried = 0;
    for (const Fault& fault : selected) {
        if (Try(transport, fault).struck) {
            ++tried;
        } else {
            std::printf("not struck: %s, %s\n", NameOf(transport),
                        Describe(transport, fault).c_str());
        }
    }
    std::printf("faults tried: %s %s %zu of %zu\n", NameOf(transport), NameOf(boundary), tried,
                faults.size());
    EXPECT_GE(tried + MayBeMissed(boundary, selected.size()), selected.size());
}

INSTANTIATE_TEST_SUITE_P(
    All, FaultMatrixTest,
    ::testing::Combine(
        ::testing::Values(Transport::kRaw, Transport::kLpr, Transport::kXlpr, Transport::kIdPrint),
        ::testing::Values(Boundary::kRegistry, Boundary::kSpooler, Boundary::kDiscovery,
                          Boundary::kMemory, Boundary::kSystem, Boundary::kPrinter)),
    [](const auto& test) {
        return std::string(NameOf(std::get<0>(test.param))) + "_" + NameOf(std::get<1>(test.param));
    });

}  // namespace
}  // namespace ksp::test
