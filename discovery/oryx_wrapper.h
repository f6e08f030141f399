#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "discovery/oryx_dll.h"
#include "support/windows_handles.h"

namespace ksp {

// One connection to the discovery library: made, started, used and destroyed by each user, on one
// thread. Nothing is shared between wrappers but the loaded library.
//
// A failed start-up leaves the wrapper empty; every service then fails at once.
class CKspOryxWrapper {
  public:
    CKspOryxWrapper() = default;
    virtual ~CKspOryxWrapper() { Finalize(); }
    CKspOryxWrapper(const CKspOryxWrapper&) = delete;
    CKspOryxWrapper& operator=(const CKspOryxWrapper&) = delete;

    // True when the wrapper is ready: library loaded, stream created and initialised, settings read.
    [[nodiscard]] bool StartUp();
    // Releases everything; also run by the destructor.
    void Finalize() noexcept;

  private:
    [[nodiscard]] bool CreateStream();
    void LoadSettings();

    std::unique_ptr<COryxDLL> m_binding;
    void* m_stream = nullptr;
    UniqueHandle m_probeDone;             // auto-reset event
    std::uint32_t m_printerValueWait = 0;  // milliseconds
    std::uint32_t m_serverReplyWait = 0;   // milliseconds
    std::uint32_t m_statusReplyWait = 0;   // milliseconds
    std::uint32_t m_multicastTtl = 0;      // hops
};

}  // namespace ksp
