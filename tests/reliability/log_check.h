#pragma once

#include <gtest/gtest.h>

#include <string>

namespace ksp::test {

// Whether a file of the monitor's log consists of whole lines, each begun by its own prefix; a file
// that does not exist does. (System texts in lines may end with a line end of their own.)
::testing::AssertionResult HasWholeLines(const std::wstring& path);

// The log and its backups in a directory.
void ExpectWholeLogs(const std::wstring& directory);

}  // namespace ksp::test
