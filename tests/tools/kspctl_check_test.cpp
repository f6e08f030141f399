#include <gmock/gmock.h>

#include <cstring>
#include <memory>

#include "net/ip_address.h"
#include "ports/port_record_forms.h"
#include "tests/host/discovery_control.h"
#include "tests/host/winspool_control.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/standins/held_port.h"
#include "tests/standins/loopback_printer.h"
#include "tests/tools/captured_output.h"
#include "tests/tools/machine_settings.h"

namespace ksp::test {
namespace {

using ctl::ExitCode;
using standins::LoopbackPrinter;
using standins::PrinterBehavior;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr char kStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1";
constexpr char kErrorsOid[] = "1.3.6.1.2.1.25.3.5.1.2";

// `kspctl test` on a port whose record the spooler's monitor gives out, with printers on the
// loopback and the stand-in for the discovery library.
class KspctlCheckTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(spooler_.Connect());
        spooler_.Reset();
        spooler_.PutMonitor(L"Kestrel Print Port");
        spooler_.PutPort(L"Office", L"Kestrel Print Port");
        spooler_.SetXcvHandler([this](const std::wstring&, const wchar_t* command, std::span<BYTE>,
                                      std::span<BYTE> output,
                                      DWORD*) { return Answer(command, output); });
        ASSERT_TRUE(network_.Connect());
        network_.Reset();
        port_.PortName = L"Office";
        port_.ProtocolID = 2;
        port_.PortNumber = kRawPort;
        port_.PrinterAddressType = 1;
        if (!MachineIsOurs()) {
            GTEST_SKIP() << "the registry of this machine is not the tests' own";
        }
    }

    void TearDown() override {
        EXPECT_EQ(network_.Leftovers(), "");
        EXPECT_EQ(spooler_.OpenHandles().size(), 0u);
        spooler_.Reset();
    }

    DWORD Answer(const std::wstring& command, std::span<BYTE> output) const {
        const DWORD yes = 1;
        if (command == L"GetPortConfig") {
            const auto record = std::make_unique<XcvPortInfo>();
            EXPECT_TRUE(FillRecord(port_, *record));
            std::memcpy(output.data(), record.get(), sizeof(*record));
        } else {
            std::memcpy(output.data(), command == L"IsKspPort" ? &yes : &type_, sizeof(yes));
        }
        return ERROR_SUCCESS;
    }

    void Announce(const std::string& address, std::uint8_t state, std::uint8_t errors) {
        network_.AddDevice({.address = address, .mac = "0026AB123456", .name = "Kestrel 9"});
        network_.SetValue(address, kStatusOid, {state, 0, 0, 0});
        network_.SetValue(address, kErrorsOid, {errors});
    }

    // The port prints to a printer's queue over LPR.
    void UseQueueOf(const LoopbackPrinter& printer) {
        port_.PrinterAddress = printer.wide_address();
        port_.ProtocolID = 0;
        port_.PortNumber = 515;
        port_.QueueName = L"auto";
    }

    // The line of a step.
    static std::wstring Step(const KspctlRun& run, const std::wstring& name) {
        for (const std::wstring& line : run.lines) {
            if (line.substr(11).starts_with(name)) {
                return line;
            }
        }
        return L"";
    }

    MachineSettings settings_;
    WinspoolControl spooler_;
    DiscoveryControl network_;
    CPortInfo port_;
    DWORD type_ = 1;
};

TEST_F(KspctlCheckTest, APrinterThatAnswersPassesAndReceivesNothing) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    port_.PrinterAddress = printer.wide_address();
    Announce(printer.address(), 3, 0);
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    ASSERT_EQ(run.code, ExitCode::kDone);
    for (const wchar_t* step : {L"record", L"address", L"connection", L"identity", L"status"}) {
        EXPECT_THAT(Step(run, step), StartsWith(L"passed")) << step;
    }
    EXPECT_THAT(Step(run, L"identity"), HasSubstr(L"Kestrel 9, MAC address 0026AB123456"));
    EXPECT_EQ(run.lines.back(), L"OK: a job on \"Office\" would arrive");
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(printer.received().empty());
}

TEST_F(KspctlCheckTest, APrinterThatRefusesFailsWithTheStepAndAnAdvice) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(printer.ready());
    port_.PrinterAddress = printer.wide_address();
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    ASSERT_EQ(run.code, ExitCode::kPrinterSilent);
    EXPECT_THAT(Step(run, L"connection"), StartsWith(L"failed"));
    EXPECT_THAT(run.lines[3], HasSubstr(L"-> a device is there and does not take jobs"));
    EXPECT_THAT(run.errors.front(), HasSubstr(L"would not arrive; connection: "));
}

TEST_F(KspctlCheckTest, ANameWithoutAnAddressFailsAndNothingElseIsTried) {
    port_.PrinterAddress = L"no such printer.invalid";
    port_.PrinterAddressType = 2;
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kPrinterSilent);
    EXPECT_THAT(Step(run, L"address"), StartsWith(L"failed"));
    EXPECT_EQ(Step(run, L"connection"), L"");
}

