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

}  // namespace ksp::test
