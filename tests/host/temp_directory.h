#pragma once

#include "tools/host/temp_directory.h"

namespace ksp::test {

using host::TempDirectory;

}  // namespace ksp::test
