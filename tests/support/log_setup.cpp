#include "tests/support/log_setup.h"

#include <utility>

#include "support/text.h"
#include "tests/host/log_file.h"
#include "tests/support/spooler_start.h"

namespace ksp::test {

namespace {

std::string NameOf(LineLevel level) {
    switch (level) {
        case LineLevel::kTrace:
            return "TRACE";
        case LineLevel::kInfo:
            return "INFO";
        case LineLevel::kError:
            return "ERROR";
        case LineLevel::kCritical:
            return "CRITICAL";
    }
    return "?";
}

}  // namespace

LogSetup::LogSetup(CLogger& logger, std::unique_ptr<host::MemoryRegistry> registry)
    : logger_(logger), registry_(std::move(registry)) {
    Set(L"LogDirectory", directory_.path());
}

LogSetup::~LogSetup() {
    logger_.Stop();
}

void LogSetup::Set(const std::wstring& name, DWORD number) {
    registry_->SetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, name, number);
}

void LogSetup::Set(const std::wstring& name, const std::wstring& text) {
    registry_->SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, name, text);
}

std::optional<DWORD> LogSetup::Setting(const std::wstring& name) const {
    return registry_->GetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, name);
}

bool LogSetup::Start() {
    GiveRegistry(store_, *registry_);
    return store_.OpenSoftwareKey(MonitorType::kOrdinary) == ERROR_SUCCESS && logger_.Start(store_);
}

bool LogSetup::Start(DWORD logLevel) {
    Set(L"LogLevel", logLevel);
    return Start();
}

std::vector<std::string> LogSetup::Lines(const std::wstring& name) const {
    std::vector<std::string> lines;
    const LogFile log = LogFile::Read(File(name).wstring());
    for (const LogLine& line : log.lines()) {
        lines.push_back(NameOf(line.level) + ": " + ToAnsi(line.message));
    }
    return lines;
}

}  // namespace ksp::test
