#include <algorithm>
#include <vector>

#include "ports/printer_address.h"
#include "tools/kspctl/commands.h"
#include "tools/kspctl/port_changes.h"
#include "tools/kspctl/port_fields.h"

namespace ksp::ctl {
namespace {

struct Assignment {
    const PortField* field;
    std::wstring value;
};

Problem ParseAssignment(const std::wstring& text, Assignment* assignment) {
    const auto equals = text.find(L'=');
    if (equals == std::wstring::npos) {
        return WrongUsage(Quoted(text) + L" is not NAME=VALUE");
    }
    const std::wstring name = text.substr(0, equals);
    assignment->field = FindPortField(name);
    if (assignment->field == nullptr) {
        return WrongUsage(L"a port has no value " + Quoted(name) +
                          L"; kspctl show shows which it has");
    }
    if (assignment->field->change == FieldChange::kFixed) {
        return WrongUsage(name + L" cannot be set: " + std::wstring(assignment->field->why_fixed));
    }
    assignment->value = text.substr(equals + 1);
    return std::nullopt;
}

// The change of one record, value by value.
class RecordChange {
  public:
    RecordChange(CPortInfo info, MonitorType type)
        : old_(info), new_(std::move(info)), type_(type) {}

    Problem Take(const std::vector<Assignment>& assignments) {
        for (const Assignment& assignment : assignments) {
            if (Problem problem = StoreField(*assignment.field, assignment.value, type_, &new_);
                problem) {
                return problem;
            }
            taken_.push_back(assignment.field);
        }
        Follow();
        if (ChangesAddressValues()) {
            if (Problem problem = CheckTracking(new_); problem) {
                return problem;
            }
        }
        return CheckRecord(new_, type_);
    }

    [[nodiscard]] const CPortInfo& info() const { return new_; }

    [[nodiscard]] bool ChangesAddressValues() const {
        return std::any_of(
            PortFields().begin(), PortFields().end(), [this](const PortField& field) {
                return field.change == FieldChange::kAddress && !SameValue(field, old_, new_);
            });
    }

    // The first value named that the port does not have now; null when it has them all.
    [[nodiscard]] const PortField* NotTaken(const CPortInfo& now) const {
        const auto found = std::find_if(taken_.begin(), taken_.end(), [&](const PortField* field) {
            return !SameValue(*field, new_, now);
        });
        return found == taken_.end() ? nullptr : *found;
    }

  private:
    [[nodiscard]] bool IsTaken(std::wstring_view name) const {
        return std::any_of(taken_.begin(), taken_.end(),
                           [&](const PortField* field) { return field->name == name; });
    }

    // Values that follow from others, unless they were named themselves.
    void Follow() {
        if (new_.ProtocolID != old_.ProtocolID && !IsTaken(L"QueueName") &&
            old_.QueueName == DefaultQueue(old_.ProtocolID)) {
            new_.QueueName = DefaultQueue(new_.ProtocolID);
        }
        if (new_.PrinterAddress != old_.PrinterAddress && !IsTaken(L"PrinterAddressType") &&
            !old_.IsTracked()) {
            new_.PrinterAddressType = GetPrinterAddressType(new_.PrinterAddress);
        }
        new_.PortNumber = PrintingPort(new_, type_);
    }

    CPortInfo old_;
    CPortInfo new_;
    MonitorType type_;
    std::vector<const PortField*> taken_;
};

}  // namespace

Problem Set(const Request& request, Output& output) {
    const std::wstring& port = request.arguments.front();
    std::vector<Assignment> assignments(request.arguments.size() - 1);
    for (std::size_t i = 0; i < assignments.size(); ++i) {
        if (Problem problem = ParseAssignment(request.arguments[i + 1], &assignments[i]); problem) {
            return problem;
        }
    }
    XcvHandle monitor;
    if (Problem problem = OpenPort(request, port, Access::kChange, &monitor); problem) {
        return problem;
    }
    MonitorType type = MonitorType::kNone;
    if (const DWORD code = AskMonitorType(monitor, &type); code != ERROR_SUCCESS) {
        return SystemFailure(L"the monitor does not tell what it is", code);
    }
    CPortInfo info;
    if (Problem problem = ReadRecord(monitor, port, &info); problem) {
        return problem;
    }
    RecordChange change(info, type);
    if (Problem problem = change.Take(assignments); problem) {
        return problem;
    }
    if (Problem problem = ChangePort(monitor, change.info(), change.ChangesAddressValues());
        problem) {
        return problem;
    }
    CPortInfo now;
    if (Problem problem = ReadRecord(monitor, port, &now); problem) {
        return problem;
    }
    if (const PortField* const field = change.NotTaken(now); field != nullptr) {
        return Failure{ExitCode::kFailed,
                       L"the monitor did not keep " + std::wstring(field->name) + L"; it is " +
                           Quoted(ShownValue(*field, now)),
                       L"the monitor's log tells why; see: kspctl help settings"};
    }
    output.Line(L"changed the port " + Quoted(port));
    return std::nullopt;
}

}  // namespace ksp::ctl
