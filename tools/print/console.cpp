#include "tools/print/console.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <sstream>

namespace ksp::print {
namespace {

constexpr size_t kFieldWidth = 12;

bool IsControl(wchar_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

// A lone surrogate becomes the replacement character.
std::string ToUtf8(std::wstring_view text) {
    std::wstring visible(text);
    for (wchar_t& character : visible) {
        if (IsControl(character)) {
            character = L'?';
        }
    }
    const int size = static_cast<int>(visible.size());
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, visible.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, visible.data(), size, bytes.data(), length, nullptr, nullptr);
    return bytes;
}

void WriteLine(std::FILE* stream, std::wstring_view text) {
    const std::string bytes = ToUtf8(text) + "\n";
    // Who does not read the output any more gets the exit code all the same.
    static_cast<void>(std::fwrite(bytes.data(), 1, bytes.size(), stream));
    static_cast<void>(std::fflush(stream));
}

}  // namespace

ConsoleText::ConsoleText() : code_page_(GetConsoleOutputCP()) {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
}

ConsoleText::~ConsoleText() {
    if (code_page_ != 0) {
        SetConsoleOutputCP(code_page_);
    }
}

void PrintLine(std::wstring_view text) {
    WriteLine(stdout, text);
}

void PrintErrorLine(std::wstring_view text) {
    WriteLine(stderr, text);
}

void PrintHeading(std::wstring_view text) {
    PrintLine();
    PrintLine(text);
}

void PrintField(std::wstring_view name, std::wstring_view text) {
    PrintLine(L"  " + PadRight(name, kFieldWidth) + std::wstring(text));
}

std::wstring Grouped(uint64_t number) {
    std::wstring text = std::to_wstring(number);
    for (size_t end = text.size(); end > 3; end -= 3) {
        text.insert(end - 3, 1, L',');
    }
    return text;
}

std::wstring Counted(uint64_t number, std::wstring_view noun) {
    return Grouped(number) + L" " + std::wstring(noun) + (number == 1 ? L"" : L"s");
}

std::wstring Hex(uint32_t number) {
    std::wostringstream text;
    text << L"0x" << std::uppercase << std::hex << std::setfill(L'0') << std::setw(8) << number;
    return text.str();
}

std::wstring Seconds(double seconds) {
    std::wostringstream text;
    text << std::fixed << std::setprecision(2) << seconds << L" s";
    return text.str();
}

std::wstring PadRight(std::wstring_view text, size_t width) {
    std::wstring padded(text);
    padded.resize(std::max(width, padded.size()), L' ');
    return padded;
}

std::wstring PadLeft(std::wstring_view text, size_t width) {
    return std::wstring(width > text.size() ? width - text.size() : 0, L' ') + std::wstring(text);
}

}  // namespace ksp::print
