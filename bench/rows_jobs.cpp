// Whole jobs, beside a bare loop of select and send to the same printer.

#include <algorithm>
#include <vector>

#include "bench/comparison.h"
#include "bench/floor.h"
#include "bench/rows.h"
#include "bench/stopwatch.h"
#include "tests/host/allocation_count.h"

namespace ksp::bench {
namespace {

constexpr DWORD kLpr = 0;
constexpr DWORD kXlpr = 1;
constexpr DWORD kRaw = 2;
// The shortest that anything in the monitor, or a delayed acknowledgement, would wait; in seconds.
constexpr double kShortestWait = 0.2;

std::string SizeText(uint64_t bytes) {
    return Text("%llu MiB", static_cast<unsigned long long>(bytes >> 20));
}

std::string Throughputs(const Comparison& result, uint64_t bytes) {
    const double size = static_cast<double>(bytes) / kMiB;
    return Text("%.2f of the floor (%.0f and %.0f MiB/s, medians of %zu rounds)",
                result.throughput(), size / result.work, size / result.floor, result.rounds);
}

bool MeasureJob(Bench& bench, DWORD protocol, uint64_t bytes, size_t floor_chunk, double to_reach,
                const std::string& work, const char* floor) {
    if (!bench.world.StartWith(1, protocol)) {
        return false;
    }
    const Comparison result = Compare(
        bench.extent.rounds, [&] { return BareJob(bench.address, kRawPort, bytes, floor_chunk); },
        [&] { return bench.world.Print(0, bytes, kWrite); });
    bench.report.Requirement(work, floor, Text("at least %.2f of the floor's throughput", to_reach),
                             Throughputs(result, bytes), result.throughput() >= to_reach);
    return result.complete;
}

// A job that is under way on one port, for writes that are looked at one by one.
class OpenJob {
  public:
    OpenJob(World& world, size_t port) : world_(world) {
        std::wstring name = PortName(port);
        std::wstring printer = World::kPrinter;
        std::wstring document = L"Document";
        DOC_INFO_1W info = {};
        info.pDocName = document.data();
        started_ = world_.table().pfnOpenPort(world_.monitor(), name.data(), &port_) != FALSE &&
                   world_.table().pfnStartDocPort(port_, printer.data(), World::kJob, 1,
                                                  reinterpret_cast<LPBYTE>(&info)) != FALSE;
    }
    ~OpenJob() {
        End();
        world_.table().pfnClosePort(port_);
    }
    OpenJob(const OpenJob&) = delete;
    OpenJob& operator=(const OpenJob&) = delete;

    [[nodiscard]] bool started() const { return started_; }
    [[nodiscard]] bool Write(std::vector<BYTE>& data) {
        DWORD written = 0;
        return world_.table().pfnWritePort(port_, data.data(), static_cast<DWORD>(data.size()),
                                           &written) != FALSE &&
               written == data.size();
    }
    bool End() {
        const bool ended = started_ && world_.table().pfnEndDocPort(port_) != FALSE;
        started_ = false;
        return ended;
    }

