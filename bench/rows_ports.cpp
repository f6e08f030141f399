// Many ports: starting, listing, finding; and the cost of a log call that is not written.

#include <windows.h>

#include <psapi.h>

#include <array>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "bench/comparison.h"
#include "bench/floor.h"
#include "bench/rows.h"
#include "bench/stopwatch.h"
#include "support/log.h"
#include "tests/host/allocation_count.h"

namespace ksp::bench {
namespace {

constexpr DWORD kRaw = 2;
constexpr size_t kShortRounds = 301;
constexpr size_t kLookUps = 100;

// A short work is repeated, and its time divided, so that the clock does not show; but so briefly that
// the system rarely takes the processor away in between, which would be counted as the work's.
template <class Work>
double Repeated(size_t times, Work work) {
    const Stopwatch watch;
    for (size_t time = 0; time < times; ++time) {
        work();
    }
    return watch.Seconds() / static_cast<double>(times);
}

std::array<size_t, 4> Counts(const Bench& bench) {
    return {10, 100, bench.extent.crowd, bench.extent.ports};
}

struct StartUp {
    Comparison time;
    double heap_bytes = 0;     // held by the monitor, a port
    double private_bytes = 0;  // of the process, a port
};

double TimedStart(Bench& bench) {
    bench.world.Stop();
    return bench.world.Load() ? bench.world.TimedInitialize() : -1;
}

StartUp MeasureStart(Bench& bench, size_t ports) {
    StartUp result;
    bench.world.Stop();
    if (!bench.world.WriteKeys(ports, kRaw) || !bench.world.Load()) {
        result.time.complete = false;
        return result;
    }
    {
        test::AllocationCount allocations(bench.world.module());
        const size_t before = PrivateBytes();
        result.time.complete = allocations.works() && bench.world.TimedInitialize() > 0;
        const auto count = static_cast<double>(ports);
        result.heap_bytes = static_cast<double>(allocations.bytes_held()) / count;
        result.private_bytes = (static_cast<double>(PrivateBytes()) - static_cast<double>(before)) /
                               count;
    }
    const bool complete = result.time.complete;
    result.time = Compare(
        bench.extent.rounds, [&] { return BareLoad(bench.world.registry().root_key()); },
        [&] { return TimedStart(bench); });
    result.time.complete = result.time.complete && complete;
    return result;
}

struct PortListing {
    Comparison enumeration;
    Comparison opening;
};

bool FillList(const World& world, std::vector<BYTE>& buffer) {
    DWORD needed = 0;
    DWORD returned = 0;
    world.table().pfnEnumPorts(world.monitor(), nullptr, 2, nullptr, 0, &needed, &returned);
    buffer.resize(needed);
    return world.table().pfnEnumPorts(world.monitor(), nullptr, 2, buffer.data(), needed, &needed,
                                      &returned) != FALSE;
}

PortListing MeasureListing(Bench& bench, size_t ports) {
    PortListing result;
    std::vector<BYTE> list;
    if (!FillList(bench.world, list)) {
        result.enumeration.complete = false;
        return result;
    }
    std::vector<BYTE> copy(list.size());
    const size_t times = 2'000 / ports + 1;
    result.enumeration = Compare(
        kShortRounds,
        [&] {
            return Repeated(times, [&] {
                std::memcpy(copy.data(), list.data(), list.size());
                // The copy is wanted.
                asm volatile("" : : "r"(copy.data()) : "memory");
            });
        },
        [&] {
            return Repeated(times, [&] {
                DWORD needed = 0;
                DWORD returned = 0;
                bench.world.table().pfnEnumPorts(bench.world.monitor(), nullptr, 2, list.data(),
                                                 static_cast<DWORD>(list.size()), &needed,
                                                 &returned);
            });
        });

    std::unordered_map<std::wstring, size_t> names;
    for (size_t port = 0; port < ports; ++port) {
        names.emplace(PortName(port), port);
    }
    std::wstring last = PortName(ports - 1);
    result.opening = Compare(
        kShortRounds,
        [&] {
            return Repeated(kLookUps, [&] {
                size_t found = names.find(last)->second;
                asm volatile("" : "+r"(found));
            });
        },
        [&] {
            return Repeated(kLookUps, [&] {
                HANDLE handle = nullptr;
                bench.world.table().pfnOpenPort(bench.world.monitor(), last.data(), &handle);
            });
        });
    return result;
}

__attribute__((noinline)) void EmptyCall(LogLevel level, unsigned number) {
    asm volatile("" : : "r"(level), "r"(number));
}

__attribute__((noinline)) void LogCall(LogLevel level, unsigned number) {
    Log(level, L"job id = %d", number);
}

}  // namespace

size_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    return ::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters)) != FALSE
               ? counters.PagefileUsage
               : 0;
}

