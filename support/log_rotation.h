#pragma once

#include <cstdint>
#include <string>

namespace ksp {

// The settings by which the log is rotated, as the logger applies them to the stored values.
struct LogRotation {
    // Bytes: the stored number of megabytes times 1048576; 0 counts as 1 megabyte. The product is
    // held in 32 bits like the file size it is compared with, so that 4095 megabytes are the most.
    [[nodiscard]] static std::uint32_t MaximumSize(std::uint32_t megabytes) noexcept;
    // How many backups are kept; 0 counts as 3.
    [[nodiscard]] static std::uint32_t MaximumFiles(std::uint32_t files) noexcept;
    // The backups are numbered 1, 2, ..., maximum, 1, 2, ...
    [[nodiscard]] static std::uint32_t NextIndex(std::uint32_t current,
                                                 std::uint32_t maximumFiles) noexcept;
    // The index goes before the last dot ("log.txt", 2: "log2.txt"), or at the end of a name
    // without one ("log": "log2").
    [[nodiscard]] static std::wstring BackupFileName(const std::wstring& fileName,
                                                     std::uint32_t index);
};

}  // namespace ksp
