#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/discovery/monitor_discovery_test.h"
#include "tests/fuzz/fuzz_run.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/valid_forms.h"

namespace ksp::test {

// What a command answers: ERROR_SUCCESS, or ERROR_INVALID_DATA for input that must be refused.
[[nodiscard]] constexpr DWORD SuccessIf(bool is_valid) {
    return static_cast<DWORD>(is_valid ? ERROR_SUCCESS : ERROR_INVALID_DATA);
}

// The monitor as a whole, with every input at the boundary where the system hands it to the
// library. What goes in and what comes out lies in memory that ends where a guard page begins.
class FuzzTest : public MonitorDiscoveryTest {
  protected:
    struct Reply {
        DWORD code = 0;
        DWORD needed = 0;
        std::string input;   // as the call left it
        std::string output;  // all of the buffer
    };

    // As the function of that name, with the outcomes: every attempt counts in outcomes_.
    template <typename Make, typename Attempt>
    void Fuzz(Generator generator, std::size_t inputs, Make make, Attempt attempt) {
        outcomes_ = {};
        test::Fuzz(generator, inputs, make, attempt, &outcomes_);
    }

    // One Xcv command.
    Reply Call(const std::wstring& command, std::string_view input, std::size_t output_size = 0);
    // Deletes a port that is there, with the printer on it, if there is one.
    void DeletePort(const std::wstring& name);
    // The names of the ports, from a buffer of exactly the size that is asked for.
    std::vector<std::wstring> PortNames();

    void SetUp() override;
    // The ID-print monitor (2) or the ordinary one (1), with the discovery library's stand-in.
    // Before Start, as the next one.
    void UseMonitor(DWORD type);
    // Every line of the log waits for the disk, so it is off unless a test is about what is logged.
    void UseLog() { SetSetting(L"LogLevel", static_cast<DWORD>(LineLevel::kTrace)); }
    // Forgets what the stand-ins noted, which would else grow with every input.
    void ForgetCalls();
    // No port is left, neither in the list nor in the registry.
    void ExpectNoPort();

    Outcomes outcomes_;
};

// Registry values as one input: for each the number of its name, its type, its size (two bytes,
// little endian) and its bytes. What is cut off at the end is left out.
struct TapedValue {
    std::uint8_t name = 0;
    DWORD type = 0;
    std::vector<BYTE> data;
};
[[nodiscard]] std::vector<TapedValue> ReadTape(std::string_view tape);
void AppendToTape(std::string& tape, std::uint8_t name, DWORD type, std::string_view data);
// A value of the wrong type or size now and then.
void AppendMutated(Random& random, std::string& tape, std::uint8_t name, DWORD type,
                   const std::string& data);
[[nodiscard]] std::string DwordBytes(std::uint32_t number);

}  // namespace ksp::test
