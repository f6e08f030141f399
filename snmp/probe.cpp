#include "snmp/probe.h"

#include <utility>

#include "snmp/agent_client.h"
#include "snmp/local_networks.h"
#include "snmp/unloading.h"

namespace ksp::snmp {

namespace {

// So many datagrams are looked at before the clock is again.
constexpr int kMostAtOnce = 256;

// The library's own reference to itself; null when the system does not give it.
HMODULE ReferToThisLibrary() noexcept {
    HMODULE library = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<const wchar_t*>(&ReferToThisLibrary), &library);
    return library;
}

struct ThreadStart {
    std::shared_ptr<CProbe> probe;
    HMODULE library = nullptr;
};

}  // namespace

// Carries what the search wants done to the network and to the library's user.
class CProbe::CCaller final : public CSearch::IOutput {
  public:
    explicit CCaller(const CProbe& probe) : m_probe(probe) {}

    [[nodiscard]] CUdpSocket& Socket() noexcept { return m_socket; }

    bool Send(Ipv4 address, const Bytes& message) override {
        return m_socket.Send(address, m_probe.m_order.settings.access.port, message);
    }
    void Found(const CDeviceIdentity& identity) override {
        if (m_probe.IsStopped()) {
            return;
        }
        if (const DeviceHandle device = m_probe.m_order.addDevice(identity); device > 0) {
            m_probe.CallBack(device, 0);
        }
    }

  private:
    const CProbe& m_probe;
    CUdpSocket m_socket;
};

CProbe::CProbe(Order order)
    : m_order(std::move(order)), m_stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

std::shared_ptr<CProbe> CProbe::Start(Order order) {
    auto probe = std::make_shared<CProbe>(std::move(order));
    if (!probe->m_stop) {
        return nullptr;
    }
    auto start = std::make_unique<ThreadStart>(ThreadStart{probe, nullptr});
    start->library = ReferToThisLibrary();
    if (start->library == nullptr) {
        return nullptr;
    }
    probe->m_thread.Reset(
        ::CreateThread(nullptr, 0, RunThread, start.get(), CREATE_SUSPENDED, &probe->m_threadId));
    if (!probe->m_thread) {
        ::FreeLibrary(start->library);
        return nullptr;
    }
    static_cast<void>(start.release());
    ::ResumeThread(probe->m_thread.Get());
    return probe;
}

DWORD WINAPI CProbe::RunThread(void* start) noexcept {
    HMODULE library = nullptr;
    {
        const std::unique_ptr<ThreadStart> taken(static_cast<ThreadStart*>(start));
        library = taken->library;
        taken->probe->Run();
    }
    // Nothing of this library may be on the stack when it goes.
    ::FreeLibraryAndExitThread(library, 0);
}

void CProbe::Run() {
    try {
        CCaller caller(*this);
        if (!caller.Socket().IsOpen()) {
            CallBack(0, static_cast<int>(ProbeError::kFailed));
            return;
        }
        Search(caller);
    } catch (...) {
        CallBack(0, static_cast<int>(ProbeError::kFailed));
    }
}

void CProbe::Search(CCaller& caller) {
    std::vector<CNetwork> networks = LocalNetworks(m_order.settings.searchLoopback);
    networks.insert(networks.end(), m_order.mode.networks.begin(), m_order.mode.networks.end());
    CSearchRange range = RangeOf(networks);
    for (int count = 0; count < range.narrowed; ++count) {
        CallBack(0, static_cast<int>(ProbeError::kNarrowed));
    }
    if (range.addresses.empty()) {
        CallBack(0, static_cast<int>(ProbeError::kNothing));
        return;
    }
    CUdpSocket& socket = caller.Socket();
    CSearch search(std::move(range.addresses), m_order.settings.access, m_order.mode.timing,
                   RandomId, Now());
    while (!IsStopped()) {
        // Answers first: one that came in time counts, also after a callback that took long.
        bool more = true;
        for (int count = 0; count < kMostAtOnce && more && !IsStopped(); ++count) {
            const auto datagram = socket.Receive();
            more = datagram.has_value();
            if (more && datagram->port == m_order.settings.access.port) {
                search.Receive(datagram->address, datagram->bytes, caller);
            }
        }
        search.Advance(Now(), caller);
        if (search.IsOver()) {
            break;
        }
        const std::uint64_t now = Now();
        const std::uint64_t next = more ? now : search.NextTime();
        if (socket.WaitOr(m_stop.Get(), next > now ? next - now : 0)) {
            break;
        }
    }
}

bool CProbe::IsStopped() const noexcept {
    return ::WaitForSingleObject(m_stop.Get(), 0) == WAIT_OBJECT_0;
}

void CProbe::CallBack(DeviceHandle device, int code) const {
    if (!IsStopped()) {
        m_order.callback(device, code, m_order.context);
    }
}

void CProbe::Stop() noexcept {
    ::SetEvent(m_stop.Get());
    if (::GetCurrentThreadId() != m_threadId && !g_isUnloading) {
        ::WaitForSingleObject(m_thread.Get(), INFINITE);
    }
}

bool CProbe::IsOver() const noexcept {
    return ::WaitForSingleObject(m_thread.Get(), 0) == WAIT_OBJECT_0;
}

}  // namespace ksp::snmp
