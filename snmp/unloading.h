#pragma once

#include <atomic>

namespace ksp::snmp {

// Whether the library is being taken out of the process. Then the loader lock is held, for which a
// thread waits that is about to end: from here on nothing waits for a thread, and Windows Sockets
// are left as they are. No search runs any more, as each keeps the library loaded.
inline std::atomic<bool> g_isUnloading{false};

}  // namespace ksp::snmp
