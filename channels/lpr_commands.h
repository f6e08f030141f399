#pragma once

#include <cstdint>
#include <string>

namespace ksp {

// The bytes of the line printer daemon protocol (RFC 1179). Texts are 8-bit, in the ANSI code page.
// Plain computation.

// What the control file says of a job.
struct CLprJobNames {
    std::string host;  // the computer that prints
    std::string user;  // at most 31 characters (RFC 1179 section 7.2)
    std::string job;   // at most 99 characters (RFC 1179 section 7.2)
};

// A text as it may stand on a line of its own: a control character would end the line or mean
// something to the daemon, so each becomes a blank.
[[nodiscard]] std::string LprLineText(std::string text, std::size_t longest = std::string::npos);

// "Receive a printer job" (RFC 1179 section 5.2).
[[nodiscard]] std::string LprReceiveJobCommand(const std::string& queue);
// The control file: host, user, job name (twice), the data file to print with its control
// characters, and to delete after printing (RFC 1179 section 7).
[[nodiscard]] std::string LprControlFile(const CLprJobNames& names, std::uint32_t jobNumber);
// "Receive control file" (RFC 1179 section 6.2); the count is that of the control file's bytes.
[[nodiscard]] std::string LprControlFileCommand(std::size_t count, std::uint32_t jobNumber,
                                                const std::string& host);
// "Receive data file" (RFC 1179 section 6.3); the count is a decimal text.
[[nodiscard]] std::string LprDataFileCommand(const std::string& count, std::uint32_t jobNumber,
                                             const std::string& host);

}  // namespace ksp
