#include "tests/lpr/job_text.h"

#include <windows.h>

#include <lmcons.h>

#include <algorithm>

namespace ksp::test {
namespace {

std::string Digits(unsigned number) {
    return {static_cast<char>('0' + number / 100 % 10), static_cast<char>('0' + number / 10 % 10),
            static_cast<char>('0' + number % 10)};
}

}  // namespace

std::string Ansi(const std::wstring& text) {
    std::string result(text.size() * 4, '\0');
    const int length =
        WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), result.data(),
                            static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<size_t>(std::max(length, 0)));
    return result;
}

std::string ComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    GetComputerNameW(name, &length);
    return Ansi(name);
}

std::string UserName() {
    wchar_t name[UNLEN + 1] = {};
    DWORD length = UNLEN + 1;
    GetUserNameW(name, &length);
    return Ansi(name);
}

std::string JobText::Control() const {
    const std::string file = "dfA" + Digits(number) + ComputerName();
    return "H" + ComputerName() + "\nP" + (user.empty() ? UserName() : user) + "\nJ" + job + "\nN" +
           job + "\nl" + file + "\nU" + file + "\n";
}

std::string JobText::ReceiveControl() const {
    return "\x02" + std::to_string(Control().size()) + " cfA" + Digits(number) + ComputerName();
}

std::string JobText::ReceiveData() const {
    return "\x03" + data_count + " dfA" + Digits(number) + ComputerName();
}

std::string JobText::Preamble() const {
    return ReceiveJob() + "\n" + ReceiveControl() + "\n" + Control() + '\0' + ReceiveData() + "\n";
}

}  // namespace ksp::test
