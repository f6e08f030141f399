#pragma once

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

namespace ksp {

// The buffers of one Xcv command, read and written only within the sizes that came with them.
class CXcvBuffers {
  public:
    CXcvBuffers(BYTE* input, DWORD inputSize, BYTE* output, DWORD outputSize,
                DWORD* needed) noexcept
        : m_input(input),
          m_inputSize(input != nullptr ? inputSize : 0),
          m_output(output),
          m_outputSize(output != nullptr ? outputSize : 0),
          m_needed(needed) {}

    [[nodiscard]] BYTE* Input() const noexcept { return m_input; }
    [[nodiscard]] DWORD InputSize() const noexcept { return m_inputSize; }
    // The input as a text: up to its terminator or its end; of an odd size the last byte is left
    // out.
    [[nodiscard]] std::wstring InputText() const {
        std::wstring text(m_inputSize / sizeof(wchar_t), L'\0');
        if (!text.empty()) {
            std::memcpy(text.data(), m_input, text.size() * sizeof(wchar_t));
        }
        text.resize(std::wcslen(text.c_str()));
        return text;
    }
    // The same as 8-bit text.
    [[nodiscard]] std::string InputBytes() const {
        const char* const bytes = reinterpret_cast<const char*>(m_input);
        return bytes != nullptr ? std::string(bytes, ::strnlen(bytes, m_inputSize)) : std::string();
    }
    // Writes a text with its terminator over the input, as much of it as there is room for.
    void WriteInput(const std::wstring& text) noexcept {
        const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
        const std::size_t room = m_inputSize / sizeof(wchar_t) * sizeof(wchar_t);
        std::memcpy(m_input, text.c_str(), size < room ? size : room);
    }

    [[nodiscard]] bool HasRoom(std::size_t size) const noexcept { return m_outputSize >= size; }
    void Write(const void* data, std::size_t size) noexcept { std::memcpy(m_output, data, size); }
    void SetNeeded(std::size_t size) noexcept {
        if (m_needed != nullptr) {
            *m_needed = static_cast<DWORD>(size);
        }
    }

  private:
    BYTE* m_input;
    DWORD m_inputSize;
    BYTE* m_output;
    DWORD m_outputSize;
    DWORD* m_needed;
};

}  // namespace ksp
