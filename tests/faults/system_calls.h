#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

namespace ksp::test {

// How many functions of Windows are watched, and the name of one of them, by its number from 0.
size_t SystemFunctionCount();
const char* SystemFunctionName(int function);

// The calls that a loaded library makes to Windows itself: each can be refused once, with a result
// and an error that the system gives for it. The process has one set of them, for the import table
// of a library knows no objects; any of the library's threads may call meanwhile.
class SystemCalls {
  public:
    // From here on the library's calls come by. To be repeated whenever it was loaded anew; what is
    // patched goes with the library.
    static void Watch(HMODULE library);
    // Nothing was called so far, and nothing is refused.
    static void Clear();
    // The call of this number, from 1, fails. One function at a time.
    static void Refuse(int function, size_t nth);
    static void RefuseNothing();
    // By function, since the last Clear.
    static std::vector<size_t> Counts();
    // What was taken since the last Clear and not given back, a line each: sockets, starts of
    // Windows Sockets, apartments, blocks of the global heap.
    static std::vector<std::string> Leftovers();
};

}  // namespace ksp::test
