#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "tools/host/socket.h"

namespace ksp::print {

// The port on which an ID-print printer says that it is there: it answers "CONF_REQ" with the
// 32-bit number 100 and the letters O and K. A thread of its own serves it.
class ConfirmationService {
  public:
    // Listens on the dotted address.
    explicit ConfirmationService(const std::wstring& address);
    ~ConfirmationService();
    ConfirmationService(const ConfirmationService&) = delete;
    ConfirmationService& operator=(const ConfirmationService&) = delete;

    [[nodiscard]] bool ready() const { return port_ != 0; }
    [[nodiscard]] uint16_t port() const { return port_; }
    // What was asked and answered, in the order in which it happened.
    [[nodiscard]] std::string asked() const;
    [[nodiscard]] std::string answered() const;

  private:
    void Serve();
    void Converse(const UniqueSocket& socket);

    host::SocketLibrary sockets_;
    UniqueSocket listener_;
    uint16_t port_ = 0;
    std::atomic<bool> stopping_ = false;
    mutable std::mutex mutex_;
    std::string asked_;
    std::string answered_;
    std::thread server_;
};

}  // namespace ksp::print
