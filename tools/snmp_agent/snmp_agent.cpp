#include "tools/snmp_agent/snmp_agent.h"

#include <algorithm>

namespace ksp::agent {
namespace {

constexpr std::chrono::milliseconds kHeartbeat{10};  // between looks at what is due
constexpr int kAddressAttempts = 20;

}  // namespace

SnmpAgent::SnmpAgent(SnmpAgentSettings settings, SnmpRows rows)
    : settings_(std::move(settings)), rows_(std::move(rows)) {
    const bool any_address = settings_.address.empty();
    for (int attempt = 0; attempt < (any_address ? kAddressAttempts : 1) && !socket_; ++attempt) {
        if (any_address) {
            settings_.address = host::RandomLoopbackAddress();
        }
        Start();
    }
}

SnmpAgent::~SnmpAgent() {
    Stop();
}

std::wstring SnmpAgent::wide_address() const {
    return {settings_.address.begin(), settings_.address.end()};
}

bool SnmpAgent::Start() {
    socket_ = DatagramSocket({settings_.address, settings_.port});
    if (!socket_) {
        return false;
    }
    stopping_ = false;
    server_ = std::thread([this] { Serve(); });
    return true;
}

void SnmpAgent::Stop() {
    stopping_ = true;
    if (server_.joinable()) {
        server_.join();
    }
    replies_.clear();
    socket_.Close();
}

bool SnmpAgent::MoveTo(const std::string& address) {
    Stop();
    settings_.address = address;
    return Start();
}

void SnmpAgent::Put(const Oid& oid, SnmpValue value) {
    const std::lock_guard lock(mutex_);
    rows_[oid] = std::move(value);
}

void SnmpAgent::Remove(std::string_view oid) {
    const std::lock_guard lock(mutex_);
    rows_.erase(OidOf(oid));
}

void SnmpAgent::SetRows(SnmpRows rows) {
    const std::lock_guard lock(mutex_);
    rows_ = std::move(rows);
}

void SnmpAgent::Misbehave(SnmpFault fault, size_t requests) {
    const std::lock_guard lock(mutex_);
    faults_.push_back({std::move(fault), requests});
}

void SnmpAgent::Behave() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

std::vector<SnmpRequest> SnmpAgent::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

size_t SnmpAgent::not_understood() const {
    const std::lock_guard lock(mutex_);
    return not_understood_;
}

size_t SnmpAgent::TimesTold(std::string_view oid) const {
    const std::lock_guard lock(mutex_);
    const auto found = told_.find(OidOf(oid));
    return found == told_.end() ? 0 : found->second;
}

bool SnmpAgent::WaitForRequests(size_t count, std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return requests_.size() >= count; });
}

void SnmpAgent::Serve() {
    while (!stopping_) {
        if (const std::optional<Datagram> datagram = socket_.Receive(kHeartbeat)) {
            Take(*datagram);
        }
        SendDue();
    }
}

void SnmpAgent::Take(const Datagram& datagram) {
    const std::optional<SnmpMessage> message = DecodeSnmp(datagram.bytes);
    {
        const std::lock_guard lock(mutex_);
        if (message) {
            const bool answered = Accepts(*message) && PlanReplies(*message, datagram.sender);
            requests_.push_back({*message, datagram.sender, answered});
        } else {
            ++not_understood_;
        }
    }
    changed_.notify_all();
}

bool SnmpAgent::Accepts(const SnmpMessage& message) const {
    const bool speaks =
        message.version == SnmpVersion::kV1 ? settings_.speaks_v1 : settings_.speaks_v2c;
    return speaks && message.community == settings_.community;
}

SnmpFault SnmpAgent::NextFault() {
    if (faults_.empty()) {
        return {};
    }
    PlannedFault& planned = faults_.front();
    SnmpFault fault = planned.fault;
    if (planned.requests != kAlways && --planned.requests == 0) {
        faults_.pop_front();
    }
    return fault;
}

bool SnmpAgent::PlanReplies(const SnmpMessage& request, const UdpEndpoint& receiver) {
    std::optional<SnmpMessage> response = Answer(rows_, request);
    if (!response) {
        return false;
    }
    const SnmpFault fault = NextFault();
    if (fault.drop) {
        return false;
    }
    response->id += fault.id_offset;
    Bytes bytes = fault.instead ? *fault.instead : EncodeSnmp(*response);
    bytes.resize(std::min(bytes.size(), fault.keep.value_or(bytes.size())));
    for (const SnmpBinding& binding : response->bindings) {
        ++told_[binding.oid];
    }
    for (int copy = 0; copy < fault.copies; ++copy) {
        replies_.push_back({Clock::now() + fault.delay, bytes, fault.source, receiver});
    }
    return fault.copies > 0;
}

void SnmpAgent::SendDue() {
    std::stable_sort(replies_.begin(), replies_.end(),
                     [](const Reply& one, const Reply& other) { return one.due < other.due; });
    const Clock::time_point now = Clock::now();
    const auto later = std::find_if(replies_.begin(), replies_.end(),
                                    [&](const Reply& reply) { return reply.due > now; });
    std::for_each(replies_.begin(), later, [this](const Reply& reply) { Send(reply); });
    replies_.erase(replies_.begin(), later);
}

void SnmpAgent::Send(const Reply& reply) const {
    // What cannot be sent is lost, as datagrams are.
    if (reply.source) {
        static_cast<void>(DatagramSocket(*reply.source).Send(reply.bytes, reply.receiver));
    } else {
        static_cast<void>(socket_.Send(reply.bytes, reply.receiver));
    }
}

}  // namespace ksp::agent
