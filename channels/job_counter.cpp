#include "channels/job_counter.h"

#include <atomic>

namespace ksp {

std::uint32_t TakeJobNumber() noexcept {
    constexpr std::uint32_t kNumbers = 1000;
    static std::atomic<std::uint32_t> next{0};
    std::uint32_t number = next.load();
    while (!next.compare_exchange_weak(number, (number + 1) % kNumbers)) {
    }
    return number;
}

}  // namespace ksp
