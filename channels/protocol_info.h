#pragma once

#include <cstdint>
#include <string>

namespace ksp {

// Where a channel connects to. Each channel holds its own by value.
class CProtocolInfo {
  public:
    static constexpr std::uint32_t kLpr = 0;
    static constexpr std::uint32_t kXlpr = 1;
    static constexpr std::uint32_t kRaw = 2;

    virtual ~CProtocolInfo() = default;

    [[nodiscard]] virtual std::uint32_t GetProtocolType() const { return m_type; }
    // The printer's address or DNS name, as the port's `PrinterAddress` has it.
    [[nodiscard]] virtual std::wstring GetHostName() const { return m_hostName; }
    // The same for whoever only looks at it.
    [[nodiscard]] const std::wstring& HostName() const noexcept { return m_hostName; }
    virtual void SetHostName(const std::wstring& name);
    // TCP port of the printer.
    [[nodiscard]] virtual std::uint16_t GetPortNumber() const { return m_portNumber; }
    virtual void SetPortNumber(std::uint16_t port) { m_portNumber = port; }

  protected:
    CProtocolInfo(std::uint32_t type, std::uint16_t portNumber, std::wstring hostName);
    CProtocolInfo(const CProtocolInfo&) = default;
    CProtocolInfo& operator=(const CProtocolInfo&) = default;

  private:
    std::uint32_t m_type;
    std::uint16_t m_portNumber;
    std::wstring m_hostName;
};

// Raw TCP. New settings take the port number that is the monitor's default at that moment.
class CRawProtocolInfo final : public CProtocolInfo {
  public:
    explicit CRawProtocolInfo(std::wstring hostName);
    CRawProtocolInfo(const CRawProtocolInfo&) = default;
    CRawProtocolInfo& operator=(const CRawProtocolInfo&) = default;

    // The monitor-wide default: 9100, until the ID-print monitor sets the number of the port whose
    // channel it makes next. Ports are made on several threads.
    static void SetDefaultPortNumber(std::uint16_t port) noexcept;
};

// LPR and, in extended mode, XLPR.
class CLprProtocolInfo final : public CProtocolInfo {
  public:
    CLprProtocolInfo(std::wstring hostName, std::wstring queueName, bool extended);
    CLprProtocolInfo(const CLprProtocolInfo&) = default;
    CLprProtocolInfo& operator=(const CLprProtocolInfo&) = default;

    [[nodiscard]] virtual std::wstring GetQueueName() const { return m_queueName; }
    virtual void SetQueueName(const std::wstring& name) { m_queueName = name; }

  private:
    std::wstring m_queueName;
};

}  // namespace ksp
