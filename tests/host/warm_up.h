#pragma once

#include <string>

namespace ksp::test {

// Makes the system open, once per process, what it opens at first use and keeps to the end, so that
// a count of handles does not take it for a leak: what comes with the monitor library at `path`,
// the calling thread's part of Windows Sockets, of the C++ runtime and of GoogleTest, the user's
// registry.
void WarmUp(const std::wstring& path);

}  // namespace ksp::test
