#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string_view>

#include "support/unique_resource.h"

namespace ksp {

struct BstrTraits {
    using Type = BSTR;
    static Type None() noexcept { return nullptr; }
    static void Close(Type text) noexcept { ::SysFreeString(text); }
};

// The owner of a COM string.
using UniqueBstr = UniqueResource<BstrTraits>;

// A new string with the same bytes, embedded zeros included; none for none. Running out of memory
// is thrown as std::bad_alloc, the process's form of E_OUTOFMEMORY.
[[nodiscard]] UniqueBstr CopyBstr(BSTR source);

// A new string with the characters of the text; the same memory rule.
[[nodiscard]] UniqueBstr MakeBstr(std::wstring_view text);

}  // namespace ksp
