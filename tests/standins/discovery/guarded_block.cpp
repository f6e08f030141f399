#include "tests/standins/discovery/guarded_block.h"

#include <cstring>

namespace ksp::standins {
namespace {

constexpr size_t kPage = 4096;

}  // namespace

GuardedBlock::GuardedBlock(const void* bytes, size_t size)
    : usable_((size + kPage - 1) / kPage * kPage) {
    // The last page is only reserved, never usable.
    pages_.Reset(VirtualAlloc(nullptr, usable_ + kPage, MEM_RESERVE, PAGE_NOACCESS));
    if (!pages_) {
        return;
    }
    if (usable_ > 0 && VirtualAlloc(pages_.Get(), usable_, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        return;
    }
    data_ = static_cast<char*>(pages_.Get()) + usable_ - size;
    if (size > 0) {
        std::memcpy(data_, bytes, size);
    }
}

GuardedBlock::GuardedBlock(const std::string& text) : GuardedBlock(text.c_str(), text.size() + 1) {}

void GuardedBlock::Seal() {
    if (usable_ > 0) {
        VirtualFree(pages_.Get(), usable_, MEM_DECOMMIT);
    }
    usable_ = 0;
}

}  // namespace ksp::standins
