#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

#include "support/unique_resource.h"

namespace ksp::standins {

// Memory whose content ends where the memory ends: reading one byte more crashes at once.
class GuardedBlock {
  public:
    GuardedBlock() = default;
    // A copy of the bytes; without data() when memory is short.
    GuardedBlock(const void* bytes, size_t size);
    // A copy of the text with its NUL.
    explicit GuardedBlock(const std::string& text);

    // With size 0 the address is valid, but nothing can be read there.
    [[nodiscard]] char* data() const { return data_; }

    // Frees the memory and keeps its addresses, so that any later use crashes and no other block is
    // taken for this one.
    void Seal();

  private:
    struct PagesTraits {
        using Type = void*;
        static Type None() noexcept { return nullptr; }
        static void Close(Type pages) noexcept { VirtualFree(pages, 0, MEM_RELEASE); }
    };

    UniqueResource<PagesTraits> pages_;
    size_t usable_ = 0;
    char* data_ = nullptr;
};

}  // namespace ksp::standins