bool MeasureStartUp(Bench& bench) {
    StartUp result;
    bool complete = true;
    for (const size_t ports : Counts(bench)) {
        result = MeasureStart(bench, ports);
        complete = complete && result.time.complete;
        const auto x = static_cast<double>(ports);
        bench.report.Point("start-up", "the monitor", x, result.time.work);
        bench.report.Point("start-up", "bare calls", x, result.time.floor);
        bench.report.Point("memory", "heap", x, result.heap_bytes);
        bench.report.Point("memory", "process", x, result.private_bytes);
    }
    bench.report.Requirement(
        Text("start-up with %zu ports", bench.extent.ports),
        "enumerating, opening, reading and closing the same keys with bare calls",
        "at most 1.15 times the floor; at most 2 KiB of memory a port",
        Text("%.3f times (%.2f s and %.2f s, medians of %zu rounds); %.0f bytes a port in the "
             "process, %.0f of them on the heap",
             result.time.work_to_floor, result.time.work, result.time.floor, result.time.rounds,
             result.private_bytes, result.heap_bytes),
        result.time.work_to_floor <= 1.15 && result.private_bytes <= 2048 &&
            result.heap_bytes <= 2048);
    return complete;
}

bool MeasureList(Bench& bench) {
    PortListing result;
    bool complete = true;
    for (const size_t ports : Counts(bench)) {
        if (!bench.world.StartWith(ports, kRaw, false)) {
            return false;
        }
        result = MeasureListing(bench, ports);
        complete = complete && result.enumeration.complete && result.opening.complete;
        const auto x = static_cast<double>(ports);
        bench.report.Point("enum-ports", "EnumPorts", x, result.enumeration.work * 1e6);
        bench.report.Point("enum-ports", "copying the same bytes", x,
                           result.enumeration.floor * 1e6);
        bench.report.Point("open-port", "OpenPort", x, result.opening.work * 1e6);
        bench.report.Point("open-port", "a hash look-up", x, result.opening.floor * 1e6);
    }
    bench.report.Requirement(
        Text("EnumPorts level 2 with %zu ports", bench.extent.ports), "copying the same bytes",
        "at most 3 times",
        Text("%.2f times (%.0f and %.0f us)", result.enumeration.work_to_floor,
             result.enumeration.work * 1e6, result.enumeration.floor * 1e6),
        result.enumeration.work_to_floor <= 3);
    bench.report.Requirement(
        Text("OpenPort of the last of %zu ports", bench.extent.ports), "a hash look-up",
        "below 10 us",
        Text("%.3f us, the floor %.3f us", result.opening.work * 1e6, result.opening.floor * 1e6),
        result.opening.work < 10e-6);
    return complete;
}

bool MeasureLog(Bench& bench) {
    constexpr size_t kCalls = 20'000;
    unsigned number = 0;
    test::AllocationCount allocations(::GetModuleHandleW(nullptr));
    const Comparison result = Compare(
        kShortRounds,
        [&] { return Repeated(kCalls, [&] { EmptyCall(LogLevel::kTrace, ++number); }); },
        [&] { return Repeated(kCalls, [&] { LogCall(LogLevel::kTrace, ++number); }); });
    allocations.Reset();
    for (unsigned call = 0; call < 1000; ++call) {
        LogCall(LogLevel::kCritical, call);
    }
    bench.report.Requirement(
        "a filtered log call", "an empty call", "below 20 ns, no allocation, no formatting",
        Text("%.2f ns, the floor %.2f ns; %zu allocations in 1,000 calls", result.work * 1e9,
             result.floor * 1e9, allocations.requests()),
        result.work < 20e-9 && allocations.requests() == 0);
    return result.complete && allocations.works();
}

}  // namespace ksp::bench
