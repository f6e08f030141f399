#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/windows_handles.h"

namespace ksp {

// The file in which a job's data wait until their length is known. While it is open nobody else can
// open it for writing or delete it: a job that comes round to the same number cannot harm it.
//
// The destructor closes the file and leaves it where it is; whoever spools deletes it by its path.
class CSpoolFile {
  public:
    // The directory of the spool files: the setting `LPRDirectory`, or "c:\lpr" when it is empty.
    [[nodiscard]] static std::wstring Directory();
    // The file of a job number, in the directory as it is set now.
    [[nodiscard]] static std::wstring PathOf(std::uint32_t jobNumber);
    // Fails, without harm, when another job holds the file.
    static bool Delete(std::uint32_t jobNumber);

    // Creates the directory (one level only) and the file, emptied when it exists. False when part
    // of the directory's path does not exist, or the file cannot be had.
    [[nodiscard]] bool Create(std::uint32_t jobNumber);
    void Close() noexcept;

    // False when not every byte was taken.
    [[nodiscard]] bool Write(const void* data, std::uint32_t length);
    // Bytes; none when it cannot be learnt.
    [[nodiscard]] std::optional<std::uint64_t> Size() const;

    // Reading starts with Rewind; each Read gives up to `length` bytes, fewer only at the end. None
    // when the file cannot be read.
    [[nodiscard]] bool Rewind();
    [[nodiscard]] std::optional<std::size_t> Read(void* data, std::size_t length);

  private:
    [[nodiscard]] bool FillBuffer();

    UniqueFile m_file;
    std::vector<char> m_buffer;  // what was read ahead; one system call serves many chunks
    std::size_t m_position = 0;
};

}  // namespace ksp
