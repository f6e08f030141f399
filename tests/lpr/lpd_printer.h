#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/standins/loopback_socket.h"

namespace ksp::standins {

// What a daemon receives in one connection, in this order (RFC 1179 sections 5.2, 6.2 and 6.3).
// Each of them is answered.
enum class LpdStep { kReceiveJob, kControlCommand, kControlFile, kDataCommand, kDataFile };

// How a daemon answers a step.
struct LpdAnswer {
    // The acknowledgement is a zero byte, every other byte refuses. Empty: no answer ever.
    std::string bytes = std::string(1, '\0');
    // Held back until ReleaseAnswers.
    bool is_held = false;
    // The connection is ended behind the answer, orderly or with a reset.
    enum class Then { kGoOn, kClose, kReset } then = Then::kGoOn;
};

// The default takes every job and acknowledges it step by step.
struct LpdBehavior {
    bool refuses = false;   // the port is taken and nobody listens on it
    bool hangs_up = false;  // every connection is closed as soon as it stands
    std::map<LpdStep, LpdAnswer> answers = {};

    // Reads nothing at all until StartReading.
    bool reads = true;
    // At most so many bytes a read, and milliseconds of rest after each.
    size_t read_size = size_t{64} * 1024;
    int read_pause = 0;
    // Bytes that the system takes on the daemon's behalf (SO_RCVBUF); 0 leaves the system's own.
    int receive_buffer = 0;
    // Reads no more than so many bytes of the data file until StartReading.
    std::optional<size_t> stalls_after = {};
    // Ends the connection with a reset, or orderly, behind so many bytes of the data file.
    std::optional<size_t> resets_after = {};
    std::optional<size_t> closes_after = {};
};

// One connection as the daemon saw it. The framing of the protocol is taken strictly: what breaks
// it is named in `violation`, and the connection is closed.
struct LpdConnection {
    enum class Ending { kOpen, kByPeer, kResetByPeer, kByDaemon };

    uint16_t peer_port = 0;  // the port that the peer connected from
    std::string bytes;       // everything, as it came
    // The lines of the commands in the order in which they came, without their line feeds.
    std::vector<std::string> commands;
    std::string announced_control;  // the counts, as they stand in the commands
    std::string announced_data;
    std::string control;
    std::string data;
    // The announced bytes and the zero octet behind them have come. A peer that announces more than
    // it sends ends the data by closing.
    bool has_whole_data = false;
    std::string violation;
    // Every step whose turn to be answered came, also when the answer was silence.
    std::vector<LpdStep> answered;
    Ending ending = Ending::kOpen;
};

// A line printer daemon on a loopback address, served by threads of its own from construction to
// destruction. Every function may be called from any thread; every wait is bounded.
class LpdPrinter {
  public:
    static constexpr uint16_t kPort = 515;
    static constexpr int kPatience = 60000;  // milliseconds; beyond this something hangs

    // Without an address the daemon takes a new one of its own.
    explicit LpdPrinter(LpdBehavior behavior = {}, Endpoint endpoint = {"", kPort});
    ~LpdPrinter();
    LpdPrinter(const LpdPrinter&) = delete;
    LpdPrinter& operator=(const LpdPrinter&) = delete;

    // False when the address or port could not be taken.
    [[nodiscard]] bool ready() const { return ready_; }
    [[nodiscard]] std::wstring wide_address() const {
        return {endpoint_.address.begin(), endpoint_.address.end()};
    }
    [[nodiscard]] const Endpoint& endpoint() const { return endpoint_; }

    void ReleaseAnswers() { released_ = true; }
    // How the steps are answered from now on.
    void SetAnswers(std::map<LpdStep, LpdAnswer> answers);
    void StartReading() { reading_ = true; }
    // Reads without rest from now on, and as much as there is.
    void Hurry() { hurrying_ = true; }

    // False when it has not come true in time.
    [[nodiscard]] bool WaitForConnections(size_t count);
    [[nodiscard]] bool WaitForEndings(size_t count);
    [[nodiscard]] bool WaitForCommands(size_t count);

    // In the order in which they were accepted.
    [[nodiscard]] std::vector<LpdConnection> connections() const;

  private:
    class Conversation;

    [[nodiscard]] bool Open();
    void AcceptUntilStopped();
    void Serve(Socket socket, size_t index);
    [[nodiscard]] LpdAnswer AnswerTo(LpdStep step) const;
    void Note(size_t index, const std::function<void(LpdConnection&)>& change);
    [[nodiscard]] bool WaitFor(const std::function<bool()>& condition);

    const LpdBehavior behavior_;
    Endpoint endpoint_;
    SocketLibrary sockets_;
    Socket listener_;
    bool ready_ = false;

    std::atomic<bool> released_ = false;
    std::atomic<bool> reading_;
    std::atomic<bool> hurrying_ = false;
    std::atomic<bool> stopping_ = false;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<LpdConnection> connections_;
    std::map<LpdStep, LpdAnswer> answers_;

    std::thread acceptor_;
    std::vector<std::thread> servers_;  // touched by the acceptor only, until it has ended
};

}  // namespace ksp::standins
