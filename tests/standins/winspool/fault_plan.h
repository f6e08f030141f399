#pragma once

#include <vector>

#include "tests/standins/winspool_control.h"

namespace ksp::standins {

// Decides which calls fail. Not thread-safe; the spooler model guards it.
class FaultPlan {
  public:
    void Add(const WinspoolFault& fault);
    void Clear() { faults_.clear(); }

    // Counts one call of the function against every fault set for it. Null when the call goes
    // through; otherwise the fault that strikes, good until the plan changes.
    const WinspoolFault* Strike(WinspoolFunction function);

  private:
    struct Countdown {
        WinspoolFault fault = {};
        DWORD calls_seen = 0;
    };

    std::vector<Countdown> faults_;
};

}  // namespace ksp::standins
