// The steps of a port's check that talk to the services on the printer beside the printing itself:
// the queue's state over LPR (RFC 1179, sections 5.2 and 5.3), and the reachability check of ID
// print.

#include <winsock2.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <string>

#include "net/ip_address.h"
#include "net/reply_timeout.h"
#include "net/stream_socket.h"
#include "support/text.h"
#include "tools/kspctl/discovery.h"
#include "tools/kspctl/failure.h"
#include "tools/kspctl/port_check.h"

namespace ksp::ctl {
namespace {

constexpr char kReceiveJob = 0x02;
constexpr char kSendQueueState = 0x03;
constexpr char kAccepted = 0x00;
constexpr std::size_t kLongestAnswer = 4096;

using Clock = std::chrono::steady_clock;

// RFC 1179 section 3.1: daemons may refuse what comes from other ports than these.
constexpr std::uint16_t kFirstReservedPort = 721;
constexpr std::uint16_t kLastReservedPort = 731;

struct Answer {
    std::string text;                 // empty when the printer says nothing
    bool from_reserved_port = false;  // the question was asked from one, as a job is sent
};

// The next port may do what this one does not.
bool IsTaken(std::uint32_t error) {
    return error == WSAEADDRINUSE || error == WSAEADDRNOTAVAIL || error == WSAEACCES;
}

// From a reserved port, or from any when none is free; null when the printer takes no connection.
std::unique_ptr<CSLStreamSocket> ConnectLikeAJob(const CSLIpAddr& address, std::uint16_t port,
                                                 bool* from_reserved_port) {
    for (std::uint16_t local = kFirstReservedPort; local <= kLastReservedPort; ++local) {
        auto socket = std::make_unique<CSLStreamSocket>(address, port);
        socket->KeepLocalPort(local);
        const std::uint32_t error = socket->connect();
        if (!IsTaken(error)) {
            *from_reserved_port = error == 0;
            return error == 0 ? std::move(socket) : nullptr;
        }
    }
    *from_reserved_port = false;
    auto socket = std::make_unique<CSLStreamSocket>(address, port);
    return socket->connect() == 0 ? std::move(socket) : nullptr;
}

bool IsReadableBefore(SOCKET socket, Clock::time_point end) {
    constexpr std::chrono::milliseconds kMost(std::numeric_limits<INT>::max());
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    const auto wait = std::clamp(rest, std::chrono::milliseconds(0), kMost);
    WSAPOLLFD poll = {socket, POLLRDNORM, 0};
    return ::WSAPoll(&poll, 1, static_cast<INT>(wait.count())) > 0;
}

// What the printer answers to one command, up to so many bytes or the end of the connection.
// Nothing follows the command, so nothing is printed.
Answer Ask(const std::wstring& address_text, std::uint16_t port, const std::string& question,
           std::size_t most) {
    CSLIpAddr address;
    Answer answer;
    if (address.getByName(address_text) != 0) {
        return answer;
    }
    const std::uint32_t seconds = GetWaitServerReplyTimeout();
    const auto socket = ConnectLikeAJob(address, port, &answer.from_reserved_port);
    if (socket == nullptr) {
        return answer;
    }
    const auto length = static_cast<std::int32_t>(question.size());
    // One wait for all of it: a printer that says a little at a time would be listened to for
    // hours.
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    if (socket->send(question.data(), length, seconds) == length) {
        char piece[512];
        std::int32_t count = 0;
        while (answer.text.size() < most && IsReadableBefore(socket->Get(), end) &&
               (count = socket->recv(piece, sizeof(piece), 0)) > 0) {
            answer.text.append(piece, static_cast<std::size_t>(count));
        }
    }
    socket->close();
    return answer;
}

// The first line that says something.
std::wstring FirstLine(const std::string& answer) {
    constexpr char kBlanks[] = " \t\r\n";
    const auto start = answer.find_first_not_of(kBlanks);
    if (start == std::string::npos) {
        return {};
    }
    return FromAnsi(answer.substr(start, answer.find_first_of("\r\n", start) - start));
}

}  // namespace

CheckStep PortCheck::AskQueue(const Discovery& /*discovery*/) {
    CheckStep step{L"queue"};
    const auto port = static_cast<std::uint16_t>(info_.PortNumber);
    const std::string queue = ToAnsi(info_.QueueName);
    const Answer answer = Ask(address_, port, kReceiveJob + queue + "\n", 1);
    const std::wstring quoted = Quoted(info_.QueueName);
    step.advice =
        L"look up the queue's name in the printer's handbook: kspctl set PORT QueueName=NAME";
    if (answer.text.empty()) {
        step.result = CheckResult::kAttention;
        step.text = L"the printer does not say whether it takes jobs for the queue " + quoted;
    } else if (answer.text.front() == kAccepted) {
        step.text = L"the printer takes jobs for the queue " + quoted;
        step.advice.clear();
    } else {
        step.result = CheckResult::kFailed;
        step.text = L"the printer takes no job for the queue " + quoted + L" (it answers " +
                    std::to_wstring(static_cast<unsigned char>(answer.text.front())) + L")";
        if (!answer.from_reserved_port) {
            // A strict daemon refuses every queue then.
            step.result = CheckResult::kAttention;
            step.text += L"; it was not asked from a port from 721 to 731, which are all in use";
            step.advice =
                L"try again in some minutes; who has those ports is shown by: netstat -ano";
        }
    }
    const std::wstring state =
        FirstLine(Ask(address_, port, kSendQueueState + queue + " \n", kLongestAnswer).text);
    if (!state.empty()) {
        step.text += L"; it says: " + state;
    }
    return step;
}

CheckStep PortCheck::AskReachability(const Discovery& /*discovery*/) {
    CheckStep step{L"reachability"};
    const std::wstring target = address_ + L" port " + std::to_wstring(info_.CheckPortNo);
    if (CSLIpAddr::isSecureReachable(address_, static_cast<std::uint16_t>(info_.CheckPortNo))) {
        step.text = target + L" confirms that the printer is there";
    } else {
        step.result = CheckResult::kFailed;
        step.text = target + L" does not confirm that the printer is there";
        step.advice =
            L"is ID print enabled on the printer, and is this its check port? kspctl set PORT "
            L"CheckPortNo=NUMBER";
    }
    return step;
}

}  // namespace ksp::ctl
