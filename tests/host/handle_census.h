#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace ksp::test {

// How many handles of this process are open, by the kind of object: "Event", "File" (sockets too),
// "Key", "Thread", ...; and thread-local indexes, of which a process has no more than 1088.
using HandleCensus = std::map<std::wstring, size_t>;

HandleCensus CountHandles();

// The kinds of which there are more in `after` than in `before`, with how many more.
HandleCensus NewHandles(const HandleCensus& before, const HandleCensus& after);

// Those of the new handles that a monitor opens and has not closed.
//
// What the compiler's runtime keeps is no leak of the monitor's. For each thread that entered the
// library the copy of the runtime in it may keep a handle to the thread, and an event, until the
// thread ends: a monitor opens no threads, so every event beyond theirs is one of its own. And a
// thread-local index stays behind each time the library is unloaded after it handled an exception.
HandleCensus LeakedHandles(const HandleCensus& before, const HandleCensus& after);

}  // namespace ksp::test
