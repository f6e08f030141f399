#pragma once

#include "tests/monitor/port_call_test.h"

namespace ksp::test {

// What the killed spooler has written of its document.
inline Bytes HalfADocument() {
    return Document(300'000, 4711);
}

}  // namespace ksp::test
