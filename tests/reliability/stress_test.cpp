// Everything at once: jobs on many ports, while other threads add, configure, enumerate, query and
// delete ports, also the very ones that print. Every byte of every job is looked at.
//
// KSPMON_STRESS_SECONDS in the environment: for how long; without it for a number of jobs.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <thread>

#include "tests/monitor/port_call_test.h"
#include "tests/reliability/log_check.h"
#include "tests/reliability/port_names.h"
#include "tests/reliability/test_hive.h"
#include "tests/reliability/troubled_printer.h"
#include "tests/reliability/xcv_client.h"

namespace ksp::test {
namespace {

constexpr size_t kPorts = 8;
constexpr unsigned kJobsPerPort = 6;  // without a time
constexpr unsigned kBatch = 3;        // jobs from one look at the printer to the next
constexpr DWORD kDone = ERROR_SUCCESS;
constexpr DWORD kRefused = ERROR_NOT_READY;
constexpr DWORD kLpr = 0;
constexpr DWORD kXlpr = 1;
constexpr DWORD kRaw = 2;

// What was done, for the line at the end.
struct Counts {
    std::atomic<size_t> jobs = 0;
    std::atomic<size_t> bytes = 0;
    std::atomic<size_t> cut_jobs = 0;     // of a port that was deleted under them
    std::atomic<size_t> spared_jobs = 0;  // that came through before
    std::atomic<size_t> ports_added = 0;
    std::atomic<size_t> configured = 0;
    std::atomic<size_t> refused_configurations = 0;
    std::atomic<size_t> refused_deletions = 0;
    std::atomic<size_t> looks = 0;  // enumerations and queries
};

// One of the ports that stay, or one that is deleted under its jobs.
struct StressPort {
    std::wstring name;
    std::string address = standins::NewLoopbackAddress();
    DWORD protocol = kRaw;

    [[nodiscard]] std::wstring wide_address() const { return {address.begin(), address.end()}; }
    [[nodiscard]] std::uint16_t number() const {
        return protocol == kRaw ? standins::LoopbackPrinter::kRawPort : standins::LpdPrinter::kPort;
    }
    [[nodiscard]] TroubledPrinter::Behavior printer() const {
        return protocol == kRaw ? TroubledPrinter::Behavior(standins::PrinterBehavior())
                                : TroubledPrinter::Behavior(standins::LpdBehavior());
    }
};

enum class Registry { kMemory, kMachine };

void PrintTo(Registry registry, std::ostream* out) {
    *out << (registry == Registry::kMemory ? "memory" : "machine");
}

class StressTest : public PortCallTest, public ::testing::WithParamInterface<Registry> {
  protected:
    // Seconds. No printer is ill here, and the machine may be slow.
    static constexpr DWORD kReplyTimeout = 60;

    void SetUp() override {
        PortCallTest::SetUp();
        if (const char* text = std::getenv("KSPMON_STRESS_SECONDS"))
            end_ = GetTickCount64() + 1000ULL * std::strtoul(text, nullptr, 10);
        if (GetParam() == Registry::kMachine) {
            hive_name_ = L"kspmon-test stress " + std::to_wstring(GetCurrentProcessId());
            hive_.emplace(hive_name_);
            hive_->SetUpMonitor(directory());
            hive_->SetSetting(L"WaitServerReplyTimeout", kReplyTimeout);
        } else {
            SetSetting(L"LPRDirectory", directory());
            SetSetting(L"WaitServerReplyTimeout", kReplyTimeout);
        }
        constexpr DWORD kProtocols[kPorts] = {kRaw, kLpr, kXlpr, kRaw, kRaw, kLpr, kXlpr, kRaw};
        for (size_t index = 0; index < kPorts; ++index) {
            ports_[index].name = L"port " + std::to_wstring(index);
            ports_[index].protocol = kProtocols[index];
        }
        FillLog();
        ASSERT_TRUE(library().Load(MonitorLibraryPath()));
        ASSERT_TRUE(hive_ ? library().Initialize(*hive_) : library().Initialize(store()));
        spooler().PutPort(L"LPT1:");
        XcvClient client(table(), monitor());
        for (const StressPort& port : ports_) {
            spooler().PutPrinter({.name = port.name, .port_names = port.name});
            ASSERT_EQ(client.AddPort(port.name, port.protocol, port.wide_address()), kDone);
        }
    }
    void TearDown() override {
        Unload();
        ExpectWholeLogs(directory());
        EXPECT_TRUE(HasWholeLines(directory() + L"\\log1.txt")) << "the log never rotated";
        hive_.reset();
        TestHive::Remove(hive_name_);
        PortCallTest::TearDown();
    }

