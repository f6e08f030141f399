#pragma once

#include <winsock2.h>

#include "support/unique_resource.h"

namespace ksp {

struct SocketTraits {
    using Type = SOCKET;
    static Type None() noexcept { return INVALID_SOCKET; }
    static void Close(Type socket) noexcept { ::closesocket(socket); }
};

using UniqueSocket = UniqueResource<SocketTraits>;

}  // namespace ksp
