#include "tools/kspctl/port_check.h"

#include <chrono>

#include "net/ip_address.h"
#include "net/stream_socket.h"
#include "tools/kspctl/discovery.h"
#include "tools/kspctl/failure.h"
#include "tools/kspctl/port_fields.h"

namespace ksp::ctl {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

bool IsRaw(const CPortInfo& info) {
    return info.ProtocolID == static_cast<std::uint32_t>(ProtocolId::kRaw);
}
bool IsLpr(const CPortInfo& info) {
    return info.ProtocolID == static_cast<std::uint32_t>(ProtocolId::kLpr) ||
           info.ProtocolID == static_cast<std::uint32_t>(ProtocolId::kXlpr);
}

}  // namespace

std::wstring_view ResultWord(CheckResult result) {
    switch (result) {
        case CheckResult::kPassed:
            return L"passed";
        case CheckResult::kAttention:
            return L"attention";
        case CheckResult::kSkipped:
            return L"skipped";
        case CheckResult::kFailed:
            break;
    }
    return L"failed";
}

bool PortCheck::Run() {
    const Discovery discovery(type_);
    Do(&PortCheck::CheckRecord, discovery);
    if (failed_) {
        return false;
    }
    Do(&PortCheck::FindAddress, discovery);
    if (address_.empty()) {
        return false;
    }
    Do(&PortCheck::Connect, discovery);
    const bool connects = !failed_;
    Do(&PortCheck::AskIdentity, discovery);
    Do(&PortCheck::AskStatus, discovery);
    if (IsLpr(info_)) {
        connects ? Do(&PortCheck::AskQueue, discovery) : Skip(L"queue");
    }
    if (type_ == MonitorType::kIdPrint) {
        connects ? Do(&PortCheck::AskReachability, discovery) : Skip(L"reachability");
    }
    return !failed_;
}

void PortCheck::Do(Look look, const Discovery& discovery) {
    const auto begin = Clock::now();
    CheckStep step = (this->*look)(discovery);
    if (step.seconds == 0) {
        step.seconds = SecondsSince(begin);
    }
    failed_ = failed_ || step.result == CheckResult::kFailed;
    report_(step);
}

void PortCheck::Skip(const std::wstring& name) {
    CheckStep step{name};
    step.result = CheckResult::kSkipped;
    step.text = L"there is no connection to ask over";
    report_(step);
}

CheckStep PortCheck::CheckRecord(const Discovery& /*discovery*/) {
    CheckStep step{L"record"};
    if (!IsRaw(info_) && !IsLpr(info_)) {
        step.result = CheckResult::kFailed;
        step.text = L"the protocol " + std::to_wstring(info_.ProtocolID) + L" cannot print";
        step.advice = L"give the port one that can: kspctl set PORT ProtocolID=raw";
        return step;
    }
    if (info_.PrinterAddress.empty()) {
        step.result = CheckResult::kFailed;
        step.text = L"the port has no printer address";
        step.advice = L"give it one: kspctl set PORT PrinterAddress=ADDRESS";
        return step;
    }
    if (const PortField* field = NoTcpPort(); field != nullptr) {
        step.result = CheckResult::kFailed;
        step.text = std::wstring(field->name) + L" is " + std::to_wstring(info_.*field->number) +
                    L", which is no TCP port";
        step.advice =
            L"give the port one from 1 to 65535: kspctl set PORT " +
            std::wstring(field->change == FieldChange::kFixed ? L"SecureRawPortNo" : field->name) +
            L"=NUMBER";
        return step;
    }
    if (PrintsNothing(info_, type_)) {
        step.result = CheckResult::kFailed;
        step.text = L"SecureUserMode is 1, with which the monitor prints nothing";
        step.advice =
            L"print with the user's identity name: kspctl set PORT SecureUserMode=2 (0: with the "
            L"user's name)";
        return step;
    }
    step.text = ProtocolWord(info_.ProtocolID) + L" to " + info_.PrinterAddress + L" port " +
                std::to_wstring(info_.PortNumber);
    if (IsLpr(info_)) {
        step.text += L", queue " + info_.QueueName;
    }
    return step;
}

const PortField* PortCheck::NoTcpPort() const {
    for (const wchar_t* name : {L"PortNumber", L"CheckPortNo"}) {
        const PortField* const field = FindPortField(name);
        const bool needed = field->change == FieldChange::kFixed || type_ == MonitorType::kIdPrint;
        if (needed && !IsTcpPort(info_.*field->number)) {
            return field;
        }
    }
    return nullptr;
}

CheckStep PortCheck::FindAddress(const Discovery& discovery) {
    return info_.IsTracked() ? FollowMacAddress(discovery) : ResolveName();
}

CheckStep PortCheck::ResolveName() {
    CheckStep step{L"address"};
    CSLIpAddr address;
    if (const std::uint32_t error = address.getByName(info_.PrinterAddress); error != 0) {
        step.result = CheckResult::kFailed;
        step.text =
            L"no address for " + Quoted(info_.PrinterAddress) + L": " + DescribeError(error);
        step.advice =
            L"check the name (nslookup), or give the port an address: kspctl set PORT "
            L"PrinterAddress=ADDRESS";
        return step;
    }
    address_ = address.Text();
    step.text = address_;
    return step;
}

CheckStep PortCheck::Connect(const Discovery& /*discovery*/) {
    CheckStep step{L"connection"};
    const auto port = static_cast<std::uint16_t>(info_.PortNumber);
    const std::wstring target = address_ + L" port " + std::to_wstring(port);
    CSLIpAddr address;
    std::uint32_t error = address.getByName(address_);
    if (error == 0) {
        const auto begin = Clock::now();
        CSLStreamSocket socket(address, port);
        error = socket.connect();
        // Closing waits for what the printer may still say; that is no matter of the connection.
        step.seconds = SecondsSince(begin);
        socket.close();
    }
    if (error == 0) {
        step.text = target + L" answers";
        return step;
    }
    step.result = CheckResult::kFailed;
    step.text = target + L": " + DescribeError(error);
    if (error == ERROR_TIMEOUT || error == WSAETIMEDOUT || error == WSAEHOSTUNREACH ||
        error == WSAENETUNREACH) {
        step.advice =
            L"nobody is at that address: is the printer switched on, is the address still "
            L"right, does a firewall stand between?";
    } else if (error == WSAECONNREFUSED) {
        step.advice =
            L"a device is there and does not take jobs on that port: is it the printer, "
            L"does it have the protocol enabled?";
    }
    return step;
}

}  // namespace ksp::ctl
