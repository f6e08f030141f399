#include "tests/discovery/debugger_output.h"

namespace ksp::test {

namespace {

// How OutputDebugString reaches a debugger: an exception with the text's length, its NUL counted,
// and its address, for wide text followed by the same of the narrow form.
constexpr DWORD kNarrow = 0x40010006;
constexpr DWORD kWide = 0x4001000A;

}  // namespace

DebuggerOutput* DebuggerOutput::listener_ = nullptr;

DebuggerOutput::DebuggerOutput() {
    listener_ = this;
    handler_ = ::AddVectoredExceptionHandler(TRUE, Listen);
}

DebuggerOutput::~DebuggerOutput() {
    ::RemoveVectoredExceptionHandler(handler_);
    listener_ = nullptr;
}

LONG CALLBACK DebuggerOutput::Listen(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    const ULONG_PTR address = record.ExceptionInformation[1];
    if (record.ExceptionCode == kWide) {
        listener_->texts_.emplace_back(reinterpret_cast<const wchar_t*>(address));
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (record.ExceptionCode == kNarrow) {
        const std::string text = reinterpret_cast<const char*>(address);
        listener_->texts_.emplace_back(text.begin(), text.end());
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace ksp::test
