// EndDoc of the LPR channel: the exchange of RFC 1179, and what happens when it fails.

#include "channels/lpr_print_channel.h"

#include "support/log.h"

namespace ksp {

namespace {

constexpr DWORD kErrorPause = 5000;  // milliseconds between two looks at a job in error
constexpr std::uint32_t kJobCheckSeconds = 6;
constexpr std::int32_t kChunk = 1024;  // bytes sent at a time
constexpr DWORD kShortAttempt = 1000;  // milliseconds

// A wait that came back at once is followed by a pause, so that a printer that refuses or closes
// every connection does not keep a processor busy.
class CAttemptPause {
  public:
    CAttemptPause() : m_start(::GetTickCount()) {}
    void PauseAfterShortAttempt() const {
        if (::GetTickCount() - m_start < kShortAttempt) {
            ::Sleep(kShortAttempt);
        }
    }

  private:
    DWORD m_start;
};

}  // namespace

std::int32_t CLprPrintChannel::EndDoc() {
    if (!m_open) {
        return 0;
    }
    if (m_state == ChannelState::kSpooled && !IsEndRequested()) {
        try {
            Deliver();
        } catch (...) {
            // Out of memory. A job that ended here would be reported sent, so it is held like any
            // other that failed.
            Log(LogLevel::kCritical, L"memory allocation failure");
            HoldInError(L"The sendtoServer failed ..");
        }
    }
    CleanUp();
    return 0;
}

void CLprPrintChannel::Deliver() {
    if (!ConnectToDaemon() || !AnnounceJob() || !AwaitJobAcknowledgement()) {
        return;
    }
    if (SendControlInformation() != 0) {
        HoldInError(L"The SendControlInformation failed or timedout..");
        return;
    }
    if (SendDataFileInformation() != 0) {
        HoldInError(L"The SendDataFileInformation failed or timedout..");
        return;
    }
    if (SendData()) {
        EndData();
    }
}

bool CLprPrintChannel::ConnectToDaemon() {
    for (;;) {
        const CAttemptPause attempt;
        if (openConnection() == 0) {
            return true;
        }
        UpdatePortStatus();
        Log(LogLevel::kInfo, L"The openConnection Failed or timedout..");
        if (!CheckJobAlive()) {
            return false;
        }
        attempt.PauseAfterShortAttempt();
    }
}

bool CLprPrintChannel::AnnounceJob() {
    if (SendPrintJobInformation() == 0) {
        return true;
    }
    SetJobError();
    for (;;) {
        UpdatePortStatus();
        Log(LogLevel::kInfo, L"The SendPrintJobInformation Failed or timedout..");
        if (!CheckJobAlive()) {
            return false;
        }
        ::Sleep(kErrorPause);
    }
}

bool CLprPrintChannel::AwaitJobAcknowledgement() {
    for (;;) {
        const CAttemptPause attempt;
        const std::int32_t answer = WaitforAck();
        if (answer > 0) {
            return true;
        }
        if (answer < 0) {
            HoldInError(L"The WaitforAck failed..");
            return false;
        }
        UpdatePortStatus();
        Log(LogLevel::kInfo, L"The WaitforAck timedout..");
        if (!CheckJobAlive()) {
            return false;
        }
        attempt.PauseAfterShortAttempt();
    }
}

bool CLprPrintChannel::SendData() {
    char chunk[kChunk];
    bool readable = m_spoolFile.Rewind();
    while (readable) {
        const auto length = m_spoolFile.Read(chunk, sizeof(chunk));
        readable = length.has_value();
        if (readable) {
            if (!CheckJobAlive()) {
                return true;
            }
            const Delivery delivery = SendChunk(chunk, static_cast<std::int32_t>(*length));
            if (delivery != Delivery::kDone) {
                return delivery == Delivery::kAbandoned;
            }
            if (*length < sizeof(chunk)) {
                return true;
            }
        }
    }
    // The rest of the job cannot be had any more; ending the data here would print half of it as a
    // whole.
    HoldInError(L"The sendtoServer failed ..");
    return false;
}

CLprPrintChannel::Delivery CLprPrintChannel::SendChunk(const char* data, std::int32_t length) {
    while (length > 0) {
        const std::int32_t sent = SendToServer(data, length);
        if (sent < 0) {
            HoldInError(L"The sendtoServer failed ..");
            return Delivery::kFailed;
        }
        if (sent == length) {
            m_services.SetPortStatus(m_portId, 0);
            return Delivery::kDone;
        }
        UpdatePortStatus();
        if (sent == 0) {
            Log(LogLevel::kInfo, L"The SendToServer timedout..");
        }
        data += sent;
        length -= sent;
        if (!CheckJobAlive()) {
            return Delivery::kAbandoned;
        }
    }
    return Delivery::kDone;
}

// Also a transfer that was abandoned is ended in order, so that the daemon does not wait for the
// rest.
void CLprPrintChannel::EndData() {
    constexpr char kEnd = '\0';
    // Held back until the data before it are acknowledged, the single byte would cost every job the
    // daemon's delay. The data themselves had better be gathered into full segments.
    if (m_pStreamSocket) {
        m_pStreamSocket->SendAtOnce();
    }
    // The daemon that was to get more does not answer, and nobody waits for a job that is given up.
    if (SendToServer(&kEnd, 1) != 1 || (!IsEndRequested() && WaitforAck() != 1)) {
        UpdatePortStatus();
    }
}

void CLprPrintChannel::HoldInError(LogText message) noexcept {
    bool marked = false;
    bool alive = true;
    while (alive) {
        try {
            if (!marked) {
                SetJobError();
                marked = true;
            }
        } catch (...) {
            // The next look at the job finds it unmarked.
        }
        UpdatePortStatus();
        Log(LogLevel::kInfo, message);
        try {
            alive = CheckJobAlive();
        } catch (...) {
            alive = !IsEndRequested();
        }
        if (alive) {
            ::Sleep(kErrorPause);
        }
    }
}

void CLprPrintChannel::CleanUp() {
    m_services.SetPortStatus(m_portId, 0);
    m_spoolFile.Close();
    // By the number that the job has now: once the control file was sent, that is not the number
    // under which it was spooled. Its spool file then stays until a later job takes that number.
    try {
        CSpoolFile::Delete(m_jobNumber);
    } catch (...) {
        // The file stays until a later job takes its number; the rest is given back all the same.
    }
    CloseConnection();
    m_services.SetPortStatus(m_portId, m_savedStatus);
    m_open = false;
}

bool CLprPrintChannel::CheckJobAlive() {
    if (IsEndRequested()) {
        return false;
    }
    const std::uint32_t now = ::GetTickCount();
    if ((now - m_lastJobCheck) / 1000 < kJobCheckSeconds) {
        return true;
    }
    m_lastJobCheck = now;
    return !m_services.IsJobEnded(m_portId);
}

std::int32_t CLprPrintChannel::SetJobError() {
    return m_services.SetJobError(m_portId) ? 0 : -1;
}

}  // namespace ksp
