#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace ksp::bench {

// The least that a work takes on this machine: the same system calls, bare.

// Bytes to a printer: connect, then select and send of `chunk` bytes until everything is taken, then
// shut down, wait for the printer's end and close. Seconds; negative when it failed.
[[nodiscard]] double BareJob(const std::string& address, uint16_t port, uint64_t bytes,
                             size_t chunk);
// The end of such a job alone: shutdown, the printer's end, close.
[[nodiscard]] double BareEnd(const std::string& address, uint16_t port, size_t bytes);

// Every port's key: enumerate, open, read the thirteen values of a port, close. Seconds.
[[nodiscard]] double BareLoad(HKEY root);

// Bytes to a printer the plain way: before every select and send, all port keys up to the one that is
// printed to are enumerated, opened, read and closed. Bytes per second.
[[nodiscard]] double PlainThroughput(HKEY root, const std::wstring& port, const std::string& address,
                                     uint16_t tcp_port, size_t writes, size_t chunk);

}  // namespace ksp::bench
