#include "channels/spool_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ports/registry_store.h"

namespace ksp {

namespace {
constexpr std::size_t kReadAhead = 64 * 1024;
}

std::wstring CSpoolFile::Directory() {
    std::wstring directory = RegistryStore().GetLprDirectory();
    return directory.empty() ? L"c:\\lpr" : directory;
}

std::wstring CSpoolFile::PathOf(std::uint32_t jobNumber) {
    wchar_t number[16];
    ::_snwprintf(number, 16, L"%03u", jobNumber);
    return Directory() + L"\\ksp" + number;
}

bool CSpoolFile::Delete(std::uint32_t jobNumber) {
    return ::DeleteFileW(PathOf(jobNumber).c_str()) != FALSE;
}

bool CSpoolFile::Create(std::uint32_t jobNumber) {
    Close();
    if (::CreateDirectoryW(Directory().c_str(), nullptr) == FALSE &&
        ::GetLastError() == ERROR_PATH_NOT_FOUND) {
        return false;
    }
    m_file.Reset(::CreateFileW(PathOf(jobNumber).c_str(), GENERIC_READ | GENERIC_WRITE,
                               FILE_SHARE_READ, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                               nullptr));
    return static_cast<bool>(m_file);
}

void CSpoolFile::Close() noexcept {
    m_file.Reset();
    m_buffer.clear();
    m_position = 0;
}

bool CSpoolFile::Write(const void* data, std::uint32_t length) {
    DWORD written = 0;
    return m_file && ::WriteFile(m_file.Get(), data, length, &written, nullptr) != FALSE &&
           written == length;
}

std::optional<std::uint64_t> CSpoolFile::Size() const {
    LARGE_INTEGER size{};
    if (!m_file || ::GetFileSizeEx(m_file.Get(), &size) == FALSE) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(size.QuadPart);
}

bool CSpoolFile::Rewind() {
    m_buffer.clear();
    m_position = 0;
    const LARGE_INTEGER start{};
    return m_file && ::SetFilePointerEx(m_file.Get(), start, nullptr, FILE_BEGIN) != FALSE;
}

std::optional<std::size_t> CSpoolFile::Read(void* data, std::size_t length) {
    std::size_t total = 0;
    while (total < length) {
        if (m_position == m_buffer.size()) {
            if (!FillBuffer()) {
                return std::nullopt;
            }
            if (m_buffer.empty()) {
                break;
            }
        }
        const std::size_t count = std::min(length - total, m_buffer.size() - m_position);
        std::memcpy(static_cast<char*>(data) + total, m_buffer.data() + m_position, count);
        m_position += count;
        total += count;
    }
    return total;
}

bool CSpoolFile::FillBuffer() {
    m_buffer.resize(kReadAhead);
    m_position = 0;
    DWORD count = 0;
    const bool read =
        m_file && ::ReadFile(m_file.Get(), m_buffer.data(), static_cast<DWORD>(m_buffer.size()),
                             &count, nullptr) != FALSE;
    m_buffer.resize(read ? count : 0);
    return read;
}

}  // namespace ksp
