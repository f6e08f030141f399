#pragma once

#include <string>
#include <vector>

#include "tools/host/registry_tree.h"

namespace ksp::host {

// The characters that REG_SZ data holds, terminators included; an odd last byte is left out.
std::wstring TextOf(const std::vector<BYTE>& data);

// A key, its values and everything below it, as indented lines that end in "\n":
//   [KEY_A]
//     "PrinterAddress" = REG_SZ "127.0.0.1" (18 bytes)
//     "ProtocolID" = REG_DWORD 2
//     "LocalSegment" = REG_BINARY 01
std::wstring DescribeKey(const RegistryNode& key);

}  // namespace ksp::host
