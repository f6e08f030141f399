#pragma once

#include <string>
#include <vector>

namespace ksp::bench {

// What was measured: one line of a table for each requirement, and the points of the curves.
class Report {
  public:
    // Prints the line at once, so that a long run shows that it goes on.
    void Requirement(const std::string& work, const std::string& floor, const std::string& to_reach,
                     const std::string& measured, bool reached);
    void Point(const std::string& curve, const std::string& series, double x, double y);

    // The table in Markdown and the points as lines "curve,series,x,y". False when a file cannot be
    // written.
    [[nodiscard]] bool Save(const std::string& table_path, const std::string& points_path) const;
    [[nodiscard]] size_t missed() const { return missed_; }

  private:
    std::vector<std::string> lines_;
    std::vector<std::string> points_;
    size_t missed_ = 0;
};

// printf into a string.
[[nodiscard]] std::string Text(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));

}  // namespace ksp::bench
