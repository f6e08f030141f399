#include "tests/lpr/lpd_printer.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace ksp::standins {
namespace {

// How often threads look whether they are to stop, in milliseconds.
constexpr int kHeartbeat = 20;
// A queue's name may be long, but it ends.
constexpr size_t kLongestLine = size_t{64} * 1024 * 1024;

// A file name of RFC 1179: "cfA" or "dfA", three digits, the host.
bool IsFileName(const std::string& name, char kind) {
    return name.size() > 6 && name[0] == kind && name.compare(1, 2, "fA") == 0 &&
           std::all_of(name.begin() + 3, name.begin() + 6,
                       [](char c) { return c >= '0' && c <= '9'; }) &&
           name.find(' ') == std::string::npos;
}

// A decimal count without a sign; nothing when the text is none.
std::optional<uint64_t> CountOf(const std::string& text) {
    if (text.empty() || text.size() > 18) {
        return std::nullopt;
    }
    uint64_t count = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        count = count * 10 + static_cast<uint64_t>(c - '0');
    }
    return count;
}

}  // namespace

// One connection: reads what the protocol has next and answers it.
class LpdPrinter::Conversation {
  public:
    Conversation(LpdPrinter& printer, Socket socket, size_t index)
        : printer_(printer), socket_(std::move(socket)), index_(index) {}

    // From the first command to the end of the connection.
    LpdConnection::Ending Run() {
        if (!printer_.behavior_.hangs_up && ReceiveJob()) {
            while (ReceiveFile()) {
            }
        }
        if (resets_) {
            socket_.CloseWithReset();
        } else {
            shutdown(socket_.get(), SD_SEND);
            socket_.Close();
        }
        return ending_;
    }

  private:
    bool ReceiveJob() {
        const auto line = ReadLine();
        if (!line) {
            return false;
        }
        if (line->size() < 2 || line->front() != '\x02') {
            return Violate("not a receive-job command");
        }
        return Answer(LpdStep::kReceiveJob);
    }

    bool ReceiveFile() {
        const auto line = ReadLine();
        if (!line) {
            return false;
        }
        const auto blank = line->find(' ');
        if (line->size() < 2 || blank == std::string::npos) {
            return Violate("not a subcommand");
        }
        const std::string announced = line->substr(1, blank - 1);
        const auto count = CountOf(announced);
        const std::string name = line->substr(blank + 1);
        if (line->front() == '\x02' && count && IsFileName(name, 'c')) {
            Note([&](LpdConnection& seen) { seen.announced_control = announced; });
            return Answer(LpdStep::kControlCommand) && ReceiveControl(*count) &&
                   Answer(LpdStep::kControlFile);
        }
        if (line->front() == '\x03' && count && IsFileName(name, 'd')) {
            Note([&](LpdConnection& seen) { seen.announced_data = announced; });
            return Answer(LpdStep::kDataCommand) && ReceiveData(*count) &&
                   Answer(LpdStep::kDataFile);
        }
        return Violate("a malformed subcommand");
    }

    bool ReceiveControl(uint64_t count) {
        std::string file;
        for (uint64_t i = 0; i < count; ++i) {
            const auto byte = ReadByte();
            if (!byte) {
                return false;
            }
            file += *byte;
        }
        Note([&](LpdConnection& seen) { seen.control = file; });
        return ReadZeroOctet();
    }

    bool ReceiveData(uint64_t count) {
        uint64_t left = count;
        size_t received = 0;
        while (left > 0) {
            const auto& behavior = printer_.behavior_;
            uint64_t most = left;
            for (const auto& end : {behavior.resets_after, behavior.closes_after}) {
                if (end && received == *end) {
                    resets_ = end == behavior.resets_after;
                    return EndBy(LpdConnection::Ending::kByDaemon);
                }
                most = end ? std::min<uint64_t>(most, *end - received) : most;
            }
            if (behavior.stalls_after && !printer_.reading_) {
                if (received == *behavior.stalls_after) {
                    if (!Rest()) {
                        return false;
                    }
                    continue;
                }
                most = std::min<uint64_t>(most, *behavior.stalls_after - received);
            }
            if (buffered() == 0 && !Fill()) {
                return false;
            }
            const auto taken = static_cast<size_t>(std::min<uint64_t>(most, buffered()));
            Note([&](LpdConnection& seen) { seen.data.append(buffer_, position_, taken); });
            position_ += taken;
            received += taken;
            left -= taken;
        }
        if (!ReadZeroOctet()) {
            return false;
        }
        Note([](LpdConnection& seen) { seen.has_whole_data = true; });
        return true;
    }

