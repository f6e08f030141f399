#pragma once

#include <gtest/gtest.h>

#include <string>

namespace ksp::test {

// Whether a file of the monitor's log consists of whole lines, each begun by its own prefix. A file
// without any, or none at all, does not. (System texts in lines may end with a line end of their
// own.)
::testing::AssertionResult HasWholeLines(const std::wstring& path);

// The log in a directory, and those of its backups that there are.
void ExpectWholeLogs(const std::wstring& directory);

}  // namespace ksp::test
