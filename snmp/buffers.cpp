#include "snmp/buffers.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

namespace ksp::snmp {

namespace {

// A NUL behind the bytes, and room for an item in front of them if it is wanted. The lengths that
// the library tells are ints.
char* NewBlock(std::size_t front, std::string_view bytes) noexcept {
    if (bytes.size() > INT_MAX) {
        return nullptr;
    }
    auto* const block = static_cast<char*>(std::calloc(front + bytes.size() + 1, 1));
    if (block != nullptr && !bytes.empty()) {
        std::memcpy(block + front, bytes.data(), bytes.size());
    }
    return block;
}

}  // namespace

char* NewText(std::string_view text) noexcept {
    return NewBlock(0, text);
}

MIMEItem* NewItem(std::string_view bytes) noexcept {
    char* const block = NewBlock(sizeof(MIMEItem), bytes);
    if (block == nullptr) {
        return nullptr;
    }
    const auto* const behind = reinterpret_cast<const unsigned char*>(block + sizeof(MIMEItem));
    return new (block) MIMEItem{behind, static_cast<int>(bytes.size())};
}

void FreeBuffer(void* buffer) noexcept {
    std::free(buffer);
}

}  // namespace ksp::snmp