    bool ReadZeroOctet() {
        const auto octet = ReadByte();
        if (octet && *octet != '\0') {
            return Violate("a file without a zero octet behind it");
        }
        return octet.has_value();
    }

    // Without its line feed.
    std::optional<std::string> ReadLine() {
        std::string line;
        while (line.size() < kLongestLine) {
            const auto byte = ReadByte();
            if (!byte) {
                if (!line.empty() && ending_ == LpdConnection::Ending::kByPeer) {
                    Violate("a command without a line feed");
                }
                return std::nullopt;
            }
            if (*byte == '\n') {
                Note([&](LpdConnection& seen) { seen.commands.push_back(line); });
                return line;
            }
            line += *byte;
        }
        Violate("an endless command");
        return std::nullopt;
    }

    std::optional<char> ReadByte() {
        if (buffered() == 0 && !Fill()) {
            return std::nullopt;
        }
        return buffer_[position_++];
    }

    // The connection's next bytes; false at its end.
    bool Fill() {
        position_ = 0;
        for (;;) {
            if (!printer_.reading_ && !printer_.behavior_.reads) {
                if (!Rest()) {
                    return false;
                }
                continue;
            }
            if (printer_.stopping_) {
                return EndBy(LpdConnection::Ending::kByDaemon);
            }
            if (!WaitUntilReady(socket_, Readiness::kReadable, kHeartbeat)) {
                continue;
            }
            buffer_.resize(printer_.hurrying_ ? LpdBehavior().read_size
                                              : printer_.behavior_.read_size);
            const int count =
                recv(socket_.get(), buffer_.data(), static_cast<int>(buffer_.size()), 0);
            if (count == 0) {
                return EndBy(LpdConnection::Ending::kByPeer);
            }
            if (count < 0 && WSAGetLastError() == WSAEWOULDBLOCK) {
                continue;
            }
            if (count < 0) {
                return EndBy(LpdConnection::Ending::kResetByPeer);
            }
            buffer_.resize(static_cast<size_t>(count));
            Note([&](LpdConnection& seen) { seen.bytes += buffer_; });
            if (printer_.behavior_.read_pause > 0 && !printer_.hurrying_) {
                Sleep(static_cast<DWORD>(printer_.behavior_.read_pause));
            }
            return true;
        }
    }

    // False when the connection is over.
    bool Answer(LpdStep step) {
        const LpdAnswer answer = printer_.AnswerTo(step);
        Note([step](LpdConnection& seen) { seen.answered.push_back(step); });
        while (answer.is_held && !printer_.released_) {
            if (!Rest()) {
                return false;
            }
        }
        if (!answer.bytes.empty()) {
            send(socket_.get(), answer.bytes.data(), static_cast<int>(answer.bytes.size()), 0);
        }
        resets_ = answer.then == LpdAnswer::Then::kReset;
        return answer.then == LpdAnswer::Then::kGoOn;
    }

    // False when the daemon is to stop.
    bool Rest() {
        if (printer_.stopping_) {
            return EndBy(LpdConnection::Ending::kByDaemon);
        }
        Sleep(kHeartbeat);
        return true;
    }

    bool EndBy(LpdConnection::Ending ending) {
        ending_ = ending;
        buffer_.clear();
        position_ = 0;
        return false;
    }

    bool Violate(const std::string& what) {
        Note([&](LpdConnection& seen) { seen.violation = what; });
        return false;
    }

    void Note(const std::function<void(LpdConnection&)>& change) { printer_.Note(index_, change); }
    size_t buffered() const { return buffer_.size() - position_; }

