#include "tests/standins/winspool/fault_plan.h"

namespace ksp::standins {

void FaultPlan::Add(const WinspoolFault& fault) {
    faults_.push_back({fault});
}

const WinspoolFault* FaultPlan::Strike(WinspoolFunction function) {
    const WinspoolFault* struck = nullptr;
    for (Countdown& countdown : faults_) {
        const WinspoolFault& fault = countdown.fault;
        if (fault.function != function) {
            continue;
        }
        ++countdown.calls_seen;
        const bool strikes =
            fault.and_later ? countdown.calls_seen >= fault.nth : countdown.calls_seen == fault.nth;
        if (strikes && struck == nullptr) {
            struck = &fault;
        }
    }
    return struck;
}

}  // namespace ksp::standins
