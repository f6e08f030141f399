#include "support/file_stream.h"

#include "support/text.h"

namespace ksp {

namespace {

struct OpenArguments {
    DWORD access;
    DWORD disposition;
};

std::optional<OpenArguments> ArgumentsFor(FileMode mode, const std::wstring& path) {
    switch (mode) {
        case FileMode::kRead:
            return OpenArguments{GENERIC_READ, OPEN_EXISTING};
        case FileMode::kCreate:
            return OpenArguments{GENERIC_WRITE, CREATE_ALWAYS};
        case FileMode::kAppend: {
            const bool exists = ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
            return OpenArguments{GENERIC_WRITE,
                                 static_cast<DWORD>(exists ? OPEN_ALWAYS : CREATE_NEW)};
        }
        case FileMode::kReadWrite:
            return OpenArguments{GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING};
        case FileMode::kCreateReadWrite:
            return OpenArguments{GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS};
    }
    return std::nullopt;
}

}  // namespace

bool CFileStream::SetPath(const wchar_t* path) noexcept {
    try {
        if (path == nullptr) {
            m_path.reset();
        } else {
            m_path = path;
        }
        return true;
    } catch (...) {
        m_path.reset();
        return false;
    }
}

bool CFileStream::Open(FileMode mode) noexcept {
    Close();
    if (!m_path) {
        return false;
    }
    const auto arguments = ArgumentsFor(mode, *m_path);
    if (!arguments) {
        return false;
    }
    m_file.Reset(::CreateFileW(m_path->c_str(), arguments->access,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, arguments->disposition,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_file) {
        return false;
    }
    if (mode == FileMode::kAppend && !SeekToEnd()) {
        Close();
        return false;
    }
    return true;
}

void CFileStream::Close() noexcept {
    m_file.Reset();
}

bool CFileStream::WriteBytes(const void* bytes, std::uint32_t count) noexcept {
    DWORD written = 0;
    return m_file && ::WriteFile(m_file.Get(), bytes, count, &written, nullptr) != FALSE &&
           written == count;
}

bool CFileStream::WriteText(std::wstring_view text) noexcept {
    try {
        const std::string bytes = ToAnsi(text);
        return WriteBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    } catch (...) {
        return false;
    }
}

bool CFileStream::Flush() noexcept {
    return m_file && ::FlushFileBuffers(m_file.Get()) != FALSE;
}

bool CFileStream::SeekToEnd() noexcept {
    LARGE_INTEGER nowhere{};
    return m_file && ::SetFilePointerEx(m_file.Get(), nowhere, nullptr, FILE_END) != FALSE;
}

std::uint32_t CFileStream::Size() const noexcept {
    return m_file ? ::GetFileSize(m_file.Get(), nullptr) : kNoSize;
}

}  // namespace ksp
