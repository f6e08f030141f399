#include "tools/kspctl/json.h"

namespace ksp::ctl {
namespace {

bool IsHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::wstring Escaped(wchar_t unit) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring text = L"\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += kDigits[(static_cast<unsigned>(unit) >> shift) & 0xF];
    }
    return text;
}

// The C1 controls and DEL need no escape in JSON, but a terminal obeys them.
bool NeedsEscape(wchar_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

}  // namespace

void JsonWriter::Begin(wchar_t bracket) {
    Separate();
    text_ += bracket;
    has_items_.push_back(false);
}

void JsonWriter::End(wchar_t bracket) {
    has_items_.pop_back();
    text_ += bracket;
}

void JsonWriter::Separate() {
    if (after_name_) {
        after_name_ = false;
        return;
    }
    if (!has_items_.empty()) {
        if (has_items_.back()) {
            text_ += L',';
        }
        has_items_.back() = true;
    }
}

void JsonWriter::AppendString(std::wstring_view text) {
    text_ += L'"';
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar_t unit = text[i];
        if (unit == L'"' || unit == L'\\') {
            text_ += L'\\';
            text_ += unit;
        } else if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            text_ += unit;
            text_ += text[++i];
        } else if (NeedsEscape(unit) || IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            text_ += Escaped(unit);
        } else {
            text_ += unit;
        }
    }
    text_ += L'"';
}

void JsonWriter::Name(std::wstring_view name) {
    Separate();
    AppendString(name);
    text_ += L':';
    after_name_ = true;
}

void JsonWriter::Text(std::wstring_view text) {
    Separate();
    AppendString(text);
}

void JsonWriter::Number(std::uint64_t number) {
    Separate();
    text_ += std::to_wstring(number);
}

void JsonWriter::Bool(bool value) {
    Separate();
    text_ += value ? L"true" : L"false";
}

void JsonWriter::Null() {
    Separate();
    text_ += L"null";
}

void JsonWriter::TextMember(std::wstring_view name, std::wstring_view text) {
    Name(name);
    Text(text);
}

void JsonWriter::NumberMember(std::wstring_view name, std::uint64_t number) {
    Name(name);
    Number(number);
}

}  // namespace ksp::ctl
