#pragma once

namespace ksp::snmp {

// Windows Sockets, started for as long as the object lives. Whoever has a socket keeps one.
class CWindowsSockets {
  public:
    CWindowsSockets() noexcept;
    ~CWindowsSockets();
    CWindowsSockets(const CWindowsSockets&) = delete;
    CWindowsSockets& operator=(const CWindowsSockets&) = delete;

    [[nodiscard]] bool IsStarted() const noexcept { return m_started; }

  private:
    bool m_started;
};

}  // namespace ksp::snmp
