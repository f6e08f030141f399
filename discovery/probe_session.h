#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

#include "discovery/discovery_library.h"

namespace ksp {

// A search for devices while it runs: what the probe callback works on.
//
// The library calls back on its own threads, perhaps on several at once, perhaps twice for a
// device. What it holds as its context is a number, not a pointer: a library that calls back after
// the session has ended finds no session under it and touches nothing.
class CProbeSession {
  public:
    // Given the capability document of a device that answered, one call at a time. True: this is
    // the device; it ends the search, and the handler is not called again.
    using ResultHandler = std::function<bool(const std::wstring& capability)>;

    // `done` is signalled when the device is found. Library, stream and event outlive the session,
    // and whatever the handler uses lives until End.
    [[nodiscard]] static std::shared_ptr<CProbeSession> Begin(const OryxFunctions& library,
                                                              void* stream, HANDLE done,
                                                              ResultHandler handler);
    ~CProbeSession();
    CProbeSession(const CProbeSession&) = delete;
    CProbeSession& operator=(const CProbeSession&) = delete;

    // The library is given this callback, with Context as its context.
    static void Callback(DeviceHandle device, int code, void* context) noexcept;
    [[nodiscard]] void* Context() const noexcept { return m_context; }

    // Waits for callbacks that still run; later ones do nothing. Answers whether the device was
    // found.
    bool End() noexcept;

  private:
    CProbeSession(const OryxFunctions& library, void* stream, HANDLE done, ResultHandler handler);

    void DeviceAnswered(DeviceHandle device);

    const OryxFunctions& m_library;
    void* m_stream;
    HANDLE m_done;
    ResultHandler m_handler;
    void* m_context = nullptr;
    SRWLOCK m_useLock{};     // shared by callbacks that run, exclusive to End
    bool m_ended = false;    // under m_useLock
    SRWLOCK m_resultLock{};  // one result at a time
    bool m_found = false;    // under m_resultLock
};

}  // namespace ksp
