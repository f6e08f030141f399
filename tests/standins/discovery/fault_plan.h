#pragma once

#include <windows.h>

#include <vector>

namespace ksp::standins {

// Decides which calls go wrong. `Fault` has the members function, nth and and_later. Not
// thread-safe: whoever owns the plan guards it.
template <typename Fault>
class FaultPlan {
  public:
    void Add(const Fault& fault) { faults_.push_back({fault}); }
    void Clear() { faults_.clear(); }

    // Counts one call of the function against every fault set for it. Null when the call goes
    // through; otherwise the fault that strikes, good until the plan changes.
    const Fault* Strike(decltype(Fault::function) function) {
        const Fault* struck = nullptr;
        for (Countdown& countdown : faults_) {
            if (countdown.fault.function == function && countdown.CountCall() &&
                struck == nullptr) {
                struck = &countdown.fault;
            }
        }
        return struck;
    }

  private:
    struct Countdown {
        Fault fault;
        DWORD calls_seen = 0;

        // True when the fault strikes the call.
        bool CountCall() {
            ++calls_seen;
            return fault.and_later ? calls_seen >= fault.nth : calls_seen == fault.nth;
        }
    };

    std::vector<Countdown> faults_;
};

}  // namespace ksp::standins
