#pragma once

#include <string>

namespace ksp::host {

// A directory of its own under the user's temporary directory, removed at the end with everything in
// it.
class TempDirectory {
  public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    // Without a trailing backslash; empty when it could not be made.
    [[nodiscard]] const std::wstring& path() const { return path_; }
    [[nodiscard]] std::wstring File(const std::wstring& name) const { return path_ + L"\\" + name; }

  private:
    std::wstring path_;
};

}  // namespace ksp::host
