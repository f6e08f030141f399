#include <cmath>
#include <vector>

#include "tools/kspctl/commands.h"
#include "tools/kspctl/json.h"
#include "tools/kspctl/port_check.h"
#include "tools/kspctl/session.h"
#include "tools/print/console.h"

namespace ksp::ctl {
namespace {

void WriteStep(const CheckStep& step, Output& output) {
    constexpr std::size_t kResultWidth = 11;
    constexpr std::size_t kNameWidth = 14;
    constexpr std::size_t kTimeWidth = 8;
    output.Line(print::PadRight(ResultWord(step.result), kResultWidth) +
                print::PadRight(step.name, kNameWidth) +
                print::PadLeft(print::Seconds(step.seconds), kTimeWidth) + L"  " + step.text);
    if (!step.advice.empty()) {
        output.Line(std::wstring(kResultWidth, L' ') + L"-> " + step.advice);
    }
}

void WriteJson(const std::wstring& port, const std::vector<CheckStep>& steps, bool arrives,
               Output& output) {
    constexpr double kMilliseconds = 1000;
    JsonWriter json;
    json.BeginObject();
    json.TextMember(L"port", port);
    json.Name(L"steps");
    json.BeginArray();
    for (const CheckStep& step : steps) {
        json.BeginObject();
        json.TextMember(L"step", step.name);
        json.TextMember(L"result", ResultWord(step.result));
        json.NumberMember(L"milliseconds",
                          static_cast<std::uint64_t>(std::llround(step.seconds * kMilliseconds)));
        json.TextMember(L"text", step.text);
        json.TextMember(L"advice", step.advice);
        json.EndObject();
    }
    json.EndArray();
    json.Name(L"arrives");
    json.Bool(arrives);
    json.EndObject();
    output.Line(json.text());
}

// The step that says why a job would not arrive.
Failure Verdict(const std::wstring& port, const std::vector<CheckStep>& steps) {
    std::wstring why;
    for (const CheckStep& step : steps) {
        if (why.empty() && step.result == CheckResult::kFailed) {
            why = step.name + L": " + step.text;
        }
    }
    return {ExitCode::kPrinterSilent, L"a job on " + Quoted(port) + L" would not arrive; " + why};
}

}  // namespace

Problem Test(const Request& request, Output& output) {
    const std::wstring& port = request.arguments.front();
    CPortInfo info;
    MonitorType type = MonitorType::kNone;
    if (Problem problem = ReadPort(request, port, &info, &type); problem) {
        return problem;
    }
    std::vector<CheckStep> steps;
    const bool arrives = PortCheck(std::move(info), type, [&](const CheckStep& step) {
                             steps.push_back(step);
                             if (!request.json) {
                                 WriteStep(step, output);
                             }
                         }).Run();
    if (request.json) {
        WriteJson(port, steps, arrives, output);
    }
    if (!arrives) {
        return Verdict(port, steps);
    }
    if (!request.json) {
        output.Line(L"OK: a job on " + Quoted(port) + L" would arrive");
    }
    return std::nullopt;
}

}  // namespace ksp::ctl
