#include "monitor/job_data.h"

#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "channels/job_header.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

// `SecureUserMode`
constexpr std::uint32_t kIdentityRequired = 1;
constexpr std::uint32_t kIdentityOfUser = 2;

// Channels count in signed 32 bits; the spooler offers the rest of a longer buffer again.
std::int32_t CountOf(std::size_t size) {
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    return static_cast<std::int32_t>(std::min(size, kMost));
}

// The header as it is now; empty when there is none.
std::vector<BYTE> BuildHeader(const CPort& port, const wchar_t* identity) {
    std::vector<BYTE> header;
    std::uint32_t size = 0;
    // A job that is still spooling can outgrow the size between the two calls.
    for (int attempt = 0; attempt < 4; ++attempt) {
        header.assign(size, 0);
        if (BuildJobHeader(port.Printer(), port.JobId(), header.data(), size, identity) == 1) {
            // A header that became shorter meanwhile leaves zeros behind its last line feed.
            while (!header.empty() && header.back() == 0) {
                header.pop_back();
            }
            return header;
        }
        if (size == kNoJobHeader) {
            break;
        }
    }
    return {};
}

std::int32_t WriteWithHeader(const CPort& port, const BYTE* data, DWORD size,
                             const wchar_t* identity) {
    CPrintChannel& channel = *port.Channel();
    std::vector<BYTE> combined = BuildHeader(port, identity);
    if (combined.empty()) {
        return channel.WritePort(data, CountOf(size));
    }
    const std::int32_t length = std::min(
        CountOf(size), CountOf(std::numeric_limits<std::int32_t>::max() - combined.size()));
    combined.insert(combined.end(), data, data + length);
    return channel.WritePortWithHeader(data, length, combined.data(), CountOf(combined.size()));
}

}  // namespace

std::int32_t WriteJobData(const CPort& port, const CPortInfo& info, const BYTE* data, DWORD size) {
    if (RegistryStore().Type() != MonitorType::kIdPrint) {
        return port.Channel()->WritePort(data, CountOf(size));
    }
    if (info.SecureUserMode == kIdentityRequired) {
        // Nothing may be printed under a name that the port and not the user gives.
        return 0;
    }
    try {
        std::optional<std::wstring> identity;
        if (info.SecureUserMode == kIdentityOfUser) {
            identity = RegistryStore().GetUserIdentity();
        }
        const bool named = identity && !identity->empty();
        return WriteWithHeader(port, data, size, named ? identity->c_str() : nullptr);
    } catch (const std::bad_alloc&) {
        Log(LogLevel::kCritical, L"memory allocation failure");
        return 0;
    }
}

}  // namespace ksp
