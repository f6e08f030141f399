#include "discovery/oryx_wrapper.h"

#include <windows.h>

#include <algorithm>

#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::uint32_t kDefaultSeconds = 20;
constexpr std::uint32_t kDefaultMulticastTtl = 3;

std::uint32_t WaitOf(const wchar_t* setting) {
    constexpr std::uint32_t kMostSeconds = 0xFFFFFFFF / 1000;
    const std::uint32_t seconds = RegistryStore().ReadSetting(setting).value_or(0);
    return std::min(seconds != 0 ? seconds : kDefaultSeconds, kMostSeconds) * 1000;
}

}  // namespace

bool CKspOryxWrapper::StartUp() {
    if (!COryxDLL::IsLibraryPathReady()) {
        Log(LogLevel::kError, L"need start up oryx");
        return false;
    }
    Finalize();
    try {
        m_binding = std::make_unique<COryxDLL>();
    } catch (...) {
        Log(LogLevel::kError, L"Oryx dll initialize error");
        return false;
    }
    if (!m_binding->IsReady()) {
        Log(LogLevel::kError, L"Oryx dll is not ready to use");
        m_binding.reset();
        return false;
    }
    if (!CreateStream()) {
        m_binding.reset();
        return false;
    }
    LoadSettings();
    return true;
}

bool CKspOryxWrapper::CreateStream() {
    const OryxFunctions& library = m_binding->Functions();
    void* const stream = library.KSCreateStream();
    if (stream == nullptr) {
        Log(LogLevel::kError, L"failed create oryx stream handle)");
        return false;
    }
    if (const int error = library.KSInitialize(stream, 0); error != 0) {
        Log(LogLevel::kError, L"failed initialize oryx(%d)", error);
        library.KSDeleteStream(stream);
        return false;
    }
    m_probeDone.Reset(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!m_probeDone) {
        library.KSDeleteStream(stream);
        return false;
    }
    m_stream = stream;
    return true;
}

void CKspOryxWrapper::LoadSettings() {
    m_printerValueWait = WaitOf(L"WaitPrinterValueTimeout");
    m_serverReplyWait = WaitOf(L"WaitServerReplyTimeout");
    m_statusReplyWait = WaitOf(L"WaitStatusReplyTimeout");
    m_multicastTtl = RegistryStore().ReadSetting(L"MultiCastTTL").value_or(kDefaultMulticastTtl);
}

void CKspOryxWrapper::Finalize() noexcept {
    try {
        if (m_stream != nullptr && m_binding != nullptr) {
            const OryxFunctions& library = m_binding->Functions();
            library.KSStopProbe(m_stream);
            library.KSTerminate(m_stream);
            library.KSDeleteStream(m_stream);
        }
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in finalize oryx");
    }
    m_stream = nullptr;
    m_binding.reset();
    m_probeDone.Reset();
}

}  // namespace ksp