  private:
    World& world_;
    HANDLE port_ = nullptr;
    bool started_ = false;
};

// What one write in the middle of a job costs.
struct WriteCounts {
    double calls = 0;
    double requests = 0;
    bool complete = false;
};

WriteCounts CountWrites(Bench& bench, size_t port, size_t writes) {
    test::AllocationCount allocations(bench.world.module());
    std::vector<BYTE> byte(1);
    OpenJob job(bench.world, port);
    WriteCounts counts;
    counts.complete = allocations.works() && job.started() && job.Write(byte) && job.Write(byte);
    bench.world.registry().ResetCalls();
    allocations.Reset();
    for (size_t write = 0; counts.complete && write < writes; ++write) {
        counts.complete = job.Write(byte);
    }
    counts.calls =
        static_cast<double>(bench.world.registry().calls()) / static_cast<double>(writes);
    counts.requests = static_cast<double>(allocations.requests()) / static_cast<double>(writes);
    return counts;
}

// Bytes a second of a job on the last of so many ports, in the monitor and the plain way.
struct CrowdRates {
    double monitor = 0;
    double plain = 0;
};

CrowdRates MeasureRates(Bench& bench, size_t ports, uint64_t bytes) {
    const size_t plain_writes = std::clamp<size_t>(20'000 / ports, 4, 256);
    std::vector<double> monitor;
    std::vector<double> plain;
    for (size_t round = 0; round < 3; ++round) {
        plain.push_back(PlainThroughput(bench.world.registry().root_key(), PortName(ports - 1),
                                        bench.address, kRawPort, plain_writes, kWrite));
        monitor.push_back(static_cast<double>(bytes) / bench.world.Print(ports - 1, bytes, kWrite));
    }
    return {Median(monitor), Median(plain)};
}

}  // namespace

bool MeasureRawJobs(Bench& bench) {
    return MeasureJob(bench, kRaw, bench.extent.job, kWrite, 1.0,
                      "raw job of " + SizeText(bench.extent.job) + " in 64 KiB writes, one port",
                      "select and send of 64 KiB, bare");
}

bool MeasureXlprJobs(Bench& bench) {
    return MeasureJob(bench, kXlpr, bench.extent.job, kWrite, 1.0,
                      "XLPR job of " + SizeText(bench.extent.job) + " in 64 KiB writes", "as raw");
}

bool MeasureLprJobs(Bench& bench) {
    return MeasureJob(bench, kLpr, bench.extent.lpr_job, 1024, 1.25,
                      "LPR job of " + SizeText(bench.extent.lpr_job) + ", spooling included",
                      "select and send of 1,024 bytes, bare");
}

bool MeasureOneByte(Bench& bench) {
    if (!bench.world.StartWith(1, kRaw, false)) {
        return false;
    }
    const WriteCounts fresh = CountWrites(bench, 0, 16);
    if (!bench.world.StartWith(1, kRaw)) {
        return false;
    }
    const WriteCounts settled = CountWrites(bench, 0, 16);
    bench.report.Requirement(
        "WritePort of 1 byte, one port", "", "at most 5 registry calls and 2 allocations",
        Text(
            "%.1f registry calls and %.1f allocations; %.1f and %.1f in the seconds after the port "
            "was changed",
            settled.calls, settled.requests, fresh.calls, fresh.requests),
        std::max(settled.calls, fresh.calls) <= 5 &&
            std::max(settled.requests, fresh.requests) <= 2);
    return settled.complete && fresh.complete;
}

bool MeasureCrowd(Bench& bench) {
    bool complete = true;
    for (const size_t ports :
         {size_t{1}, size_t{10}, size_t{100}, bench.extent.crowd, bench.extent.ports}) {
        if (!bench.world.StartWith(ports, kRaw)) {
            return false;
        }
        const bool row = ports == bench.extent.crowd;
        const WriteCounts counts = CountWrites(bench, ports - 1, 8);
        const uint64_t bytes = row ? bench.extent.crowd_job : (64ULL << 20) / ports + (1ULL << 20);
        const CrowdRates rates = MeasureRates(bench, ports, bytes);
        const auto x = static_cast<double>(ports);
        bench.report.Point("write-calls", "registry calls", x, counts.calls);
        bench.report.Point("write-throughput", "the monitor", x, rates.monitor / kMiB);
        bench.report.Point("write-throughput", "the plain way", x, rates.plain / kMiB);
        complete = complete && counts.complete && rates.monitor > 0 && rates.plain > 0;
        if (row) {
            bench.report.Requirement(
                "raw job of " + SizeText(bytes) + Text(" on the last of %zu ports", ports),
                "opening and reading every value of every key before each select and send",
                "at most ports + 4 registry calls a write; at least 10 times the throughput",
                Text("%.1f registry calls; %.1f times (%.2f and %.3f MiB/s, medians of 3 rounds)",
                     counts.calls, rates.monitor / rates.plain, rates.monitor / kMiB,
                     rates.plain / kMiB),
                counts.calls <= x + 4 && rates.monitor >= 10 * rates.plain);
        }
    }
    return complete;
}

bool MeasureLongJob(Bench& bench) {
    if (!bench.world.StartWith(1, kRaw) || bench.world.Print(0, 64 << 20, kWrite) < 0) {
        return false;
    }
    size_t least = PrivateBytes();
    size_t most = least;
    const double seconds = bench.world.Print(0, bench.extent.long_job, kWrite, [&](uint64_t bytes) {
        const size_t now = PrivateBytes();
        least = std::min(least, now);
        most = std::max(most, now);
        bench.report.Point("long-job", "private memory", static_cast<double>(bytes) / kMiB,
                           static_cast<double>(now) / kMiB);
    });
    const double change = static_cast<double>(most - least) / kMiB;
    bench.report.Requirement(
        "a job of " + SizeText(bench.extent.long_job), "",
        "memory of the process flat within 4 MiB",
        Text("%.2f MiB between least and most (%.1f to %.1f MiB)", change,
             static_cast<double>(least) / kMiB, static_cast<double>(most) / kMiB),
        seconds > 0 && change <= 4);
    return seconds > 0;
}

bool MeasureEnd(Bench& bench) {
    if (!bench.world.StartWith(1, kRaw)) {
        return false;
    }
    std::vector<BYTE> data(kWrite);
    double longest = 0;
    const Comparison result = Compare(
        10 * bench.extent.rounds, [&] { return BareEnd(bench.address, kRawPort, data.size()); },
        [&] {
            OpenJob job(bench.world, 0);
            if (!job.started() || !job.Write(data)) {
                return -1.0;
            }
            const Stopwatch watch;
            const bool ended = job.End();
            const double seconds = watch.Seconds();
            longest = std::max(longest, seconds);
            return ended ? seconds : -1;
        });
    bench.report.Requirement(
        "time from EndDocPort to its return, printer closing at once",
        "shutdown, waiting for the printer's end, bare", "no wait that is not the printer's",
        Text("%.2f ms, the floor %.2f ms; the longest of %zu was %.2f ms", result.work * 1e3,
             result.floor * 1e3, result.rounds, longest * 1e3),
        result.work < 10 * result.floor && longest < kShortestWait);
    return result.complete;
}

}  // namespace ksp::bench
