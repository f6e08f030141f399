#include "discovery/oryx_wrapper.h"

#include <algorithm>

#include "discovery/discovery_documents.h"
#include "discovery/utf8.h"
#include "ports/registry_store.h"
#include "support/folded_text.h"
#include "support/log.h"

namespace ksp {

bool CKspOryxWrapper::FindDeviceByMac(const std::vector<std::wstring>& macAddresses,
                                      std::wstring& ipAddress, std::wstring& macAddress) {
    ipAddress.clear();
    if (m_stream == nullptr) {
        return false;
    }
    const CProbeSettings settings{m_overRouter,       m_ipv4,  m_ipv6,
                                  m_printerValueWait, m_retry, m_retryInterval};
    if (!SetProbeMode(ProbeModeDocument(settings, SubnetList()))) {
        return false;
    }
    return Probe(
        [&](const std::wstring& capability) {
            CDeviceRecord record = ReadDeviceRecord(capability, m_ipv4, m_ipv6);
            // A device that reports no address is nobody's printer, whatever was stored.
            const bool wanted = !record.MacAddress.empty() &&
                                std::any_of(macAddresses.begin(), macAddresses.end(),
                                            [&record](const std::wstring& mac) {
                                                return IsEqualFolded(mac, record.MacAddress);
                                            });
            if (wanted) {
                ipAddress = std::move(record.IPv4Address);
                macAddress = std::move(record.MacAddress);
            }
            return wanted;
        },
        m_printerValueWait);
}

bool CKspOryxWrapper::Probe(CProbeSession::ResultHandler handler, std::uint32_t wait) {
    const auto session =
        CProbeSession::Begin(Library(), m_stream, m_probeDone.Get(), std::move(handler));
    // A search that was over before its last device answered leaves the event signalled.
    ::ResetEvent(m_probeDone.Get());
    if (Library().KSProbe(m_stream, CProbeSession::Callback, session->Context(), nullptr) != 0) {
        ::WaitForSingleObject(m_probeDone.Get(), wait);
    } else {
        Log(LogLevel::kError, L"Failed Start Probe");
    }
    Library().KSStopProbe(m_stream);
    return session->End();
}

bool CKspOryxWrapper::SetProbeMode(const std::wstring& document) {
    const auto utf8 = ToUtf8(document);
    if (!utf8) {
        Log(LogLevel::kError, L"Conversion to UTF-8 of a parameter went wrong.");
        return false;
    }
    try {
        Library().KSSetProbeMode(m_stream, utf8->c_str());
        return true;
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in set probe mode.");
        return false;
    }
}

std::wstring CKspOryxWrapper::SubnetList() const {
    if (RegistryStore().ReadSetting(L"SubnetSegment").value_or(0) == 0) {
        return std::wstring();
    }
    std::vector<CSubnet> networks;
    RegistryStore().LoadSubnetList(networks);
    return SubnetListDocument(networks);
}

}  // namespace ksp
