#pragma once

#include <cstddef>

namespace ksp::test {

// A program that holds scarce_memory.cpp has an operator new that can run short of memory: of
// requests of kLarge bytes or more, only so many are met while a ScarceMemory lives, and the next
// ones throw std::bad_alloc. One at a time, and no other thread allocates meanwhile.
class ScarceMemory {
  public:
    static constexpr std::size_t kLarge = std::size_t{1} << 20;

    explicit ScarceMemory(int largeRequestsMet);
    ~ScarceMemory();
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
};

}  // namespace ksp::test
