#pragma once

// The spooler's interfaces, client side and monitor side. The second header needs the first and
// does not include it; under WIN32_LEAN_AND_MEAN neither comes with windows.h.
#include <windows.h>
#include <winspool.h>

#include <winsplp.h>
