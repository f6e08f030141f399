#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "support/windows_handles.h"

namespace ksp {

// How CFileStream opens a file. Every mode shares the file for reading and writing, so that an
// administrator can read the log while it is written.
enum class FileMode : std::uint32_t {
    kRead = 0,             // must exist
    kCreate = 1,           // write; emptied when it exists, created when not
    kAppend = 2,           // write, positioned at the end; created when it does not exist
    kReadWrite = 3,        // must exist
    kCreateReadWrite = 4,  // read and write; emptied when it exists, created when not
};

// A file behind a path, opened and closed at will; closed at the latest by its destructor.
//
// Every operation reports failure as false and throws nothing. The stream has no lock of its own:
// its owner uses it from one thread at a time.
class CFileStream {
  public:
    // What Size answers when there is no size to be had; it is over any limit.
    static constexpr std::uint32_t kNoSize = 0xFFFFFFFF;

    CFileStream() = default;
    virtual ~CFileStream() = default;
    CFileStream(const CFileStream&) = delete;
    CFileStream& operator=(const CFileStream&) = delete;

    // Keeps a copy of the path for the next Open; null forgets the path. An open file stays open.
    virtual bool SetPath(const wchar_t* path) noexcept;
    // Closes what is open, then opens the path. False without a path, and for an unknown mode.
    [[nodiscard]] virtual bool Open(FileMode mode) noexcept;
    virtual void Close() noexcept;

    [[nodiscard]] bool IsOpen() const noexcept { return static_cast<bool>(m_file); }

    // One write call. False when closed, or when not every byte was taken.
    [[nodiscard]] bool WriteBytes(const void* bytes, std::uint32_t count) noexcept;
    // Writes the text in the ANSI code page, without a terminator.
    [[nodiscard]] bool WriteText(std::wstring_view text) noexcept;
    // Brings what was written to the disk.
    [[nodiscard]] bool Flush() noexcept;
    [[nodiscard]] bool SeekToEnd() noexcept;
    // The low 32 bits of the size in bytes, or kNoSize.
    [[nodiscard]] std::uint32_t Size() const noexcept;

  private:
    std::optional<std::wstring> m_path;
    UniqueFile m_file;
};

}  // namespace ksp
