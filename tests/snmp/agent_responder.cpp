#include "tests/snmp/agent_responder.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "tests/snmp/bytes.h"

namespace ksp::test {

namespace {

using snmp::BerTag;
using snmp::Bytes;
using snmp::CObjectId;
using snmp::QuestionKind;
using snmp::SnmpVersion;

// The address as IPv6 writes it: an agent's socket is one of IPv6 that speaks IPv4. Wine binds UDP
// sockets of IPv4 to an interface in place of an address of it, so that two of them cannot have the
// same port, and all of them answer from the address 127.0.0.1.
sockaddr_in6 Mapped(in_addr address, std::uint16_t port) {
    sockaddr_in6 mapped{};
    mapped.sin6_family = AF_INET6;
    mapped.sin6_port = ::htons(port);
    mapped.sin6_addr.s6_addr[10] = 0xFF;
    mapped.sin6_addr.s6_addr[11] = 0xFF;
    std::memcpy(&mapped.sin6_addr.s6_addr[12], &address, sizeof(address));
    return mapped;
}

std::uint16_t PortOf(const standins::Socket& socket) {
    sockaddr_in6 at{};
    int size = sizeof(at);
    ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&at), &size);
    return ::ntohs(at.sin6_port);
}

std::optional<AgentRequest> Parse(const Bytes& bytes) {
    AgentRequest request;
    request.bytes = bytes;
    snmp::CBerReader datagram(bytes);
    const auto message = datagram.Next(BerTag::kSequence);
    if (!message) {
        return std::nullopt;
    }
    snmp::CBerReader fields(*message);
    const auto version = fields.NextInteger();
    const auto community = fields.Next(BerTag::kOctetString);
    const auto pdu = fields.Next();
    if (!version || !community || !pdu) {
        return std::nullopt;
    }
    request.version = static_cast<SnmpVersion>(*version);
    request.community.assign(community->begin(), community->end());
    request.question.kind =
        pdu->tag == BerTag::kGetRequest ? QuestionKind::kGet : QuestionKind::kGetNext;
    snmp::CBerReader inner(pdu->content);
    const auto id = inner.NextInteger();
    const auto status = inner.NextInteger();
    const auto index = inner.NextInteger();
    const auto list = inner.Next(BerTag::kSequence);
    if (!id || !status || !index || !list) {
        return std::nullopt;
    }
    request.id = *id;
    snmp::CBerReader bindings(*list);
    const auto binding = bindings.Next(BerTag::kSequence);
    snmp::CBerReader parts(binding.value_or(snmp::ByteView()));
    const auto name = parts.Next(BerTag::kObjectId);
    const auto oid = name ? snmp::ObjectIdOf(*name) : std::nullopt;
    if (!oid) {
        return std::nullopt;
    }
    request.question.id = *oid;
    return request;
}

}  // namespace

standins::Socket BindAgentSocket(const std::string& address, std::uint16_t port) {
    standins::Socket socket(::socket(AF_INET6, SOCK_DGRAM, IPPROTO_UDP));
    const DWORD six_only = 0;
    const DWORD patience = 50;  // how soon the end of the test is noticed, in milliseconds
    in_addr parsed{};
    if (::inet_pton(AF_INET, address.c_str(), &parsed) != 1) {
        return {};
    }
    const sockaddr_in6 at = Mapped(parsed, port);
    if (::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY,
                     reinterpret_cast<const char*>(&six_only), sizeof(six_only)) != 0 ||
        ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&at), sizeof(at)) != 0 ||
        ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO,
                     reinterpret_cast<const char*>(&patience), sizeof(patience)) != 0) {
        return {};
    }
    return socket;
}

Bytes MakeResponse(const AgentRequest& request, const CObjectId& id, const Bytes& value,
                   std::int32_t error) {
    Bytes binding;
    snmp::AppendObjectId(binding, id);
    binding.insert(binding.end(), value.begin(), value.end());
    Bytes list;
    snmp::AppendElement(list, BerTag::kSequence, binding);
    Bytes pdu;
    snmp::AppendInteger(pdu, request.id);
    snmp::AppendInteger(pdu, error);
    snmp::AppendInteger(pdu, error != 0 ? 1 : 0);
    snmp::AppendElement(pdu, BerTag::kSequence, list);
    Bytes message;
    snmp::AppendInteger(message, static_cast<std::int32_t>(request.version));
    snmp::AppendOctets(message, request.community);
    snmp::AppendElement(message, BerTag::kResponse, pdu);
    Bytes bytes;
    snmp::AppendElement(bytes, BerTag::kSequence, message);
    return bytes;
}

