#include "tools/kspctl/failure.h"

#include <algorithm>

namespace ksp::ctl {
namespace {

struct CodeMeaning {
    ExitCode code;
    const wchar_t* meaning;
};

constexpr CodeMeaning kMeanings[] = {
    {ExitCode::kDone, L"done (exists, test: yes)"},
    {ExitCode::kFailed, L"the spooler, the monitor or the system refused"},
    {ExitCode::kWrongUsage, L"the command line cannot be used; nothing was done"},
    {ExitCode::kNotFound, L"no such port, or the monitor is not installed"},
    {ExitCode::kExists, L"there is one of this name already"},
    {ExitCode::kAccessDenied, L"access denied: administrators only"},
    {ExitCode::kInUse, L"a printer uses the port, or a job is on it"},
    {ExitCode::kPrinterSilent, L"test, print: the printer does not do what a job needs"},
};

struct KnownError {
    DWORD error;
    ExitCode code;
    const wchar_t* advice;
};

constexpr KnownError kKnownErrors[] = {
    {ERROR_ACCESS_DENIED, ExitCode::kAccessDenied,
     L"run the command as an administrator of that computer"},
    {RPC_S_SERVER_UNAVAILABLE, ExitCode::kFailed,
     L"start the print spooler (net start spooler); for --server check the name and the firewall"},
    {ERROR_SERVICE_NOT_ACTIVE, ExitCode::kFailed, L"start the print spooler (net start spooler)"},
    {ERROR_BAD_NETPATH, ExitCode::kFailed, L"check the name that was given with --server"},
};

}  // namespace

std::wstring ExitCodeTable() {
    std::wstring table;
    for (const CodeMeaning& entry : kMeanings) {
        table +=
            L"  " + std::to_wstring(static_cast<int>(entry.code)) + L"  " + entry.meaning + L"\n";
    }
    return table;
}

Failure WrongUsage(std::wstring text) {
    return {ExitCode::kWrongUsage, std::move(text)};
}

Failure SystemFailure(const std::wstring& what, DWORD error) {
    const auto known =
        std::find_if(std::begin(kKnownErrors), std::end(kKnownErrors),
                     [error](const KnownError& entry) { return entry.error == error; });
    Failure failure{ExitCode::kFailed, what + L": " + DescribeError(error)};
    if (known != std::end(kKnownErrors)) {
        failure.code = known->code;
        failure.advice = known->advice;
    }
    return failure;
}

std::wstring DescribeError(DWORD error) {
    wchar_t text[512] = {};
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                       0, text, static_cast<DWORD>(std::size(text)), nullptr);
    std::wstring words(text, length);
    while (!words.empty() && (words.back() == L'\n' || words.back() == L'\r' ||
                              words.back() == L'.' || words.back() == L' ')) {
        words.pop_back();
    }
    const std::wstring number = L"error " + std::to_wstring(error);
    return words.empty() ? number : words + L" (" + number + L")";
}

std::wstring Quoted(std::wstring_view text) {
    return L"\"" + std::wstring(text) + L"\"";
}

}  // namespace ksp::ctl
