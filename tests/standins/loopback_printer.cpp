#include "tests/standins/loopback_printer.h"

#include <windows.h>

#include <algorithm>
#include <chrono>

namespace ksp::standins {
namespace {

// How often threads look whether they are to stop, in milliseconds.
constexpr int kHeartbeat = 20;

// A connection that is not made after so many milliseconds finds the queue full.
constexpr int kPendingAfter = 200;
constexpr int kMostFillers = 16;

enum class ReadResult { kData, kNothing, kEnd, kReset };

ReadResult ReadSome(const Socket& socket, std::vector<char>* buffer) {
    if (!WaitUntilReady(socket, Readiness::kReadable, kHeartbeat)) {
        return ReadResult::kNothing;
    }
    const int count = recv(socket.get(), buffer->data(), static_cast<int>(buffer->size()), 0);
    if (count > 0) {
        buffer->resize(static_cast<size_t>(count));
        return ReadResult::kData;
    }
    if (count == 0) {
        return ReadResult::kEnd;
    }
    return WSAGetLastError() == WSAEWOULDBLOCK ? ReadResult::kNothing : ReadResult::kReset;
}

// Sends what the peer takes now; an answer that does not fit the socket's buffer is beyond what a
// printer says.
void SendSome(const Socket& socket, const std::string& bytes) {
    if (bytes.empty() || !WaitUntilReady(socket, Readiness::kWritable, 0)) {
        return;
    }
    send(socket.get(), bytes.data(), static_cast<int>(bytes.size()), 0);
}

}  // namespace

LoopbackPrinter::LoopbackPrinter(PrinterBehavior behavior, Endpoint endpoint)
    : behavior_(std::move(behavior)),
      endpoint_(std::move(endpoint)),
      answering_(behavior_.answer == PrinterBehavior::Answer::kAccept),
      reading_(behavior_.reads) {
    if (endpoint_.address.empty()) {
        endpoint_.address = NewLoopbackAddress();
    }
    ready_ = Open();
    if (ready_ && behavior_.answer != PrinterBehavior::Answer::kRefuse) {
        acceptor_ = std::thread([this] { AcceptUntilStopped(); });
    }
}

LoopbackPrinter::~LoopbackPrinter() {
    stopping_ = true;
    if (acceptor_.joinable()) {
        acceptor_.join();
    }
    for (std::thread& server : servers_) {
        server.join();
    }
}

std::wstring LoopbackPrinter::wide_address() const {
    return {endpoint_.address.begin(), endpoint_.address.end()};
}

bool LoopbackPrinter::Open() {
    listener_ = BindTo(endpoint_);
    if (!listener_.valid()) {
        return false;
    }
    endpoint_.port = BoundPort(listener_);
    if (behavior_.answer == PrinterBehavior::Answer::kRefuse) {
        return true;
    }
    // Accepted sockets inherit the size, and it counts from the first byte only when set before.
    if (behavior_.receive_buffer > 0) {
        setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF,
                   reinterpret_cast<const char*>(&behavior_.receive_buffer),
                   sizeof(behavior_.receive_buffer));
    }
    const bool never_answers = behavior_.answer == PrinterBehavior::Answer::kNeverAnswer;
    if (listen(listener_.get(), never_answers ? 0 : SOMAXCONN) != 0) {
        return false;
    }
    return !never_answers || FillQueue();
}

// A system that finds the queue of a listener full drops the request to connect, and the peer's
// connect stays pending. How many connections fill a queue of length 0 is the system's affair.
bool LoopbackPrinter::FillQueue() {
    for (int i = 0; i < kMostFillers; ++i) {
        Socket filler = StartConnecting(endpoint_);
        if (!filler.valid()) {
            return false;
        }
        if (!WaitUntilReady(filler, Readiness::kWritable, kPendingAfter)) {
            return true;
        }
        filler_ports_.push_back(BoundPort(filler));
        fillers_.push_back(std::move(filler));
    }
    return false;
}

bool LoopbackPrinter::IsFiller(uint16_t peer_port) const {
    return std::find(filler_ports_.begin(), filler_ports_.end(), peer_port) != filler_ports_.end();
}

