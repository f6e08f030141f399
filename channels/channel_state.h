#pragma once

#include <cstdint>

namespace ksp {

// Where a channel stands in its job. One set of codes for all channels: the same number means the
// same wherever it is used. Code 3 is not used.
enum class ChannelState : std::uint32_t {
    kIdle = 0,              // made, or protocol settings replaced; no job
    kStarted = 1,           // job started, no connection yet
    kConnectPending = 2,    // the next write goes on waiting on the same socket
    kConnectTimedOut = 4,   // socket gone; the next write connects afresh
    kConnectFailed = 5,     // socket gone; the next write connects afresh
    kSending = 6,           // raw: the last send took bytes
    kNothingSent = 7,       // raw: the last send took nothing, the next write tries again
    kSendFailed = 8,        // raw: terminal
    kJobCommandFailed = 7,  // XLPR: terminal
    kWaitingForAck = 9,     // XLPR: the next write waits again
    kAckFailed = 10,        // XLPR: terminal
    kCommandFailed = 11,    // XLPR: control-file or data-file command; terminal
    kStreaming = 12,        // XLPR: the last send took bytes
    kStreamedNothing = 13,  // XLPR: the last send took nothing, the next write tries again
    kStreamFailed = 14,     // XLPR: terminal
    kSpooled = 15,          // LPR: all job data so far are in the spool file
    kSpoolFailed = 16,      // LPR: terminal
};

}  // namespace ksp
