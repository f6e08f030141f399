#include "support/bstr.h"

#include <new>

namespace ksp {

UniqueBstr CopyBstr(BSTR source) {
    if (source == nullptr) {
        return UniqueBstr();
    }
    // A string may hold an odd number of bytes, so it is copied as bytes.
    UniqueBstr copy(
        ::SysAllocStringByteLen(reinterpret_cast<const char*>(source), ::SysStringByteLen(source)));
    if (!copy) {
        throw std::bad_alloc();
    }
    return copy;
}

UniqueBstr MakeBstr(std::wstring_view text) {
    UniqueBstr made(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!made) {
        throw std::bad_alloc();
    }
    return made;
}

}  // namespace ksp
