#pragma once

#include <memory>

namespace ksp {

// An object of the process: made when the library is loaded, never destroyed. So it can be used for
// as long as there is code to use it, whatever the order in which everything else ends; what it
// holds is given back by an operation of its own.
//
// Not a local static: the guard of one makes the thread library keep handles for every thread that
// comes by, and a spooler's threads are many.
template <class T>
class CImmortal {
  public:
    CImmortal() { std::construct_at(&m_value); }
    ~CImmortal() {}
    CImmortal(const CImmortal&) = delete;
    CImmortal& operator=(const CImmortal&) = delete;

    [[nodiscard]] T& Get() noexcept { return m_value; }

  private:
    union {
        T m_value;
    };
};

}  // namespace ksp
