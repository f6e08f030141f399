#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace ksp::test {

// How many handles of this process are open, by the kind of object: "Event", "File" (sockets too),
// "Key", "Thread", ...
using HandleCensus = std::map<std::wstring, size_t>;

HandleCensus CountHandles();

// The kinds of which there are more in `after` than in `before`, with how many more.
HandleCensus NewHandles(const HandleCensus& before, const HandleCensus& after);

// Those of the new handles that a monitor opens and has not closed.
//
// The threads of the compiler's runtime are no leak of the monitor's: for each thread that entered
// the library the copy of the runtime in it may keep a handle to the thread, and an event, until
// the thread ends. A monitor opens no threads, so every event beyond theirs is one of its own.
HandleCensus LeakedHandles(const HandleCensus& before, const HandleCensus& after);

}  // namespace ksp::test
