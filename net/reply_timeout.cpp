#include "net/reply_timeout.h"

#include "ports/registry_store.h"

namespace ksp {

std::uint32_t GetWaitServerReplyTimeout() {
    constexpr std::uint32_t kDefaultSeconds = 20;
    const std::uint32_t seconds =
        RegistryStore().ReadSetting(L"WaitServerReplyTimeout").value_or(0);
    return seconds != 0 ? seconds : kDefaultSeconds;
}

}  // namespace ksp
