// Measures the monitor against the table of docs/performance.md. script/bench starts it.
//
//   kspbench ADDRESS DIRECTORY [--quick] [--only ROW]
//
// ADDRESS is where bench/sink.py listens; the table and the points of the curves are written into
// DIRECTORY. Exit code: 0 everything reached, 1 something missed, 2 something could not be
// measured.

#include <winsock2.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "bench/rows.h"

namespace ksp::bench {
namespace {

struct Row {
    std::string_view name;
    bool (*measure)(Bench&);
};

constexpr Row kRows[] = {
    {"raw", MeasureRawJobs}, {"crowd", MeasureCrowd},   {"byte", MeasureOneByte},
    {"lpr", MeasureLprJobs}, {"xlpr", MeasureXlprJobs}, {"start", MeasureStartUp},
    {"list", MeasureList},   {"log", MeasureLog},       {"long", MeasureLongJob},
    {"end", MeasureEnd},
};

constexpr Extent kGlance = {.rounds = 3,
                            .job = 16ULL << 20,
                            .crowd_job = 4ULL << 20,
                            .lpr_job = 1ULL << 20,
                            .long_job = 256ULL << 20,
                            .ports = 2'000,
                            .crowd = 200};

int Run(const std::vector<std::string>& arguments) {
    std::string only;
    bool quick = false;
    for (size_t index = 2; index < arguments.size(); ++index) {
        if (arguments[index] == "--quick") {
            quick = true;
        } else if (arguments[index] == "--only" && index + 1 < arguments.size()) {
            only = arguments[++index];
        } else {
            std::printf("kspbench: unknown option %s\n", arguments[index].c_str());
            return 2;
        }
    }
    const auto is_wanted = [&only](const Row& row) { return only.empty() || only == row.name; };
    if (std::ranges::none_of(kRows, is_wanted)) {
        std::printf("kspbench: there is no row %s\n", only.c_str());
        return 2;
    }
    const std::string& address = arguments[0];
    World world(std::wstring(address.begin(), address.end()));
    Report report;
    if (!world.Prepare()) {
        std::printf("kspbench: no stand-in spooler beside the program, or no registry\n");
        return 2;
    }
    Bench bench = {world, report, address, quick ? kGlance : Extent()};
    bool complete = true;
    for (const Row& row : kRows) {
        if (is_wanted(row) && !row.measure(bench)) {
            std::printf("kspbench: a measurement of \"%s\" failed\n", row.name.data());
            complete = false;
        }
    }
    world.Stop();
    const std::string& directory = arguments[1];
    if (!report.Save(directory + "\\table.md", directory + "\\points.csv") || !complete) {
        return 2;
    }
    return report.missed() == 0 ? 0 : 1;
}

}  // namespace
}  // namespace ksp::bench

int main(int count, char** arguments) {
    WSADATA data = {};
    if (count < 3 || ::WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        std::printf("usage: kspbench ADDRESS DIRECTORY [--quick] [--only ROW]\n");
        return 2;
    }
    return ksp::bench::Run({arguments + 1, arguments + count});
}
