#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "support/critical_section.h"
#include "support/file_stream.h"
#include "support/log_level.h"
#include "support/log_settings.h"

namespace ksp {

// The one log of the process: a text file to which every room appends lines, filtered by a minimum
// level and rotated into numbered backups when it has grown past its size.
//
// A line is
//     [MM/DD/YY: HH:MM:SS PID(n) TID(n)] LEVEL    message source(line)<CR><LF>
// in the ANSI code page, with the source only when one was given. It is on the disk when the call
// returns, so that it survives the death of the spooler.
//
// Any thread may log. One lock serialises start-up, lines and rotation. No failure and no exception
// ever leaves the logger: a line that cannot be written is dropped, and the next one tries again.
//
// Call sites use Log() of support/log.h; the operations here are for ready texts and for the port
// manager, which starts and stops the logger.
class CLogger {
  public:
    CLogger() = default;
    ~CLogger() { Stop(); }
    CLogger(const CLogger&) = delete;
    CLogger& operator=(const CLogger&) = delete;

    // Reads the settings and creates the log directory (one level only). False leaves logging off:
    // the directory's parent is missing. The settings must outlive the logger's run: rotation
    // writes the index of the last backup through them.
    bool Start(ILogSettings& settings) noexcept;
    // Closes the file and gives up the lock. Does nothing when logging is off.
    void Stop() noexcept;

    [[nodiscard]] bool IsStarted() const noexcept { return m_initialised.load(); }

    // Whether a line of this level would be written.
    [[nodiscard]] bool IsWritten(LogLevel level) const noexcept {
        return static_cast<std::uint32_t>(level) >= m_threshold.load(std::memory_order_relaxed);
    }

    // Writes one line. The source's last path component and the line number follow the message when
    // the source is neither null nor empty.
    void LogMessage(LogLevel level, const wchar_t* source, std::uint32_t line,
                    const wchar_t* message) noexcept;
    // Formats first, into at most 1023 characters: a longer result is cut there. A null format
    // makes an empty message.
    void LogFormatted(LogLevel level, const wchar_t* source, std::uint32_t line,
                      const wchar_t* format, ...) noexcept;

    // The log file's name with the index of the last backup in it.
    [[nodiscard]] std::wstring BackupFileName() const;

  private:
    // No level reaches it, so nothing is written.
    static constexpr std::uint32_t kNothing = 0xFFFFFFFF;

    void ApplySettings(ILogSettings& settings);
    void ForgetFile() noexcept;
    [[nodiscard]] bool CreateLogDirectory() const;
    [[nodiscard]] std::wstring PathOf(const std::wstring& fileName) const;
    // What follows is called under the lock.
    [[nodiscard]] CFileStream* ObtainFile();
    [[nodiscard]] bool OpenFile(FileMode mode);
    void StoreBackupIndex() noexcept;
    [[nodiscard]] CFileStream* Rotate();

    std::atomic<bool> m_initialised{false};
    // The minimum level while logging is on, kNothing otherwise: the one thing a filtered call
    // reads.
    std::atomic<std::uint32_t> m_threshold{kNothing};
    // Set while the new backup index is written to the settings; a line logged by that write must
    // not start another rotation.
    bool m_rotating = false;
    std::wstring m_directory;
    std::wstring m_fileName;
    std::uint32_t m_minimumLevel = kLoggingOff;
    std::uint32_t m_backupIndex = 0;
    std::uint32_t m_maximumSize = 0;
    std::uint32_t m_maximumFiles = 0;
    ILogSettings* m_settings = nullptr;
    CFileStream m_file;
    CCriticalSection m_lock;
};

// The process's logger; there for as long as the library is loaded.
[[nodiscard]] CLogger& Logger() noexcept;

}  // namespace ksp
