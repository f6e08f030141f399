#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ksp::test {

// The monitor's log as a test reads it piece by piece: each line as "ERROR port not found".
class LogLines {
  public:
    explicit LogLines(std::wstring path) : path_(std::move(path)) {}

    // The lines written since the last call, or since the log began.
    std::vector<std::string> Next();
    void Skip() { Next(); }

  private:
    std::wstring path_;
    size_t seen_ = 0;
};

// Every line of a log.
std::vector<std::string> AllLines(const std::wstring& path);

}  // namespace ksp::test
