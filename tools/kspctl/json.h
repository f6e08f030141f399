#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::ctl {

// Builds one JSON text (RFC 8259) on one line. The caller opens and closes arrays and objects in
// pairs; commas come by themselves.
//
// Every text is valid JSON whatever it holds: control characters are escaped, and so are lone
// surrogates, which UTF-8 cannot carry.
class JsonWriter {
  public:
    void BeginObject() { Begin(L'{'); }
    void EndObject() { End(L'}'); }
    void BeginArray() { Begin(L'['); }
    void EndArray() { End(L']'); }

    // The name of the member whose value comes next.
    void Name(std::wstring_view name);

    void Text(std::wstring_view text);
    void Number(std::uint64_t number);
    void Bool(bool value);
    void Null();

    void TextMember(std::wstring_view name, std::wstring_view text);
    void NumberMember(std::wstring_view name, std::uint64_t number);

    [[nodiscard]] const std::wstring& text() const { return text_; }

  private:
    void Begin(wchar_t bracket);
    void End(wchar_t bracket);
    void Separate();
    void AppendString(std::wstring_view text);

    std::wstring text_;
    std::vector<bool> has_items_;  // of every array and object that is open
    bool after_name_ = false;
};

}  // namespace ksp::ctl
