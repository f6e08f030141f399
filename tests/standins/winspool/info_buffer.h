#pragma once

#include <windows.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace ksp::standins {

// A text as the spooler keeps it: none at all (a null pointer in its structures) or some text.
using OptionalText = std::optional<std::wstring>;

inline OptionalText CopyText(const wchar_t* text) {
    return text == nullptr ? OptionalText() : OptionalText(text);
}

// Lays out spooler information in a caller's buffer: an array of structures at the front, their
// texts behind them. Built once without knowing the buffer, so that the size reported and the
// size filled cannot differ.
template <typename Info>
class InfoBuffer {
  public:
    Info& Append() {
        items_.push_back({});
        return items_.back();
    }

    Info& last() { return items_.back(); }

    // Remembers to point `member` of the item appended last at a copy of the text.
    void SetText(LPWSTR Info::*member, const OptionalText& text) {
        if (!text) {
            return;
        }
        texts_.push_back({items_.size() - 1, member, *text});
    }

    [[nodiscard]] DWORD count() const { return static_cast<DWORD>(items_.size()); }

    [[nodiscard]] DWORD size() const {
        size_t bytes = items_.size() * sizeof(Info);
        for (const PendingText& pending : texts_) {
            bytes += Bytes(pending.text);
        }
        return static_cast<DWORD>(bytes);
    }

    // Writes everything to `buffer`, which has at least size() bytes.
    void WriteTo(BYTE* buffer) const {
        std::vector<Info> items = items_;
        BYTE* position = buffer + items.size() * sizeof(Info);
        for (const PendingText& pending : texts_) {
            std::memcpy(position, pending.text.c_str(), Bytes(pending.text));
            items[pending.item].*(pending.member) = reinterpret_cast<LPWSTR>(position);
            position += Bytes(pending.text);
        }
        if (!items.empty()) {
            std::memcpy(buffer, items.data(), items.size() * sizeof(Info));
        }
    }

  private:
    struct PendingText {
        size_t item = 0;
        LPWSTR Info::*member = nullptr;
        std::wstring text;
    };

    static size_t Bytes(const std::wstring& text) { return (text.size() + 1) * sizeof(wchar_t); }

    std::vector<Info> items_;
    std::vector<PendingText> texts_;
};

}  // namespace ksp::standins
