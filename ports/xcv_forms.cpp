#include "ports/xcv_forms.h"

#include "ports/port_record_forms.h"
#include "support/log.h"

namespace ksp {

int SetFromXcvInfo(const XcvPortInfo& record, CPortInfo& info) {
    try {
        ReadRecord(record, info);
        return 1;
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception Error (SetFromXcvInfo) ");
        return 0;
    }
}

int SetForXcvInfo(const CPortInfo& info, XcvPortInfo& record) {
    if (FillRecord(info, record)) {
        return 1;
    }
    Log(LogLevel::kCritical, L"Exception Error (SetForXcvInfo)");
    return 0;
}

int SetFromAddPortXcvString(std::wstring_view text, bool identityNeeded, CPortInfo& info) {
    constexpr std::uint32_t kIdentityRequired = 1;
    try {
        std::vector<std::wstring> tokens;
        const int count = SplitString(text, L',', tokens);
        if (count < static_cast<int>(kAddPortTokens)) {
            Log(LogLevel::kError, L"error input xcv data count = %d", count);
            return 0;
        }
        StoreAddPortTokens(tokens, info);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception Error (set from addport xcv string)");
        return 0;
    }
    if (info.UserIdentityName.empty() && identityNeeded &&
        info.SecureUserMode == kIdentityRequired) {
        Log(LogLevel::kError, L"error parsing user ident name");
        return 0;
    }
    return 1;
}

int SplitString(std::wstring_view text, wchar_t separator, std::vector<std::wstring>& pieces) {
    try {
        return static_cast<int>(SplitAt(text, separator, pieces));
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception Error (split string)");
        return 0;
    }
}

}  // namespace ksp
