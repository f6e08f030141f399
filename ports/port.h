#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "channels/port_services.h"
#include "channels/print_channel.h"
#include "ports/job_event.h"
#include "ports/job_lock.h"
#include "ports/port_info.h"
#include "support/spooler_query.h"

namespace ksp {

// One configured port: its name, its channel, and what belongs to the job that is on it.
//
// A port is kept alive by the list and by every operation that uses it; whoever lets go last
// destroys it, and with it the channel, the event and a printer handle that is still open.
//
// Threads: the operations of a job run inside a CJobScope, one at a time. Operations that come from
// elsewhere (closing the channel, exchanging it) never wait for a job: they find it busy and act
// accordingly. So a printer that sleeps holds up its own job and nothing else.
class CPort {
  public:
    enum class OpenState : std::uint32_t { kNeverOpened = 0, kOpened = 1, kClosed = 2 };
    enum class ExchangeResult { kExchanged, kOpen, kNoChannel };

    // The services outlive the port; its channel reports to them.
    explicit CPort(IPortServices& services) : m_services(services) {}
    virtual ~CPort();
    CPort(const CPort&) = delete;
    CPort& operator=(const CPort&) = delete;

    // Takes the name, makes the channel and the job event.
    [[nodiscard]] bool Initialize(const CPortInfo& info);
    // The channel factory: by the record's `ProtocolID`.
    [[nodiscard]] bool CreatePrintChannel(const CPortInfo& info);
    bool DeletePrintChannel();
    // Puts a channel for the record in the place of the present one, unless a job is on it. With
    // kNoChannel the port is left without one.
    [[nodiscard]] ExchangeResult ExchangePrintChannel(const CPortInfo& info);
    // What becomes of a job that is still on the channel when it is closed: it is ended as
    // EndDocPort would end it, or given up, because its port goes.
    enum class Unfinished { kEnd, kGiveUp };
    // Whether the job of the last StartDocPort is being given up, or has been.
    [[nodiscard]] bool IsGivenUp() const noexcept {
        return m_giveUpRequested.load() || m_jobGivenUp;
    }
    // Closes the channel if it is open. While a job's operation is in it, that operation closes it
    // at its end. False when the channel could not be closed.
    [[nodiscard]] bool CloseChannel(Unfinished job);
    // The port whose job was given up does not go after all: it takes jobs again.
    void Stay() noexcept { m_deleted = false; }

    // Looks whether the channel is open, for the log; a job on it is left alone.
    void LookAtChannel();

    // Tells the spooler and the channel a new printer status, when it differs from the last one.
    bool SetStatus(std::uint32_t status);
    // Reads the job at level 1.
    [[nodiscard]] bool GetJobInfo(SpoolerRecords& job) const;
    // Where the operations of the port's job read what the spooler says of it. The room is kept
    // from one write to the next, until the job ends.
    [[nodiscard]] SpoolerRecords& JobRecords() noexcept { return m_jobRecords; }
    // The event is signalled except while a write is sending. False, with a log line, without
    // event.
    bool SignalJobEvent();
    bool ResetJobEvent();
    bool WaitJobEvent();

    [[nodiscard]] const std::wstring& Name() const noexcept { return m_name; }
    // The channel is for the operations inside a CJobScope; null when the port has none.
    [[nodiscard]] CPrintChannel* Channel() const noexcept { return m_channel.get(); }
    // Whether there is a channel; a port that is busy with a job has one.
    [[nodiscard]] bool HasChannel();
    [[nodiscard]] OpenState State() const noexcept { return m_openState.load(); }
    void SetState(OpenState state) noexcept { m_openState = state; }
    [[nodiscard]] HANDLE Printer() const noexcept { return m_printer.Get(); }
    [[nodiscard]] DWORD JobId() const noexcept { return m_jobId; }
    // The printer handle and the id of the job that starts; a handle left by an earlier one is
    // closed.
    void SetJob(UniquePrinter printer, DWORD jobId) noexcept;
    void ClearJob() noexcept { SetJob(UniquePrinter(), 0); }

  private:
    friend class CJobScope;

    void LeaveJob() noexcept;
    // What the job event answered, with its log line.
    static bool LogJobEvent(bool there);
    // Carries out a requested close unless a job's operation is running. False when it failed.
    bool RunRequestedClose();
    [[nodiscard]] bool IsToBeClosed(CPrintChannel& channel) const;
    void NoteGivenUp() noexcept;

    IPortServices& m_services;
    std::wstring m_name;
    std::unique_ptr<CPrintChannel> m_channel;
    std::atomic<OpenState> m_openState{OpenState::kNeverOpened};
    UniquePrinter m_printer;     // null between jobs
    DWORD m_jobId = 0;           // the spooler's
    std::uint32_t m_status = 0;  // the last status written to the spooler
    CJobEvent m_jobEvent;
    SpoolerRecords m_jobRecords;
    CJobLock m_jobLock;  // its work is the job's operation that runs
    std::atomic<bool> m_closeRequested{false};
    std::atomic<bool> m_giveUpRequested{false};  // the channel watches it while it waits
    std::atomic<bool> m_deleted{false};          // whoever found it before can still start a job
    bool m_jobGivenUp = false;                   // under the job lock
};

// Holds a port for one operation of its job. Operations of one job do not overlap; where a spooler
// lets them, the second waits here.
class CJobScope {
  public:
    explicit CJobScope(CPort& port) noexcept : m_port(port) { m_port.m_jobLock.Acquire(); }
    ~CJobScope() { m_port.LeaveJob(); }
    CJobScope(const CJobScope&) = delete;
    CJobScope& operator=(const CJobScope&) = delete;

  private:
    CPort& m_port;
};

}  // namespace ksp
