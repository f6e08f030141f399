#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ports/xcv_port_info.h"
#include "tests/discovery/monitor_discovery_test.h"
#include "tests/monitor/log_lines.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {

// A command's input: none is a null pointer with size 0.
using XcvInput = std::optional<Bytes>;

// The bytes of a text; Terminated adds its terminator.
Bytes Unterminated(std::wstring_view text);
Bytes Terminated(std::wstring_view text);
Bytes Terminated(std::string_view text);
// What stands in bytes as a text up to the first terminator, or to the end.
std::wstring TextAt(const Bytes& bytes);

struct XcvAnswer {
    DWORD code = 0;
    DWORD needed = 0;
    Bytes input = {};   // as the command left it
    Bytes output = {};  // kFiller where the command wrote nothing
};

// The tokens of an AddPort data string, in their order; the defaults are those of a raw port.
struct AddPortTokens {
    std::wstring first = L"first";
    std::wstring protocol = L"2";
    std::wstring address = L"127.0.0.1";
    std::wstring name = L"PORT";
    std::wstring ip_address = L"NONE";
    std::wstring subnet_mask = L"NONE";
    std::wstring mac_address = L"NONE";
    std::wstring address_type = L"1";
    std::wstring user_mode = L"0";
    std::wstring raw_port = L"0";
    std::wstring check_port = L"0";
    std::wstring user = L"";

    [[nodiscard]] std::wstring Text() const;
};

// Sends Xcv commands to a started monitor. Every buffer that a command gets ends where its memory
// ends, so that a byte read or written behind it ends the program.
class XcvTest : public MonitorDiscoveryTest {
  protected:
    static constexpr DWORD kUntouched = 0x5A5A5A5A;  // the bytes needed before a command
    static constexpr BYTE kFiller = 0xCC;            // the output before a command
    static constexpr size_t kRecord = 16412;         // bytes of an XcvPortInfo

    XcvAnswer Call(const std::wstring& command, const XcvInput& input = std::nullopt,
                   std::optional<size_t> output_size = std::nullopt);
    XcvAnswer Call(const std::wstring& command, const wchar_t* text,
                   std::optional<size_t> output_size = std::nullopt) {
        return Call(command, Terminated(std::wstring_view(text)), output_size);
    }
    // As they stand; no byte is checked.
    DWORD CallRaw(const wchar_t* command, BYTE* input, DWORD input_size, BYTE* output,
                  DWORD output_size, DWORD* needed);

    XcvAnswer Add(const AddPortTokens& tokens) {
        return Call(L"AddPort", Terminated(tokens.Text()));
    }
    XcvAnswer AddSilently(std::string_view text) {
        return Call(L"SilentAddPort", Terminated(text));
    }

    // Sends a command that is refused with this code and these lines, and finds its input, the port
    // list and the registry as they were.
    void ExpectUnchanged(const std::wstring& command, const XcvInput& input, DWORD code,
                         const std::vector<std::string>& lines);

    // A raw port in the registry; before Start.
    void AddRawPort(const std::wstring& name);
    // The ports that the monitor lists, and everything that the registry has of them.
    std::vector<std::wstring> PortNames();
    [[nodiscard]] std::wstring PortKeys() { return store().Describe(root(), L"Ports"); }
    [[nodiscard]] std::optional<std::wstring> StoredText(const std::wstring& port,
                                                         const wchar_t* name) {
        return store().GetText(root(), PortPath(port), name);
    }
    [[nodiscard]] std::optional<DWORD> StoredNumber(const std::wstring& port, const wchar_t* name) {
        return store().GetDword(root(), PortPath(port), name);
    }

    // A job on a port; null when it did not start.
    HANDLE StartJob(std::wstring port);

    // Log lines since the last call of this function.
    std::vector<std::string> NewLines() { return lines_.Next(); }
    // The lines of a command without the two with which each begins.
    std::vector<std::string> LinesOf(const std::string& command);

  private:
    LogLines lines_{log_path()};
};

// Whether nothing was written behind the first `used` bytes.
bool IsUntouchedFrom(const Bytes& output, size_t used);

}  // namespace ksp::test
