#pragma once

#include "support/unique_resource.h"

namespace ksp {

template <class Interface>
struct ComTraits {
    using Type = Interface*;
    static Type None() noexcept { return nullptr; }
    static void Close(Type object) noexcept { object->Release(); }
};

// The owner of one reference to a COM object.
template <class Interface>
using UniqueCom = UniqueResource<ComTraits<Interface>>;

}  // namespace ksp
