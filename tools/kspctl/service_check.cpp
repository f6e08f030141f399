// The steps of a port's check that talk to the services on the printer beside the printing itself:
// the queue's state over LPR (RFC 1179, section 5.3), and the reachability check of ID print.

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

constexpr char kSendQueueState = 0x03;
constexpr std::size_t kLongestAnswer = 4096;

// What the printer answers up to the end of the connection; empty when it says nothing.
std::string AskForQueue(const std::wstring& address_text, std::uint16_t port,
                        const std::wstring& queue) {
    CSLIpAddr address;
    if (address.getByName(address_text) != 0) {
        return {};
    }
    CSLStreamSocket socket(address, port);
    std::string answer;
    const std::string question = kSendQueueState + ToAnsi(queue) + " \n";
    const auto length = static_cast<std::int32_t>(question.size());
    const std::uint32_t seconds = GetWaitServerReplyTimeout();
    if (socket.connect() == 0 && socket.send(question.data(), length, seconds) == length) {
        char piece[512];
        std::int32_t count = 0;
        while (answer.size() < kLongestAnswer &&
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
    const std::wstring line = FirstLine(
        AskForQueue(address_, static_cast<std::uint16_t>(info_.PortNumber), info_.QueueName));
    if (line.empty()) {
        step.result = CheckResult::kAttention;
        step.text = L"the printer tells nothing about the queue " + Quoted(info_.QueueName);
        step.advice =
            L"many printers do not; if jobs do not print, look up the queue's name in the "
            L"printer's handbook: kspctl set PORT QueueName=NAME";
    } else {
        step.text = L"about " + Quoted(info_.QueueName) + L" the printer says: " + line;
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
