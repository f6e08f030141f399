#pragma once

#include <string>

namespace ksp {

// One argument of the notifier program's command line: /P "value" for the letter P. A value that
// contains a double quote is passed with its length in UTF-16 code units, /P<10> "value", and the
// program reads exactly that many characters after the first quote. Plain computation.
[[nodiscard]] std::wstring NotifierArgument(wchar_t letter, const std::wstring& value);

struct CNotifierValues {
    std::wstring printer;
    std::wstring port;
    std::wstring user;
    std::wstring computer;
};

// The whole command line: the program's own part, then /P, /O, /U and /C.
[[nodiscard]] std::wstring NotifierCommandLine(const std::wstring& program,
                                               const CNotifierValues& values);

}  // namespace ksp
