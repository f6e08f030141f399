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

// The header as it is now; empty when the builder has none.
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

// The header with as much of the data behind it as fits the channel's count.
struct CBlockWithHeader {
    std::vector<BYTE> bytes;   // empty when there is no header
    std::int32_t dataSize = 0;
};

CBlockWithHeader BuildBlock(const CPort& port, const CPortInfo& info, const BYTE* data,
                            DWORD size) {
    std::optional<std::wstring> identity;
    if (info.SecureUserMode == kIdentityOfUser) {
        identity = RegistryStore().GetUserIdentity();
    }
    const bool named = identity && !identity->empty();
    CBlockWithHeader block{BuildHeader(port, named ? identity->c_str() : nullptr), CountOf(size)};
    if (!block.bytes.empty()) {
        block.dataSize =
            std::min(block.dataSize,
                     CountOf(std::numeric_limits<std::int32_t>::max() - block.bytes.size()));
        block.bytes.insert(block.bytes.end(), data, data + block.dataSize);
    }
    return block;
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
    CBlockWithHeader block;
    try {
        block = BuildBlock(port, info, data, size);
    } catch (const std::bad_alloc&) {
        Log(LogLevel::kCritical, L"memory allocation failure");
        return 0;
    }
    CPrintChannel& channel = *port.Channel();
    return block.bytes.empty() ? channel.WritePort(data, block.dataSize)
                               : channel.WritePortWithHeader(data, block.dataSize,
                                                             block.bytes.data(),
                                                             CountOf(block.bytes.size()));
}

}  // namespace ksp
