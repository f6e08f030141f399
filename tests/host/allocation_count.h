#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>

namespace ksp::test {

// What a module of this process asks of the heap while one of these lives: its calls of malloc,
// calloc and realloc (which is what `new` comes to), of the system's allocators, and the bytes of
// the C heap that it holds. Other modules, the program's own code among them, are not counted; the
// module stays loaded meanwhile. One at a time; calls may come from any thread.
class AllocationCount {
  public:
    explicit AllocationCount(HMODULE module);
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    // False when the module does not get its memory in a way that is counted.
    [[nodiscard]] bool works() const;

    // Requests for memory since construction or the last Reset.
    [[nodiscard]] size_t requests() const;
    // Bytes got and not given back since then; less than nothing when older ones were given back.
    [[nodiscard]] ptrdiff_t bytes_held() const;
    void Reset();

  private:
    struct Patches;
    std::unique_ptr<Patches> patches_;
};

}  // namespace ksp::test
