// The steps of a port's check that talk to the services on the printer beside the printing itself:
// the queue's state over LPR (RFC 1179, sections 5.2 and 5.3), and the reachability check of ID print.

#include <chrono>
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

// What the printer answers to one command, up to so many bytes or the end of the connection; empty
// when it says nothing. Nothing follows the command, so nothing is printed.
std::string Ask(const std::wstring& address_text, std::uint16_t port, const std::string& question,
                std::size_t most) {
    CSLIpAddr address;
    if (address.getByName(address_text) != 0) {
        return {};
    }
    CSLStreamSocket socket(address, port);
    std::string answer;
    const auto length = static_cast<std::int32_t>(question.size());
    const std::uint32_t seconds = GetWaitServerReplyTimeout();
    // One wait for all of it: a printer that says a little at a time would be listened to for hours.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    if (socket.connect() == 0 && socket.send(question.data(), length, seconds) == length) {
        char piece[512];
        std::int32_t count = 0;
        while (answer.size() < most && std::chrono::steady_clock::now() < end &&
               (count = socket.recv(piece, sizeof(piece), seconds)) > 0) {
            answer.append(piece, static_cast<std::size_t>(count));
        }
    }
    socket.close();
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
    const std::string answer = Ask(address_, port, kReceiveJob + queue + "\n", 1);
    const std::wstring quoted = Quoted(info_.QueueName);
    if (answer.empty()) {
        step.result = CheckResult::kAttention;
        step.text = L"the printer does not say whether it takes jobs for the queue " + quoted;
    } else if (answer.front() != kAccepted) {
        step.result = CheckResult::kFailed;
        step.text = L"the printer takes no job for the queue " + quoted + L" (it answers " +
                    std::to_wstring(static_cast<unsigned char>(answer.front())) + L")";
    } else {
        step.text = L"the printer takes jobs for the queue " + quoted;
    }
    if (step.result != CheckResult::kPassed) {
        step.advice =
            L"look up the queue's name in the printer's handbook: kspctl set PORT QueueName=NAME";
    }
    const std::wstring state =
        FirstLine(Ask(address_, port, kSendQueueState + queue + " \n", kLongestAnswer));
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