void LoopbackPrinter::AcceptUntilStopped() {
    while (!stopping_) {
        if (!answering_) {
            Sleep(kHeartbeat);
            continue;
        }
        if (!WaitUntilReady(listener_, Readiness::kReadable, kHeartbeat)) {
            continue;
        }
        Socket socket(accept(listener_.get(), nullptr, nullptr));
        if (!socket.valid() || !SetNonBlocking(socket)) {
            continue;
        }
        PrinterConnection connection;
        connection.peer_port = PeerPort(socket);
        if (IsFiller(connection.peer_port)) {
            continue;
        }

        // Counted before anybody knows the connection, so that no hanging up is missed.
        const unsigned hang_ups = hang_ups_;
        size_t index = 0;
        {
            const std::lock_guard lock(mutex_);
            index = connections_.size();
            connections_.push_back(connection);
        }
        changed_.notify_all();
        servers_.emplace_back([this, index, hang_ups, socket = std::move(socket)]() mutable {
            Serve(std::move(socket), index, hang_ups);
        });
    }
}

void LoopbackPrinter::Serve(Socket socket, size_t index, unsigned hang_ups_before) {
    const PrinterConnection::Ending ending = Converse(socket, index, hang_ups_before);
    if (behavior_.reset_after && ending == PrinterConnection::Ending::kByPrinter) {
        socket.CloseWithReset();
    } else {
        shutdown(socket.get(), SD_SEND);
        socket.Close();
    }
    Note(index, [&](PrinterConnection& connection) { connection.ending = ending; });
}

PrinterConnection::Ending LoopbackPrinter::Converse(const Socket& socket, size_t index,
                                                    unsigned hang_ups_before) {
    const std::optional<size_t> limit =
        behavior_.reset_after ? behavior_.reset_after : behavior_.close_after;
    const std::string chatter =
        behavior_.sends_forever ? std::string(size_t{16} * 1024, '?') : std::string();
    std::vector<uint8_t> received;

    SendSome(socket, behavior_.greeting);
    while (!stopping_ && hang_ups_ == hang_ups_before && (!limit || received.size() < *limit)) {
        SendSome(socket, chatter);
        if (!reading_) {
            Sleep(kHeartbeat);
            continue;
        }
        const size_t most = hurrying_ ? PrinterBehavior().read_size : behavior_.read_size;
        const size_t left = limit ? *limit - received.size() : most;
        std::vector<char> buffer(std::min(most, left));
        switch (ReadSome(socket, &buffer)) {
            case ReadResult::kNothing:
                continue;
            case ReadResult::kEnd:
                return PrinterConnection::Ending::kByPeer;
            case ReadResult::kReset:
                return PrinterConnection::Ending::kResetByPeer;
            case ReadResult::kData:
                break;
        }
        received.insert(received.end(), buffer.begin(), buffer.end());
        Note(index, [&](PrinterConnection& connection) {
            connection.received.insert(connection.received.end(), buffer.begin(), buffer.end());
        });
        if (behavior_.responder) {
            SendSome(socket, behavior_.responder(received));
        }
        if (behavior_.read_pause > 0 && !hurrying_) {
            Sleep(static_cast<DWORD>(behavior_.read_pause));
        }
    }
    return PrinterConnection::Ending::kByPrinter;
}

void LoopbackPrinter::Note(size_t index, const std::function<void(PrinterConnection&)>& change) {
    {
        const std::lock_guard lock(mutex_);
        change(connections_[index]);
    }
    changed_.notify_all();
}

bool LoopbackPrinter::WaitForConnections(size_t count, int milliseconds) {
    return WaitFor([&] { return connections_.size() >= count; }, milliseconds);
}

bool LoopbackPrinter::WaitForBytes(size_t total, int milliseconds) {
    const auto enough = [&] {
        size_t bytes = 0;
        for (const PrinterConnection& connection : connections_) {
            bytes += connection.received.size();
        }
        return bytes >= total;
    };
    return WaitFor(enough, milliseconds);
}

bool LoopbackPrinter::WaitForEndings(size_t count, int milliseconds) {
    const auto enough = [&] {
        const auto ended = [](const PrinterConnection& connection) {
            return connection.ending != PrinterConnection::Ending::kOpen;
        };
        const auto endings = std::count_if(connections_.begin(), connections_.end(), ended);
        return static_cast<size_t>(endings) >= count;
    };
    return WaitFor(enough, milliseconds);
}

bool LoopbackPrinter::WaitFor(const std::function<bool()>& condition, int milliseconds) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), condition);
}

std::vector<PrinterConnection> LoopbackPrinter::connections() const {
    const std::lock_guard lock(mutex_);
    return connections_;
}

std::vector<uint8_t> LoopbackPrinter::received() const {
    std::vector<uint8_t> bytes;
    for (const PrinterConnection& connection : connections()) {
        bytes.insert(bytes.end(), connection.received.begin(), connection.received.end());
    }
    return bytes;
}

}  // namespace ksp::standins
