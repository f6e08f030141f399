#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ports/monitor_type.h"
#include "ports/port_info.h"

namespace ksp::ctl {

class Discovery;
struct PortField;

enum class CheckResult {
    kPassed,
    kAttention,  // a job would arrive, but somebody should know
    kSkipped,    // could not be looked at; says why
    kFailed,     // a job would not arrive
};
// "passed"
[[nodiscard]] std::wstring_view ResultWord(CheckResult result);

struct CheckStep {
    std::wstring name;
    CheckResult result = CheckResult::kPassed;
    std::wstring text = {};    // what was found
    std::wstring advice = {};  // what to do next; empty when there is nothing to do
    double seconds = 0;        // 0 until the step is done
};

// Looks at everything that a job of the port needs, in the order in which the job needs it. Prints
// nothing: connections are opened and closed, and the printer is asked questions. Nothing is
// written to the registry, the monitor's defaults apart.
//
// Waits for a printer as long as the monitor itself would, which its time-out settings say.
class PortCheck {
  public:
    // Every step is handed over as soon as it is done.
    using Report = std::function<void(const CheckStep& step)>;

    PortCheck(CPortInfo info, MonitorType type, Report report)
        : info_(std::move(info)), type_(type), report_(std::move(report)) {}

    // Whether a job would arrive.
    [[nodiscard]] bool Run();

  private:
    using Look = CheckStep (PortCheck::*)(const Discovery& discovery);

    void Do(Look look, const Discovery& discovery);
    // Waiting a second time for a printer that takes no connection tells nothing new.
    void Skip(const std::wstring& name);

    // The value of the record that should be a TCP port and is none; null when all are.
    [[nodiscard]] const PortField* NoTcpPort() const;

    [[nodiscard]] CheckStep CheckRecord(const Discovery& discovery);
    [[nodiscard]] CheckStep FindAddress(const Discovery& discovery);
    [[nodiscard]] CheckStep ResolveName();
    [[nodiscard]] CheckStep FollowMacAddress(const Discovery& discovery);
    [[nodiscard]] CheckStep Connect(const Discovery& discovery);
    [[nodiscard]] CheckStep AskIdentity(const Discovery& discovery);
    [[nodiscard]] CheckStep AskStatus(const Discovery& discovery);
    [[nodiscard]] CheckStep AskQueue(const Discovery& discovery);
    [[nodiscard]] CheckStep AskReachability(const Discovery& discovery);

    CPortInfo info_;
    MonitorType type_;
    Report report_;
    std::wstring address_;  // dotted, once it is known
    bool failed_ = false;
};

}  // namespace ksp::ctl
