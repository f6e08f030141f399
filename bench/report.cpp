#include "bench/report.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <fstream>

namespace ksp::bench {
namespace {

bool WriteLines(const std::string& path, const std::string& head,
                const std::vector<std::string>& lines) {
    std::ofstream file(path, std::ios::binary);
    file << head;
    for (const std::string& line : lines) {
        file << line << '\n';
    }
    return file.good();
}

}  // namespace

void Report::Requirement(const std::string& work, const std::string& floor,
                         const std::string& to_reach, const std::string& measured, bool reached) {
    lines_.push_back("| " + work + " | " + floor + " | " + to_reach + " | " + measured + " | " +
                     (reached ? "yes" : "no") + " |");
    missed_ += reached ? 0 : 1;
    std::printf("%s\n    floor     %s\n    to reach  %s\n    measured  %s\n    %s\n", work.c_str(),
                floor.c_str(), to_reach.c_str(), measured.c_str(),
                reached ? "reached" : "NOT REACHED");
    std::fflush(stdout);
}

void Report::Point(const std::string& curve, const std::string& series, double x, double y) {
    points_.push_back(curve + "," + series + Text(",%.9g,%.9g", x, y));
}

bool Report::Save(const std::string& table_path, const std::string& points_path) const {
    return WriteLines(table_path,
                      "| Work | Floor measured beside it | To reach | Measured | Reached |\n"
                      "|---|---|---|---|---|\n",
                      lines_) &&
           WriteLines(points_path, "curve,series,x,y\n", points_);
}

std::string Text(const char* format, ...) {
    std::array<char, 512> text = {};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

}  // namespace ksp::bench