TEST_F(KspctlCheckTest, ARecordThatCannotPrintFailsAtOnce) {
    port_.PrinterAddress = L"127.0.0.1";
    port_.ProtocolID = 3;
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kPrinterSilent);
    EXPECT_THAT(Step(run, L"record"), StartsWith(L"failed"));
    EXPECT_EQ(Step(run, L"address"), L"");
}

TEST_F(KspctlCheckTest, TroubleAtThePrinterIsTold) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    port_.PrinterAddress = printer.wide_address();
    Announce(printer.address(), 1, 0x08);  // door open
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(Step(run, L"status"), StartsWith(L"attention"));
    EXPECT_THAT(Step(run, L"status"), HasSubstr(L"door open"));
}

TEST_F(KspctlCheckTest, ADeviceThatTellsNothingNeedsAttention) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    port_.PrinterAddress = printer.wide_address();
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(Step(run, L"identity"), StartsWith(L"attention"));
    EXPECT_THAT(Step(run, L"status"), StartsWith(L"attention"));
}

TEST_F(KspctlCheckTest, ATrackedPrinterIsFoundWhereItMovedTo) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    port_.PrinterAddress = L"prn01";
    port_.PrinterAddressType = 4;
    port_.IpAddress = L"127.255.0.1";
    port_.MacAddress = L"0026AB123456";
    Announce(printer.address(), 3, 0);
    KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(Step(run, L"address"), StartsWith(L"attention"));
    EXPECT_THAT(Step(run, L"address"), HasSubstr(L"to " + printer.wide_address()));
    port_.IpAddress = printer.wide_address();
    run = RunKspctl({L"test", L"Office"});
    EXPECT_THAT(Step(run, L"address"), StartsWith(L"passed"));
}

// An LPR printer whose answer to a job for its queue is the text given.
LoopbackPrinter LprPrinter(const std::string& answer) {
    return LoopbackPrinter({.close_after = 7,
                            .responder =
                                [answer](const std::vector<uint8_t>& received) {
                                    const std::string text(received.begin(), received.end());
                                    if (text ==
                                        "\x02"
                                        "auto\n") {
                                        return answer;
                                    }
                                    return text == "\x03"
                                                   "auto \n"
                                               ? std::string("\nauto is ready\nno entries\n")
                                               : std::string();
                                }},
                           {"", 515});
}

constexpr std::uint16_t kFirstReserved = 721;
constexpr std::uint16_t kLastReserved = 731;

// Keeps every port busy that jobs come from.
std::vector<standins::Socket> TakeReservedPorts() {
    CSLIpAddr local;
    EXPECT_EQ(local.getLocalHost(), 0u);
    const std::wstring text = local.Text();
    std::vector<standins::Socket> taken;
    for (std::uint16_t port = kFirstReserved; port <= kLastReserved; ++port) {
        taken.push_back(standins::HoldPort({std::string(text.begin(), text.end()), port}));
        if (!taken.back().valid()) {
            ADD_FAILURE() << "port " << port << " stays busy";
            return {};
        }
    }
    return taken;
}

// It needs all the reserved ports, which others may have had a minute ago.
TEST_F(KspctlCheckTest, ARefusalOfAQuestionFromAnOrdinaryPortIsNoRefusalOfJobs) {
    const LoopbackPrinter printer = LprPrinter("your host may not use this printer\n");
    ASSERT_TRUE(printer.ready());
    const auto taken = TakeReservedPorts();
    ASSERT_FALSE(taken.empty());
    UseQueueOf(printer);
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(Step(run, L"queue"), StartsWith(L"attention"));
    EXPECT_THAT(Step(run, L"queue"), HasSubstr(L"not asked from a port from 721 to 731"));
}

TEST_F(KspctlCheckTest, AnLprQueueIsAskedForFromThePortsThatJobsComeFrom) {
    const LoopbackPrinter printer = LprPrinter(std::string(1, '\0'));
    ASSERT_TRUE(printer.ready());
    UseQueueOf(printer);
    EXPECT_EQ(RunKspctl({L"test", L"Office"}).code, ExitCode::kDone);
    std::size_t questions = 0;
    for (const standins::PrinterConnection& connection : printer.connections()) {
        if (!connection.received.empty()) {
            ++questions;
            EXPECT_GE(connection.peer_port, kFirstReserved);
            EXPECT_LE(connection.peer_port, kLastReserved);
        }
    }
    EXPECT_EQ(questions, 2u);
}

// The printer reads a byte every 0.6 seconds, and says the first piece within the time-out of 2
// seconds, the second after it: a wait that began anew with the first piece would hear both.
TEST_F(KspctlCheckTest, APrinterThatTellsItsQueueInPiecesIsListenedToForOneTimeout) {
    settings_.SetReplyTimeout(2);
    const LoopbackPrinter printer({.read_size = 1,
                                   .read_pause = 600,
                                   .responder =
                                       [](const std::vector<uint8_t>& received) {
                                           if (received.front() != 3) {
                                               return std::string(received.size() == 1 ? 1 : 0, 0);
                                           }
                                           return std::string(received.size() == 4   ? "early "
                                                              : received.size() == 6 ? "late"
                                                                                     : "");
                                       }},
                                  {"", 515});
    ASSERT_TRUE(printer.ready());
    UseQueueOf(printer);
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(Step(run, L"queue"), StartsWith(L"passed"));
    EXPECT_THAT(Step(run, L"queue"), ::testing::Not(HasSubstr(L"late")));
}

