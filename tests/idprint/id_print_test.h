#pragma once

#include <optional>
#include <string>

#include "tests/idprint/confirmation_service.h"
#include "tests/idprint/header_bytes.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/monitor/port_call_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {

// The values of an ID-print port that an ordinary port does not have, named as they are stored.
struct IdPrintValues {
    DWORD SecureUserMode = 0;
    DWORD SecureRawPortNo = 9200;
    DWORD CheckPortNo = 9101;
    std::wstring UserIdentityName = L"identity of the port";
};

enum class Protocol : DWORD { kLpr = 0, kXlpr = 1, kRaw = 2 };

// The ID-print monitor with a printer on a loopback address of the test's own. The printer's
// services are made by the test, and live until the monitor is gone.
class IdPrintTest : public PortCallTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    const std::string& address() const { return address_; }
    std::wstring wide_address() const { return {address_.begin(), address_.end()}; }

    // The port "Port" of that printer; before Start.
    void AddIdPort(Protocol protocol = Protocol::kRaw, const IdPrintValues& values = {});
    void SetPortValue(const std::wstring& value, DWORD number) {
        store().SetDword(root(), PortPath(L"Port"), value, number);
    }

    // The printer's services.
    ConfirmationService& StartChecks(ConfirmationBehavior behavior = Ready(), WORD port = 9101);
    standins::LoopbackPrinter& StartRaw(standins::PrinterBehavior behavior = {}, WORD port = 9200);
    standins::LpdPrinter& StartLpd();

    // A ready printer with a raw port that the monitor has loaded, and a job in its queue.
    void StartRawJob(const IdPrintValues& values = {});
    // Offers the data in pieces and ends the job; everything is taken.
    void PrintPieces(const std::vector<std::string>& pieces);

    static JOB_INFO_2W Job() { return WinspoolControl::SampleJob(1); }
    void PutJob(const JOB_INFO_2W& job) { ASSERT_TRUE(spooler().PutJob(L"Printer", job)); }
    size_t CountLines(LineLevel level, const std::wstring& message) const {
        return ReadLog().CountLines(level, message);
    }

    // What the raw printer received when its only connection was over.
    std::string Received();

    std::optional<ConfirmationService> checks_;
    std::optional<standins::LoopbackPrinter> raw_;
    std::optional<standins::LpdPrinter> lpd_;

  private:
    std::string address_;
};

// Two byte strings as they differ, readable.
::testing::AssertionResult SameText(const std::string& received, const std::string& expected);

}  // namespace ksp::test
