#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ports/port_info.h"
#include "ports/xcv_port_info.h"

namespace ksp {

// The conversions of the Xcv commands. Each answers 1 for success and 0 for failure, logs what
// failed and lets no exception out. A record that failed part-way keeps what was stored; callers
// discard it.

int SetFromXcvInfo(const XcvPortInfo& record, CPortInfo& info);
int SetForXcvInfo(const CPortInfo& info, XcvPortInfo& record);
// The AddPort data string: at least twelve comma-separated tokens. The ID-print monitor needs an
// identity name when the port's `SecureUserMode` is 1.
int SetFromAddPortXcvString(std::wstring_view text, bool identityNeeded, CPortInfo& info);
// Appends the pieces and returns their number; 0 when memory runs out.
int SplitString(std::wstring_view text, wchar_t separator, std::vector<std::wstring>& pieces);

}  // namespace ksp
