#include "support/logger.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>

#include "support/immortal.h"
#include "support/log_rotation.h"
#include "support/process_state.h"

namespace ksp {

namespace {

CImmortal<CLogger> g_logger;

constexpr std::size_t kFormatBuffer = 1024;  // characters, the terminator included

// The Windows runtime's formatting, which cuts at the buffer's end without terminating.
void FormatInto(wchar_t (&buffer)[kFormatBuffer], const wchar_t* format,
                std::va_list arguments) noexcept {
    buffer[0] = L'\0';
    if (format != nullptr) {
        ::_vsnwprintf(buffer, kFormatBuffer - 1, format, arguments);
        buffer[kFormatBuffer - 1] = L'\0';
    }
}

std::wstring Prefix(LogLevel level) {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    wchar_t date[16];
    ::_snwprintf(date, 16, L"%02u/%02u/%02u", now.wMonth, now.wDay, now.wYear % 100U);
    wchar_t time[16];
    ::_snwprintf(time, 16, L"%02u:%02u:%02u", now.wHour, now.wMinute, now.wSecond);
    wchar_t prefix[96];
    ::_snwprintf(prefix, 96, L"[%s: %s PID(%u) TID(%u)] %s ", date, time,
                 static_cast<unsigned>(::GetCurrentProcessId()),
                 static_cast<unsigned>(::GetCurrentThreadId()), LevelName(level));
    return prefix;
}

std::wstring Suffix(const wchar_t* source, std::uint32_t line) {
    if (source == nullptr || *source == L'\0') {
        return L"";
    }
    const std::wstring path = source;
    return L" " + path.substr(path.rfind(L'\\') + 1) + L"(" +
           std::to_wstring(static_cast<std::int32_t>(line)) + L")";
}

}  // namespace

CLogger& Logger() noexcept {
    return g_logger.Get();
}

bool CLogger::Start(ILogSettings& settings) noexcept {
    if (!m_initialised) {
        m_lock.Create();
    }
    m_initialised = false;
    m_threshold = kNothing;
    m_file.Close();
    bool started = false;
    try {
        const CAutoLogCritSec guard(&m_lock);
        m_directory = settings.GetLogDirectory();
        m_fileName = settings.GetLogFileName();
        started = CreateLogDirectory();
        if (started) {
            ApplySettings(settings);
        }
    } catch (...) {
        started = false;
    }
    if (!started) {
        ForgetFile();
        m_lock.Delete();
        return false;
    }
    m_settings = &settings;
    m_initialised = true;
    m_threshold = m_minimumLevel == kLoggingOff ? kNothing : m_minimumLevel;
    return true;
}

void CLogger::Stop() noexcept {
    if (!m_initialised) {
        return;
    }
    m_initialised = false;
    m_threshold = kNothing;
    m_file.Close();
    m_file.SetPath(nullptr);
    ForgetFile();
    m_lock.Delete();
}

// By swapping: an assignment may keep the memory, and this object's destructor never runs.
void CLogger::ForgetFile() noexcept {
    std::wstring().swap(m_directory);
    std::wstring().swap(m_fileName);
}

void CLogger::ApplySettings(ILogSettings& settings) {
    const std::uint32_t level = settings.ReadSetting(L"LogLevel").value_or(kLoggingOff);
    m_minimumLevel = level >= 1 && level <= kLoggingOff ? level : kLoggingOff;
    m_backupIndex = settings.ReadSetting(L"LogFileIndex").value_or(0);
    m_maximumSize = LogRotation::MaximumSize(settings.ReadSetting(L"MaxLogSize").value_or(0));
    m_maximumFiles = LogRotation::MaximumFiles(settings.ReadSetting(L"MaxLogFiles").value_or(0));
}

bool CLogger::CreateLogDirectory() const {
    return ::CreateDirectoryW(m_directory.c_str(), nullptr) != FALSE ||
           ::GetLastError() != ERROR_PATH_NOT_FOUND;
}

std::wstring CLogger::PathOf(const std::wstring& fileName) const {
    return m_directory + L"\\" + fileName;
}

std::wstring CLogger::BackupFileName() const {
    return LogRotation::BackupFileName(m_fileName, m_backupIndex);
}

void CLogger::LogMessage(LogLevel level, const wchar_t* source, std::uint32_t line,
                         const wchar_t* message) noexcept {
    if (!IsWritten(level)) {
        return;
    }
    // Callers hand the thread's last error on to the spooler after logging; it must survive the
    // line.
    const DWORD lastError = ::GetLastError();
    {
        const CAutoLogCritSec guard(&m_lock);
        if (guard.IsHeld()) {
            try {
                if (CFileStream* file = ObtainFile(); file != nullptr) {
                    const std::wstring text = Prefix(level) + (message != nullptr ? message : L"") +
                                              Suffix(source, line) + L"\r\n";
                    if (file->SeekToEnd() && file->WriteText(text)) {
                        static_cast<void>(file->Flush());
                    }
                }
            } catch (...) {
                m_file.Close();
            }
        }
    }
    ::SetLastError(lastError);
}

void CLogger::LogFormatted(LogLevel level, const wchar_t* source, std::uint32_t line,
                           const wchar_t* format, ...) noexcept {
    if (!IsWritten(level)) {
        return;
    }
    const DWORD lastError = ::GetLastError();
    wchar_t message[kFormatBuffer];
    std::va_list arguments;
    va_start(arguments, format);
    FormatInto(message, format, arguments);
    va_end(arguments);
    ::SetLastError(lastError);
    LogMessage(level, source, line, message);
}

CFileStream* CLogger::ObtainFile() {
    if (!m_initialised || m_rotating || m_minimumLevel == kLoggingOff) {
        return nullptr;
    }
    if (!m_file.IsOpen() && !OpenFile(FileMode::kAppend)) {
        return nullptr;
    }
    return m_file.Size() < m_maximumSize ? &m_file : Rotate();
}

bool CLogger::OpenFile(FileMode mode) {
    return m_file.SetPath(PathOf(m_fileName).c_str()) && m_file.Open(mode);
}

void CLogger::StoreBackupIndex() noexcept {
    // At process end the registry belongs to threads that are gone; the index is then only
    // remembered.
    if (IsProcessEnding()) {
        return;
    }
    m_rotating = true;
    try {
        m_settings->WriteSetting(L"LogFileIndex", m_backupIndex);
    } catch (...) {
        // The backups are still numbered in order; only a restart would use a number again.
    }
    m_rotating = false;
}

CFileStream* CLogger::Rotate() {
    m_backupIndex = LogRotation::NextIndex(m_backupIndex, m_maximumFiles);
    StoreBackupIndex();

    const std::wstring log = PathOf(m_fileName);
    const std::wstring backup = PathOf(BackupFileName());
    m_file.Close();
    const bool copied = ::CopyFileW(log.c_str(), backup.c_str(), FALSE) != FALSE;
    const DWORD copyError = ::GetLastError();
    if (!OpenFile(FileMode::kCreate)) {
        return nullptr;
    }
    if (!copied) {
        wchar_t text[64];
        ::_snwprintf(text, 64, L"Log file copy failed. (%d) \r\n", static_cast<int>(copyError));
        static_cast<void>(m_file.WriteText(text));
    }
    return &m_file;
}

}  // namespace ksp