TEST_F(KspctlCheckTest, AnLprQueueIsAskedWhetherItTakesJobsAndForItsState) {
    struct {
        std::string answer;
        ExitCode code;
        std::wstring result;
        std::wstring text;
    } const cases[] = {
        {std::string(1, '\0'), ExitCode::kDone, L"passed", L"takes jobs for the queue \"auto\""},
        {"\x01", ExitCode::kPrinterSilent, L"failed", L"takes no job"},
        {"", ExitCode::kDone, L"attention", L"does not say whether it takes jobs"},
    };
    for (const auto& one : cases) {
        const LoopbackPrinter printer = LprPrinter(one.answer);
        ASSERT_TRUE(printer.ready());
        UseQueueOf(printer);
        const KspctlRun run = RunKspctl({L"test", L"Office"});
        EXPECT_EQ(run.code, one.code) << one.answer;
        EXPECT_THAT(Step(run, L"queue"), StartsWith(one.result));
        EXPECT_THAT(Step(run, L"queue"), HasSubstr(one.text));
        EXPECT_THAT(Step(run, L"queue"), HasSubstr(L"it says: auto is ready"));
        const auto received = printer.received();
        EXPECT_EQ(std::string(received.begin(), received.end()),
                  "\x02"
                  "auto\n\x03"
                  "auto \n");
    }
}

TEST_F(KspctlCheckTest, AQueueIsNotAskedForWithoutAConnection) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kRefuse}, {"", 515});
    ASSERT_TRUE(printer.ready());
    UseQueueOf(printer);
    const KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kPrinterSilent);
    EXPECT_THAT(Step(run, L"queue"), StartsWith(L"skipped"));
}

TEST_F(KspctlCheckTest, ARecordWithoutATcpPortFailsAtOnce) {
    port_.PrinterAddress = L"127.0.0.1";
    type_ = 2;
    for (const auto& [raw, check] : {std::pair(0u, 9102u), {65536u, 9102u}, {9101u, 0u}}) {
        port_.PortNumber = raw;
        port_.CheckPortNo = check;
        const KspctlRun run = RunKspctl({L"test", L"Office"});
        EXPECT_EQ(run.code, ExitCode::kPrinterSilent) << raw;
        EXPECT_THAT(Step(run, L"record"), HasSubstr(L"which is no TCP port"));
    }
}

TEST_F(KspctlCheckTest, AnIdPrintPortOfTheUserModeThatPrintsNothingFailsAtOnce) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    port_.PrinterAddress = printer.wide_address();
    port_.CheckPortNo = 9102;
    port_.SecureUserMode = 1;
    port_.UserIdentityName = L"alice";
    type_ = 2;
    KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kPrinterSilent);
    EXPECT_THAT(Step(run, L"record"), StartsWith(L"failed"));
    EXPECT_THAT(Step(run, L"record"), HasSubstr(L"the monitor prints nothing"));
    EXPECT_EQ(Step(run, L"address"), L"");
    port_.SecureUserMode = 2;
    EXPECT_THAT(Step(RunKspctl({L"test", L"Office"}), L"record"), StartsWith(L"passed"));
    // The ordinary monitor has no user modes.
    type_ = 1;
    port_.SecureUserMode = 1;
    EXPECT_EQ(RunKspctl({L"test", L"Office"}).code, ExitCode::kDone);
}

TEST_F(KspctlCheckTest, AnIdPrintPrinterIsAskedWhetherItIsThere) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    constexpr std::uint16_t kCheckPort = 9102;
    type_ = 2;
    port_.PrinterAddress = printer.wide_address();
    port_.CheckPortNo = kCheckPort;
    KspctlRun run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kPrinterSilent);
    EXPECT_THAT(Step(run, L"reachability"), StartsWith(L"failed"));

    ConfirmationService service(Ready(), {printer.address(), kCheckPort});
    ASSERT_TRUE(service.ready());
    run = RunKspctl({L"test", L"Office"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(Step(run, L"reachability"), StartsWith(L"passed"));
    EXPECT_THAT(service.Requests(1), ::testing::ElementsAre("CONF_REQ"));
}

TEST_F(KspctlCheckTest, JsonHoldsEveryStep) {
    port_.PrinterAddress = L"";
    const KspctlRun run = RunKspctl({L"test", L"--json", L"Office"});
    ASSERT_EQ(run.code, ExitCode::kPrinterSilent);
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_THAT(run.lines[0],
                StartsWith(L"{\"port\":\"Office\",\"steps\":[{\"step\":\"record\",\"result\":"
                           L"\"failed\",\"milliseconds\":"));
    EXPECT_TRUE(run.lines[0].ends_with(L"}],\"arrives\":false}"));
}

}  // namespace
}  // namespace ksp::test
