#pragma once

#include <windows.h>

namespace ksp::bench {

// Runs from its construction.
class Stopwatch {
  public:
    Stopwatch() { ::QueryPerformanceCounter(&start_); }

    [[nodiscard]] double Seconds() const {
        LARGE_INTEGER now = {};
        LARGE_INTEGER frequency = {};
        ::QueryPerformanceCounter(&now);
        ::QueryPerformanceFrequency(&frequency);
        return static_cast<double>(now.QuadPart - start_.QuadPart) /
               static_cast<double>(frequency.QuadPart);
    }

  private:
    LARGE_INTEGER start_ = {};
};

}  // namespace ksp::bench
