#pragma once

namespace ksp {

// Windows Sockets, started once and given up with the object. The port manager owns it, so that it
// outlives every socket of every port.
class CSocketLibrary {
  public:
    CSocketLibrary() = default;
    ~CSocketLibrary();
    CSocketLibrary(const CSocketLibrary&) = delete;
    CSocketLibrary& operator=(const CSocketLibrary&) = delete;

    // Starts version 1.1; once started, does nothing. False, with a log line, when it cannot be
    // started.
    [[nodiscard]] bool StartupSockets();

  private:
    bool m_started = false;
};

}  // namespace ksp
