#pragma once

#include "discovery/discovery_library.h"

namespace ksp {

// Owners of what the discovery library hands out. Each gives its resource back through the
// library's functions, which must stay loaded, to the stream or utility that it came from, which
// must outlive it.

// A device handle of a stream.
class CDeviceHandle {
  public:
    CDeviceHandle(const OryxFunctions& library, void* stream, DeviceHandle device) noexcept
        : m_library(library), m_stream(stream), m_device(device) {}
    ~CDeviceHandle() {
        if (IsOpen()) {
            m_library.KSDeleteDeviceHandle(m_stream, m_device);
        }
    }
    CDeviceHandle(const CDeviceHandle&) = delete;
    CDeviceHandle& operator=(const CDeviceHandle&) = delete;

    [[nodiscard]] bool IsOpen() const noexcept { return m_device > 0; }
    [[nodiscard]] DeviceHandle Get() const noexcept { return m_device; }

  private:
    const OryxFunctions& m_library;
    void* m_stream;
    DeviceHandle m_device;
};

// A library buffer; also one that a failed call left behind.
class CLibraryBuffer {
  public:
    CLibraryBuffer(const OryxFunctions& library, void* stream, DeviceHandle device) noexcept
        : m_library(library), m_stream(stream), m_device(device) {}
    ~CLibraryBuffer() {
        if (m_text != nullptr) {
            m_library.KSDeleteBuffer(m_stream, m_device, &m_text);
        }
    }
    CLibraryBuffer(const CLibraryBuffer&) = delete;
    CLibraryBuffer& operator=(const CLibraryBuffer&) = delete;

    [[nodiscard]] char** Receive() noexcept { return &m_text; }
    [[nodiscard]] const char* Text() const noexcept { return m_text; }

  private:
    const OryxFunctions& m_library;
    void* m_stream;
    DeviceHandle m_device;
    char* m_text = nullptr;
};

// A MIME utility.
class CMimeUtil {
  public:
    explicit CMimeUtil(const OryxFunctions& library)
        : m_library(library), m_util(library.KSCreateMIMEUtil()) {}
    ~CMimeUtil() {
        if (m_util != nullptr) {
            m_library.KSDeleteMIMEUtil(m_util);
        }
    }
    CMimeUtil(const CMimeUtil&) = delete;
    CMimeUtil& operator=(const CMimeUtil&) = delete;

    [[nodiscard]] void* Get() const noexcept { return m_util; }

  private:
    const OryxFunctions& m_library;
    void* m_util;
};

// A block that a MIME call returned.
template <class Block>
class CMimeBuffer {
  public:
    CMimeBuffer(const OryxFunctions& library, const CMimeUtil& util) noexcept
        : m_library(library), m_util(util) {}
    ~CMimeBuffer() {
        if (m_block != nullptr) {
            void* block = m_block;
            m_library.KSMIMEDeleteBuffer(m_util.Get(), &block);
        }
    }
    CMimeBuffer(const CMimeBuffer&) = delete;
    CMimeBuffer& operator=(const CMimeBuffer&) = delete;

    [[nodiscard]] Block** Receive() noexcept { return &m_block; }
    [[nodiscard]] Block* Get() const noexcept { return m_block; }

  private:
    const OryxFunctions& m_library;
    const CMimeUtil& m_util;
    Block* m_block = nullptr;
};

}  // namespace ksp
