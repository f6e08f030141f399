#include "monitor/notifier_command.h"

namespace ksp {

std::wstring NotifierArgument(wchar_t letter, const std::wstring& value) {
    std::wstring argument = L"/";
    argument += letter;
    if (value.find(L'"') != std::wstring::npos) {
        argument += L"<" + std::to_wstring(value.size()) + L">";
    }
    return argument + L" \"" + value + L"\"";
}

std::wstring NotifierCommandLine(const std::wstring& program, const CNotifierValues& values) {
    return program + L" " + NotifierArgument(L'P', values.printer) + L" " +
           NotifierArgument(L'O', values.port) + L" " + NotifierArgument(L'U', values.user) + L" " +
           NotifierArgument(L'C', values.computer);
}

}  // namespace ksp
