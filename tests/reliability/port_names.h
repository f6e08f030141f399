#pragma once

#include <windows.h>
#include <winspool.h>
#include <winsplp.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace ksp::test {

using PortNames = std::multiset<std::wstring>;

// What EnumPorts lists; nothing when it fails.
inline PortNames EnumeratePorts(const MONITOR2& table, HANDLE monitor, DWORD level) {
    DWORD needed = 0;
    DWORD returned = 0;
    std::vector<std::uint8_t> buffer(20'000);
    PortNames names;
    if (!table.pfnEnumPorts(monitor, nullptr, level, buffer.data(),
                            static_cast<DWORD>(buffer.size()), &needed, &returned))
        return names;
    for (DWORD index = 0; index < returned; ++index) {
        names.insert(level == 1
                         ? reinterpret_cast<const PORT_INFO_1W*>(buffer.data())[index].pName
                         : reinterpret_cast<const PORT_INFO_2W*>(buffer.data())[index].pPortName);
    }
    return names;
}

}  // namespace ksp::test
