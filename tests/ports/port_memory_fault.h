#pragma once

#include <windows.h>

#include <cstddef>

namespace ksp::test {

// Makes one request for memory of the calling thread fail while it lives. The program's operator
// new obeys it; one at a time.
class MemoryFault {
  public:
    // nth 1: the next request.
    explicit MemoryFault(std::size_t nth);
    ~MemoryFault();
    MemoryFault(const MemoryFault&) = delete;
    MemoryFault& operator=(const MemoryFault&) = delete;

    // Whether there were that many requests.
    [[nodiscard]] bool Struck() const;
};

// Memory is plentiful on the calling thread while one of these lives: for what the tests lend to
// the code that is to run out of it.
class MemoryShelter {
  public:
    MemoryShelter();
    ~MemoryShelter();
    MemoryShelter(const MemoryShelter&) = delete;
    MemoryShelter& operator=(const MemoryShelter&) = delete;

  private:
    DWORD thread_;
};

// Runs the action with its first request failing, then with its second, and so on, until it makes
// fewer requests than that. After each run `check` is called with memory as it should be. Returns
// how many runs had a request that failed.
template <class Action, class Check>
std::size_t FailEachRequest(Action action, Check check) {
    constexpr std::size_t kMost = 1000;
    for (std::size_t nth = 1; nth <= kMost; ++nth) {
        bool struck = false;
        {
            const MemoryFault fault(nth);
            action();
            struck = fault.Struck();
        }
        check();
        if (!struck) {
            return nth - 1;
        }
    }
    return kMost;
}

}  // namespace ksp::test
