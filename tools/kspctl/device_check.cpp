// The steps of a port's check that ask the device who it is, where it is and how it is.

#include "net/address_text.h"
#include "net/ip_address.h"
#include "net/mac_candidates.h"
#include "tools/kspctl/discovery.h"
#include "tools/kspctl/failure.h"
#include "tools/kspctl/port_check.h"
#include "tools/print/spooler_text.h"

namespace ksp::ctl {
namespace {

constexpr wchar_t kPlaceLibrary[] =
    L"put KSSTRMAPIe.dll into a directory and name it: kspctl settings ExeDirectory=DIRECTORY";
constexpr wchar_t kCheckSnmp[] = L"is SNMP enabled on the printer?";

}  // namespace

CheckStep PortCheck::FollowMacAddress(const Discovery& discovery) {
    CheckStep step{L"address"};
    if (discovery.wrapper() == nullptr) {
        step.result = CheckResult::kFailed;
        step.text = L"the printer is tracked by its MAC address, and " + discovery.why_not();
        step.advice = kPlaceLibrary;
        return step;
    }
    const std::vector<std::wstring> candidates = MacCandidates(info_.MacAddress);
    CDeviceRecord device;
    if (discovery.wrapper()->ReadDeviceIdentity(info_.IpAddress, device) &&
        FindMacCandidate(candidates, device.MacAddress) != nullptr) {
        address_ = info_.IpAddress;
        step.text = address_ + L", where the printer " + info_.MacAddress + L" still is";
        return step;
    }
    std::wstring found;
    std::wstring reported;
    if (discovery.wrapper()->FindDeviceByMac(candidates, found, reported) && !found.empty() &&
        TextToAddress(found).s_addr != INADDR_NONE) {
        address_ = found;
        step.result = CheckResult::kAttention;
        step.text = L"the printer " + info_.MacAddress + L" has moved from " + info_.IpAddress +
                    L" to " + found + L"; the next job follows it";
        return step;
    }
    step = ResolveName();
    if (step.result == CheckResult::kPassed) {
        step.result = CheckResult::kAttention;
        step.text += L", by name: no device with the MAC address " + Quoted(info_.MacAddress) +
                     L" was found";
        step.advice = L"is the MAC address right? kspctl set PORT MacAddress=MAC";
    }
    return step;
}

CheckStep PortCheck::AskIdentity(const Discovery& discovery) {
    CheckStep step{L"identity"};
    CDeviceRecord device;
    if (discovery.wrapper() == nullptr) {
        step.result = CheckResult::kSkipped;
        step.text = discovery.why_not();
        step.advice = kPlaceLibrary;
    } else if (!discovery.wrapper()->ReadDeviceIdentity(address_, device)) {
        step.result = CheckResult::kAttention;
        step.text = L"the device does not tell who it is";
        step.advice = kCheckSnmp;
    } else {
        step.text = device.DeviceName + L", MAC address " + device.MacAddress;
    }
    return step;
}

CheckStep PortCheck::AskStatus(const Discovery& discovery) {
    CheckStep step{L"status"};
    CPrinterCondition condition;
    if (discovery.wrapper() == nullptr) {
        step.result = CheckResult::kSkipped;
        step.text = discovery.why_not();
    } else if (!discovery.wrapper()->ReadStatus(address_, condition)) {
        step.result = CheckResult::kAttention;
        step.text = L"the device does not tell how it is";
        step.advice = kCheckSnmp;
    } else {
        const std::uint32_t status = SpoolerStatus(condition);
        step.text = print::PrinterStatusWords(status);
        if (status != 0) {
            step.result = CheckResult::kAttention;
        }
    }
    return step;
}

}  // namespace ksp::ctl
