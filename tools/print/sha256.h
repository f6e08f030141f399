#pragma once

#include <windows.h>

#include <bcrypt.h>

#include <cstdint>
#include <span>
#include <string>

#include "support/unique_resource.h"

namespace ksp::print {

struct HashProviderTraits {
    using Type = BCRYPT_ALG_HANDLE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type provider) noexcept { ::BCryptCloseAlgorithmProvider(provider, 0); }
};

struct HashTraits {
    using Type = BCRYPT_HASH_HANDLE;
    static Type None() noexcept { return nullptr; }
    static void Close(Type hash) noexcept { ::BCryptDestroyHash(hash); }
};

// The SHA-256 of bytes that come in pieces, computed by Windows. Belongs to one thread at a time.
class Sha256 {
  public:
    Sha256();

    void Add(std::span<const uint8_t> bytes);

    // Of all bytes so far, as 64 lower-case hexadecimal digits; empty when Windows failed at any
    // point. Nothing can be added afterwards.
    [[nodiscard]] std::wstring Finish();

  private:
    UniqueResource<HashProviderTraits> provider_;
    UniqueResource<HashTraits> hash_;  // none after a failure
};

}  // namespace ksp::print
