#pragma once

#include <string>
#include <vector>

#include "tools/kspctl/command.h"

namespace ksp::test {

// What a command wrote.
class CapturedOutput : public ctl::Output {
  public:
    void Line(std::wstring_view text) override { lines.emplace_back(text); }
    void ErrorLine(std::wstring_view text) override { errors.emplace_back(text); }

    std::vector<std::wstring> lines;
    std::vector<std::wstring> errors;
};

// One run of the program.
struct KspctlRun {
    ctl::ExitCode code = ctl::ExitCode::kFailed;
    std::vector<std::wstring> lines;
    std::vector<std::wstring> errors;
};

inline KspctlRun RunKspctl(const std::vector<std::wstring>& arguments) {
    CapturedOutput output;
    const ctl::ExitCode code = ctl::RunProgram(arguments, output);
    return {code, output.lines, output.errors};
}

}  // namespace ksp::test
