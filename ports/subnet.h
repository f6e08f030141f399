#pragma once

#include <string>

namespace ksp {

// A network that discovery searches beyond the local segment; both texts dotted.
struct CSubnet {
    std::wstring Address;
    std::wstring Mask;
};

}  // namespace ksp