    // The smallest log that there is rotates at a megabyte; a little of that is left, so that it
    // does in the middle of the jobs.
    void FillLog() const {
        constexpr size_t kMissing = 150'000;
        const std::string line =
            "[11/21/26: 18:06:36 PID(32) TID(36)] TRACE    a line of a former life\r\n";
        std::ofstream file(std::filesystem::path(log_path()), std::ios::binary);
        for (size_t size = kMissing; size < size_t{1024} * 1024; size += line.size())
            file << line;
    }
    [[nodiscard]] bool IsOver(unsigned jobs) const {
        return end_ != 0 ? GetTickCount64() >= end_ : jobs >= kJobsPerPort;
    }
    bool IsReportedSent(const std::wstring& printer, DWORD job_id) {
        return (spooler().JobStatus(printer, job_id).value_or(0) & JOB_STATUS_COMPLETE) != 0;
    }
    host::JobOutcome PrintDocument(const std::wstring& port, const std::wstring& printer,
                                   DWORD job_id, const Bytes& document,
                                   const host::JobOptions& options) {
        spooler().PutJob(printer, WinspoolControl::SampleJob(job_id));
        return Print({.port = port, .printer = printer, .job_id = job_id}, document, options);
    }

    // A port that stays: each of its jobs arrives, and no write of it is ever refused.
    void PrintJobs(size_t index) {
        const StressPort& port = ports_[index];
        std::minstd_rand random(static_cast<unsigned>(index) + 1);
        for (unsigned job = 0; !IsOver(job);) {
            TroubledPrinter printer(port.number(), port.address);
            ASSERT_TRUE(printer.Become(port.printer()));
            std::vector<Bytes> documents;
            for (unsigned in_batch = 0; in_batch < kBatch; ++in_batch) {
                documents.push_back(Document(1 + random() % 100'000, ++job));
                const host::JobOutcome outcome =
                    PrintDocument(port.name, port.name, job, documents.back(),
                                  {.chunk_size = 500 + random() % 30'000});
                EXPECT_TRUE(outcome.printed())
                    << "at step " << static_cast<int>(outcome.failed_step);
                EXPECT_EQ(outcome.refusals, 0u) << "the printer takes everything";
                EXPECT_TRUE(IsReportedSent(port.name, job));
                spooler().RemoveJob(port.name, job);
                ++counts_.jobs;
                counts_.bytes += documents.back().size();
            }
            const std::vector<Bytes> received = printer.Documents(documents.size());
            ASSERT_EQ(received.size(), documents.size());
            for (size_t number = 0; number < documents.size(); ++number)
                EXPECT_TRUE(SameBytes(documents[number], received[number]));
            EXPECT_EQ(printer.Violations(), "");
        }
    }

    // A port that is deleted and added again while it prints, by another thread and at once: its
    // job arrives and is reported sent, or part of it arrives and it is not.
    void PrintOnDeletedPort(const StressPort& port) {
        // The printer goes by another port: nobody refuses the deletion.
        const std::wstring queue = L"queue of " + port.name;
        spooler().PutPrinter({.name = queue, .port_names = L"another port"});
        std::minstd_rand random(port.protocol + 100);
        XcvClient client(table(), monitor());
        for (unsigned job = 0; !jobs_are_over_;) {
            TroubledPrinter printer(port.number(), port.address);
            ASSERT_TRUE(printer.Become(port.printer()));
            const Bytes document = Document(60'000, ++job);
            EXPECT_EQ(client.AddPort(port.name, port.protocol, port.wide_address()), kDone);
            ++counts_.ports_added;
            // Anywhere in the job, also behind its last write.
            const size_t moment = random() % 70'000;
            std::atomic<bool> at_moment = false;
            std::thread deleter([&] {
                XcvClient own(table(), monitor());
                while (!at_moment)
                    Sleep(0);
                EXPECT_EQ(own.DeletePort(port.name), kDone);
            });
            host::JobOptions options{.chunk_size = 2000, .max_refusals = 3};
            options.progress = [&](const host::JobProgress& progress) {
                at_moment = at_moment || progress.bytes_taken >= moment;
            };
            const host::JobOutcome outcome =
                PrintDocument(port.name, queue, job, document, options);
            at_moment = true;
            deleter.join();
            // A port that goes right behind EndDocPort cannot be closed any more.
            const bool printed =
                outcome.printed() || outcome.failed_step == host::JobStep::kClosePort;
            EXPECT_EQ(IsReportedSent(queue, job), printed);
            spooler().RemoveJob(queue, job);
            ++(printed ? counts_.spared_jobs : counts_.cut_jobs);
            const std::vector<Bytes> received = printer.Documents(printed ? 1 : 0);
            ASSERT_LE(received.size(), 1u);
            Bytes arrived = received.empty() ? Bytes() : received[0];
            // A data file that is broken off is ended all the same, by its zero octet.
            if (port.protocol != kRaw && !printed && !arrived.empty() && arrived.back() == 0)
                arrived.pop_back();
            ASSERT_LE(arrived.size(), document.size());
            EXPECT_TRUE(std::equal(arrived.begin(), arrived.end(), document.begin()));
            EXPECT_TRUE(!printed || arrived.size() == document.size());
        }
    }

    // Ports that come and go, in front of the others in the registry.
    void ChangePorts(unsigned number) {
        const std::wstring name = L"a volatile port " + std::to_wstring(number);
        XcvClient client(table(), monitor());
        while (!jobs_are_over_) {
            EXPECT_EQ(client.AddPort(name, number % 3, L"127.0.0.1"), kDone);
            EXPECT_TRUE(client.IsKspPort(name));
            EXPECT_EQ(client.AddPort(name, kRaw, L"127.0.0.2"),
                      static_cast<DWORD>(ERROR_ALREADY_EXISTS));
            const HANDLE port = Open(name);
            EXPECT_NE(port, nullptr);
            EXPECT_TRUE(Close(port));
            EXPECT_EQ(client.DeletePort(name), kDone);
            EXPECT_FALSE(client.IsKspPort(name));
            ++counts_.ports_added;
        }
    }

    // Tries to configure and to delete the ports that print: the first is refused during a job, the
    // second always, for a printer uses the port.
    void MeddleWithPrintingPorts() {
        std::minstd_rand random(7);
        XcvClient client(table(), monitor());
        auto record = std::make_unique<XcvClient::Record>();
        while (!jobs_are_over_) {
            const StressPort& port = ports_[random() % kPorts];
            ASSERT_EQ(client.GetPortConfig(port.name, *record), kDone);
            const DWORD configured = client.ConfigurePort(*record);
            const DWORD added = client.AddPort(port.name, port.protocol, port.wide_address());
            constexpr DWORD kOpen = ERROR_INVALID_DATA;
            EXPECT_TRUE(configured == kDone || configured == kOpen) << configured;
            EXPECT_TRUE(added == ERROR_ALREADY_EXISTS || added == kOpen) << added;
            ++(configured == kDone ? counts_.configured : counts_.refused_configurations);
            ++(added == kOpen ? counts_.refused_configurations : counts_.configured);
            EXPECT_EQ(client.DeletePort(port.name), kRefused);
            ++counts_.refused_deletions;
        }
    }

    void LookAtPorts() {
        XcvClient client(table(), monitor());
        auto record = std::make_unique<XcvClient::Record>();
        while (!jobs_are_over_) {
            EnumerateOnce(1 + static_cast<DWORD>(counts_.looks % 2));
            for (const StressPort& port : ports_) {
                EXPECT_TRUE(client.IsKspPort(port.name));
                ASSERT_EQ(client.GetPortConfig(port.name, *record), kDone);
                EXPECT_EQ(XcvClient::NameIn(*record), port.name);
                EXPECT_EQ(XcvClient::AddressIn(*record), port.wide_address());
                ++counts_.looks;
            }
            EXPECT_EQ(client.PortExists(ports_[0].name), static_cast<DWORD>(ERROR_UNKNOWN_PORT));
            // Nobody looks at them, and they would fill the memory.
            spooler().ClearCalls();
        }
    }
    void EnumerateOnce(DWORD level) {
        const PortNames names = EnumeratePorts(table(), monitor(), level);
        for (const StressPort& port : ports_)
            EXPECT_EQ(names.count(port.name), 1u);
        EXPECT_LE(names.size(), kPorts + 5);
        ++counts_.looks;
    }

    std::optional<TestHive> hive_;
    std::wstring hive_name_ = L"kspmon-test stress";
    ULONGLONG end_ = 0;
    StressPort ports_[kPorts];
    Counts counts_;
    std::atomic<bool> jobs_are_over_ = false;
};

INSTANTIATE_TEST_SUITE_P(, StressTest, ::testing::Values(Registry::kMemory, Registry::kMachine),
                         [](const auto& test) {
                             return test.param == Registry::kMemory ? "Memory" : "Machine";
                         });

TEST_P(StressTest, EveryJobArrivesWholeOrIsReportedFailed) {
    const StressPort deleted_ports[] = {{.name = L"b deleted raw port", .protocol = kRaw},
                                        {.name = L"b deleted lpr port", .protocol = kLpr},
                                        {.name = L"b deleted xlpr port", .protocol = kXlpr}};
    std::vector<std::thread> others;
    for (const StressPort& port : deleted_ports)
        others.emplace_back([this, &port] { PrintOnDeletedPort(port); });
    for (unsigned number = 0; number < 2; ++number)
        others.emplace_back([this, number] { ChangePorts(number); });
    others.emplace_back([this] { MeddleWithPrintingPorts(); });
    others.emplace_back([this] { LookAtPorts(); });
    std::vector<std::thread> jobs;
    for (size_t index = 0; index < kPorts; ++index)
        jobs.emplace_back([this, index] { PrintJobs(index); });
    for (std::thread& thread : jobs)
        thread.join();
    jobs_are_over_ = true;
    for (std::thread& thread : others)
        thread.join();

    EXPECT_GT(counts_.cut_jobs, 0u);
    EXPECT_GT(counts_.ports_added, 0u);
    EXPECT_GT(counts_.configured, 0u);
    EXPECT_GT(counts_.refused_configurations, 0u);
    EXPECT_GT(counts_.refused_deletions, 0u);
    EXPECT_GT(counts_.looks, 0u);
    std::printf(
        "stress: %zu jobs of %zu bytes whole; %zu jobs cut by a deletion, %zu not; "
        "%zu ports added; %zu configurations, %zu refused; %zu deletions refused; "
        "%zu looks\n",
        counts_.jobs.load(), counts_.bytes.load(), counts_.cut_jobs.load(),
        counts_.spared_jobs.load(), counts_.ports_added.load(), counts_.configured.load(),
        counts_.refused_configurations.load(), counts_.refused_deletions.load(),
        counts_.looks.load());
}

}  // namespace
}  // namespace ksp::test
