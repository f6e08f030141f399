#include "support/log_rotation.h"

#include <algorithm>

namespace ksp {

std::uint32_t LogRotation::MaximumSize(std::uint32_t megabytes) noexcept {
    constexpr std::uint32_t kMostMegabytes = 4095;
    return std::clamp(megabytes, std::uint32_t{1}, kMostMegabytes) << 20;
}

std::uint32_t LogRotation::MaximumFiles(std::uint32_t files) noexcept {
    constexpr std::uint32_t kDefaultFiles = 3;
    return files == 0 ? kDefaultFiles : files;
}

std::uint32_t LogRotation::NextIndex(std::uint32_t current, std::uint32_t maximumFiles) noexcept {
    return (current < maximumFiles ? current : 0) + 1;
}

std::wstring LogRotation::BackupFileName(const std::wstring& fileName, std::uint32_t index) {
    std::wstring name = fileName;
    name.insert(std::min(name.rfind(L'.'), name.size()), std::to_wstring(index));
    return name;
}

}  // namespace ksp
