#include "support/process_state.h"

#include <atomic>

namespace ksp {

namespace {
std::atomic<bool> g_processEnding{false};
}

bool IsProcessEnding() noexcept {
    return g_processEnding.load(std::memory_order_relaxed);
}
void SetProcessEnding() noexcept {
    g_processEnding.store(true, std::memory_order_relaxed);
}

}  // namespace ksp
