#pragma once

#include <string>

namespace ksp::test {

// What a daemon is to receive of a job, written out from the protocol (RFC 1179).
struct JobText {
    std::string queue = "queue";
    std::string job = "Document";
    std::string user = {};  // this thread's user when empty
    unsigned number = 0;    // the number in the names of the control file and the data file
    std::string data_count = {};

    [[nodiscard]] std::string Control() const;
    // The commands, without their line feeds.
    [[nodiscard]] std::string ReceiveJob() const { return "\x02" + queue; }
    [[nodiscard]] std::string ReceiveControl() const;
    [[nodiscard]] std::string ReceiveData() const;
    // Everything up to the data.
    [[nodiscard]] std::string Preamble() const;
};

// This computer and the thread's user, in the ANSI code page.
std::string ComputerName();
std::string UserName();
std::string Ansi(const std::wstring& text);

}  // namespace ksp::test
