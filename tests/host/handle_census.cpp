#include "tests/host/handle_census.h"

#include <windows.h>
#include <winternl.h>

#include <algorithm>

namespace ksp::test {
namespace {

constexpr wchar_t kThreadLocalIndex[] = L"thread-local index";

using QueryObject = decltype(&NtQueryObject);

QueryObject FindQueryObject() {
    return reinterpret_cast<QueryObject>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryObject")));
}

// What kind of object a handle is; empty when the number is no handle.
std::wstring KindOf(HANDLE handle) {
    static const QueryObject query = FindQueryObject();
    alignas(PUBLIC_OBJECT_TYPE_INFORMATION) BYTE buffer[1024] = {};
    ULONG size = 0;
    if (query(handle, ObjectTypeInformation, buffer, sizeof(buffer), &size) < 0) {
        return {};
    }
    const auto* info = reinterpret_cast<const PUBLIC_OBJECT_TYPE_INFORMATION*>(buffer);
    return {info->TypeName.Buffer, info->TypeName.Length / sizeof(wchar_t)};
}

// How many are in use ahead of the lowest one that is free, which goes up by each that is kept.
size_t CountThreadLocalIndexes() {
    const DWORD free = ::TlsAlloc();
    ::TlsFree(free);
    return free;
}

}  // namespace

// GetProcessHandleCount would do, were it not 0 under Wine. Handles are small multiples of four,
// given out from the lowest free one up, so a long gap is the end.
HandleCensus CountHandles() {
    constexpr ULONG_PTR kStep = 4;
    constexpr ULONG_PTR kGap = 256 * kStep;
    HandleCensus census;
    ULONG_PTR last_used = 0;
    for (ULONG_PTR number = kStep; number < last_used + kGap; number += kStep) {
        const std::wstring kind = KindOf(reinterpret_cast<HANDLE>(number));
        if (kind.empty()) {
            continue;
        }
        ++census[kind];
        last_used = number;
    }
    census[kThreadLocalIndex] = CountThreadLocalIndexes();
    return census;
}

HandleCensus NewHandles(const HandleCensus& before, const HandleCensus& after) {
    HandleCensus more;
    for (const auto& [kind, count] : after) {
        const auto found = before.find(kind);
        const size_t earlier = found == before.end() ? 0 : found->second;
        if (count > earlier) {
            more[kind] = count - earlier;
        }
    }
    return more;
}

HandleCensus LeakedHandles(const HandleCensus& before, const HandleCensus& after) {
    HandleCensus more = NewHandles(before, after);
    HandleCensus leaked;
    for (const wchar_t* kind : {L"File", L"Key", L"Process"}) {
        if (more[kind] > 0) {
            leaked[kind] = more[kind];
        }
    }
    if (more[L"Event"] > more[L"Thread"]) {
        leaked[L"Event"] = more[L"Event"] - more[L"Thread"];
    }
    return leaked;
}

}  // namespace ksp::test