    LpdPrinter& printer_;
    Socket socket_;
    size_t index_;
    std::string buffer_;
    size_t position_ = 0;
    bool resets_ = false;
    LpdConnection::Ending ending_ = LpdConnection::Ending::kByDaemon;
};

LpdPrinter::LpdPrinter(LpdBehavior behavior, Endpoint endpoint)
    : behavior_(std::move(behavior)),
      endpoint_(std::move(endpoint)),
      reading_(false),
      answers_(behavior_.answers) {
    if (endpoint_.address.empty()) {
        endpoint_.address = NewLoopbackAddress();
    }
    ready_ = Open();
    if (ready_ && !behavior_.refuses) {
        acceptor_ = std::thread([this] { AcceptUntilStopped(); });
    }
}

LpdPrinter::~LpdPrinter() {
    stopping_ = true;
    if (acceptor_.joinable()) {
        acceptor_.join();
    }
    for (std::thread& server : servers_) {
        server.join();
    }
}

bool LpdPrinter::Open() {
    listener_ = BindTo(endpoint_);
    if (!listener_.valid()) {
        return false;
    }
    endpoint_.port = BoundPort(listener_);
    if (behavior_.refuses) {
        return true;
    }
    // Accepted sockets inherit the size, and it counts from the first byte only when set before.
    if (behavior_.receive_buffer > 0) {
        setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF,
                   reinterpret_cast<const char*>(&behavior_.receive_buffer),
                   sizeof(behavior_.receive_buffer));
    }
    return listen(listener_.get(), SOMAXCONN) == 0;
}

void LpdPrinter::AcceptUntilStopped() {
    while (!stopping_) {
        if (!WaitUntilReady(listener_, Readiness::kReadable, kHeartbeat)) {
            continue;
        }
        Socket socket(accept(listener_.get(), nullptr, nullptr));
        if (!socket.valid() || !SetNonBlocking(socket)) {
            continue;
        }
        LpdConnection connection;
        connection.peer_port = PeerPort(socket);
        size_t index = 0;
        {
            const std::lock_guard lock(mutex_);
            index = connections_.size();
            connections_.push_back(connection);
        }
        changed_.notify_all();
        servers_.emplace_back([this, index, socket = std::move(socket)]() mutable {
            Serve(std::move(socket), index);
        });
    }
}

void LpdPrinter::Serve(Socket socket, size_t index) {
    const LpdConnection::Ending ending = Conversation(*this, std::move(socket), index).Run();
    Note(index, [&](LpdConnection& connection) { connection.ending = ending; });
}

void LpdPrinter::SetAnswers(std::map<LpdStep, LpdAnswer> answers) {
    const std::lock_guard lock(mutex_);
    answers_ = std::move(answers);
}

LpdAnswer LpdPrinter::AnswerTo(LpdStep step) const {
    const std::lock_guard lock(mutex_);
    const auto found = answers_.find(step);
    return found != answers_.end() ? found->second : LpdAnswer{};
}

void LpdPrinter::Note(size_t index, const std::function<void(LpdConnection&)>& change) {
    {
        const std::lock_guard lock(mutex_);
        change(connections_[index]);
    }
    changed_.notify_all();
}

bool LpdPrinter::WaitForConnections(size_t count) {
    return WaitFor([&] { return connections_.size() >= count; });
}

bool LpdPrinter::WaitForEndings(size_t count) {
    return WaitFor([&] {
        const auto endings = std::count_if(
            connections_.begin(), connections_.end(),
            [](const LpdConnection& seen) { return seen.ending != LpdConnection::Ending::kOpen; });
        return static_cast<size_t>(endings) >= count;
    });
}

bool LpdPrinter::WaitForCommands(size_t count) {
    return WaitFor([&] {
        size_t commands = 0;
        for (const LpdConnection& connection : connections_) {
            commands += connection.commands.size();
        }
        return commands >= count;
    });
}

bool LpdPrinter::WaitFor(const std::function<bool()>& condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(kPatience), condition);
}

std::vector<LpdConnection> LpdPrinter::connections() const {
    const std::lock_guard lock(mutex_);
    return connections_;
}

}  // namespace ksp::standins