AgentResponder::AgentResponder(std::uint16_t port)
    : AgentResponder(standins::NewLoopbackAddress(), port) {}

AgentResponder::AgentResponder(const std::string& address, std::uint16_t port)
    : address_(address), socket_(BindAgentSocket(address, port)) {
    if (ready()) {
        port_ = PortOf(socket_);
        thread_ = std::thread([this] { Run(); });
    }
}

AgentResponder::~AgentResponder() {
    ending_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

void AgentResponder::Set(const CObjectId& id, const Bytes& value) {
    const std::lock_guard lock(mutex_);
    variables_[id] = value;
}

void AgentResponder::SetText(const CObjectId& id, const std::string& text) {
    Bytes value;
    snmp::AppendOctets(value, text);
    Set(id, value);
}

void AgentResponder::SetNumber(const CObjectId& id, std::int32_t number) {
    Bytes value;
    snmp::AppendInteger(value, number);
    Set(id, value);
}

void AgentResponder::BePrinter(const std::string& name, const std::string& mac) {
    const Bytes octets = Hex(mac);
    SetText({1, 3, 6, 1, 2, 1, 1, 1, 0}, "firmware");
    SetText({1, 3, 6, 1, 2, 1, 1, 5, 0}, "host");
    SetText({1, 3, 6, 1, 2, 1, 2, 2, 1, 6, 1}, std::string(octets.begin(), octets.end()));
    SetText({1, 3, 6, 1, 2, 1, 25, 3, 2, 1, 3, 1}, name);
    SetNumber({1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1, 1}, 4);
    SetText({1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 2, 1}, "\x40");
}

void AgentResponder::SetTwist(Twist twist) {
    const std::lock_guard lock(mutex_);
    twist_ = std::move(twist);
}

void AgentResponder::SpeakOnly(SnmpVersion version) {
    const std::lock_guard lock(mutex_);
    versions_ = {version};
}

std::vector<AgentRequest> AgentResponder::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

Bytes AgentResponder::Answer(const AgentRequest& request) const {
    const bool isGet = request.question.kind == QuestionKind::kGet;
    const auto found =
        isGet ? variables_.find(request.question.id) : variables_.upper_bound(request.question.id);
    if (found != variables_.end()) {
        return MakeResponse(request, found->first, found->second);
    }
    if (request.version == SnmpVersion::k1) {
        return MakeResponse(request, request.question.id, Hex("0500"), 2);
    }
    return MakeResponse(request, request.question.id, Hex(isGet ? "8000" : "8200"));
}

void AgentResponder::Run() {
    Bytes buffer(65536);
    while (!ending_) {
        sockaddr_in6 from{};
        int size = sizeof(from);
        const int received = ::recvfrom(socket_.get(), reinterpret_cast<char*>(buffer.data()),
                                        static_cast<int>(buffer.size()), 0,
                                        reinterpret_cast<sockaddr*>(&from), &size);
        if (received <= 0) {
            continue;
        }
        auto request = Parse(Bytes(buffer.begin(), buffer.begin() + received));
        if (!request) {
            continue;
        }
        request->asker = from;
        Twist twist;
        Datagrams datagrams;
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(*request);
            if (std::find(versions_.begin(), versions_.end(), request->version) ==
                versions_.end()) {
                continue;
            }
            datagrams = {Answer(*request)};
            twist = twist_;
        }
        if (twist) {
            datagrams = twist(*request, datagrams[0]);
        }
        for (const Bytes& datagram : datagrams) {
            ::sendto(socket_.get(), reinterpret_cast<const char*>(datagram.data()),
                     static_cast<int>(datagram.size()), 0, reinterpret_cast<sockaddr*>(&from),
                     sizeof(from));
        }
    }
}

}  // namespace ksp::test
