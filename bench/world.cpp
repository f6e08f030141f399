#include "bench/world.h"

#include <algorithm>
#include <vector>

#include "bench/stopwatch.h"
#include "tests/host/monitor_test.h"

namespace ksp::bench {
namespace {

constexpr DWORD kSettlingTime = 7000;  // milliseconds
// The stand-in spooler notes every call; its notes are thrown away after so many writes.
constexpr size_t kWritesBetweenTicks = 512;

}  // namespace

bool World::Prepare() {
    if (!registry_.ready() || !spooler_.Connect()) {
        return false;
    }
    spooler_.Reset();
    spooler_.PutPrinter({.name = kPrinter, .port_names = PortName(0)});
    spooler_.PutJob(kPrinter, test::WinspoolControl::SampleJob(kJob));
    std::wstring directory(MAX_PATH, L'\0');
    directory.resize(::GetTempPathW(MAX_PATH, directory.data()));
    return registry_.SetSetting(L"LPRDirectory", directory + L"kspbench") &&
           registry_.SetSetting(L"LogDirectory", directory + L"kspbench") &&
           registry_.SetSetting(L"ExeDirectory", directory + L"kspbench") &&
           registry_.SetSetting(L"WaitServerReplyTimeout", 20);
}

bool World::WriteKeys(size_t ports, DWORD protocol) {
    return WritePorts(registry_.root_key(), {ports, protocol, address_});
}

bool World::Load() {
    return library_.Load(test::MonitorLibraryPath());
}

double World::TimedInitialize() {
    const Stopwatch watch;
    const bool started = library_.Initialize(registry_);
    return started ? watch.Seconds() : -1;
}

bool World::StartWith(size_t ports, DWORD protocol, bool settle) {
    Stop();
    if (!WriteKeys(ports, protocol) || !Load() || TimedInitialize() < 0) {
        return false;
    }
    if (settle) {
        ::Sleep(kSettlingTime);
    }
    return true;
}

double World::Print(size_t port, uint64_t bytes, size_t chunk, const Tick& tick) {
    host::SpoolerJob job = {.port = PortName(port), .printer = kPrinter, .job_id = kJob};
    uint64_t left = bytes;
    const host::JobRunner::Source source = [&left](std::span<uint8_t> buffer) {
        const size_t count = static_cast<size_t>(std::min<uint64_t>(left, buffer.size()));
        left -= count;
        return count;
    };
    size_t writes = 0;
    const host::JobOptions options = {
        .chunk_size = chunk, .progress = [&](const host::JobProgress& progress) {
            if (++writes % kWritesBetweenTicks == 0) {
                spooler_.ClearCalls();
                if (tick) {
                    tick(progress.bytes_taken);
                }
            }
        }};
    spooler_.ClearCalls();
    const Stopwatch watch;
    const host::JobOutcome outcome = host::JobRunner(table(), monitor()).Run(job, source, options);
    const double seconds = watch.Seconds();
    return outcome.printed() && outcome.bytes_taken == bytes ? seconds : -1;
}

}  // namespace ksp::bench
