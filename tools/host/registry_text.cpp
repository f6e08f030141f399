#include "tools/host/registry_text.h"

#include <cstring>

namespace ksp::host {
namespace {

std::wstring HexBytes(const std::vector<BYTE>& data) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text;
    for (const BYTE byte : data) {
        if (!text.empty()) {
            text += L' ';
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

// A terminator would end the line on a console; shown as \0 it can be seen.
std::wstring QuotedText(const std::vector<BYTE>& data) {
    std::wstring text = L"\"";
    for (const wchar_t character : TextOf(data)) {
        if (character == L'\0') {
            text += L"\\0";
        } else {
            text += character;
        }
    }
    return text + L"\" (" + std::to_wstring(data.size()) + L" bytes)";
}

std::wstring DescribeValue(const RegistryValue& value) {
    if (value.type == REG_SZ) {
        return L"REG_SZ " + QuotedText(value.data);
    }
    DWORD number = 0;
    if (value.type == REG_DWORD && value.data.size() == sizeof(number)) {
        std::memcpy(&number, value.data.data(), sizeof(number));
        return L"REG_DWORD " + std::to_wstring(number);
    }
    if (value.type == REG_BINARY) {
        return L"REG_BINARY " + HexBytes(value.data);
    }
    return L"type " + std::to_wstring(value.type) + L" " + HexBytes(value.data);
}

void AppendKey(const RegistryNode& key, const std::wstring& indent, std::wstring* text) {
    *text += indent + L"[" + key.name() + L"]\n";
    const std::wstring deeper = indent + L"  ";
    for (const RegistryNode::NamedValue& entry : key.values()) {
        *text += deeper + L"\"" + entry.name + L"\" = " + DescribeValue(entry.value) + L"\n";
    }
    for (const auto& [name, subkey] : key.subkeys()) {
        AppendKey(*subkey, deeper, text);
    }
}

}  // namespace

std::wstring TextOf(const std::vector<BYTE>& data) {
    std::wstring text(data.size() / sizeof(wchar_t), L'\0');
    if (!text.empty()) {
        std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    }
    return text;
}

std::wstring DescribeKey(const RegistryNode& key) {
    std::wstring text;
    AppendKey(key, L"", &text);
    return text;
}

}  // namespace ksp::host
