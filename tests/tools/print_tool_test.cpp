#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/print/console.h"
#include "tools/print/fold.h"
#include "tools/print/monitor_log.h"
#include "tools/print/monitor_setup.h"
#include "tools/print/options.h"
#include "tools/print/printer_address.h"
#include "tools/print/printer_move.h"
#include "tools/print/report.h"
#include "tools/print/sample_document.h"
#include "tools/print/sha256.h"
#include "tools/print/spooler_text.h"

namespace ksp::print {
namespace {

using ::testing::ElementsAre;

std::span<const uint8_t> Bytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// The examples of FIPS 180-2, appendix B.
TEST(Sha256Test, DigestsTheStandardsExamples) {
    Sha256 one_block;
    one_block.Add(Bytes("abc"));
    EXPECT_EQ(one_block.Finish(),
              L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    Sha256 two_pieces;
    two_pieces.Add(Bytes("abcdbcdecdefdefgefghfghighij"));
    two_pieces.Add(Bytes("hijkijkljklmklmnlmnomnopnopq"));
    EXPECT_EQ(two_pieces.Finish(),
              L"248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(Sha256Test, HasNoDigestAfterItsEnd) {
    Sha256 sha256;
    EXPECT_FALSE(sha256.Finish().empty());
    EXPECT_TRUE(sha256.Finish().empty());
}

TEST(SamplePageTest, IsTheSameEveryTimeAndSomeHundredKilobytes) {
    const std::string page = SamplePage();
    EXPECT_EQ(page, SamplePage());
    EXPECT_TRUE(page.starts_with("%!PS\n"));
    EXPECT_TRUE(page.ends_with("showpage\n"));
    EXPECT_GT(page.size(), 300u * 1024);
    EXPECT_LT(page.size(), 500u * 1024);
}

JobReport PrintedJob() {
    JobReport job;
    job.document_bytes = 3;
    job.document_sha256 = L"abc";
    job.delivery = Delivery{3, L"abc", 1, {}};
    return job;
}

TEST(VerdictTest, SucceedsWhenTheSameArrived) {
    EXPECT_TRUE(ArrivedUnchanged(PrintedJob()));
    EXPECT_TRUE(Succeeded(PrintedJob()));
}

TEST(VerdictTest, FailsWhenAByteDiffers) {
    JobReport job = PrintedJob();
    job.delivery->sha256 = L"abd";
    EXPECT_FALSE(ArrivedUnchanged(job));
    EXPECT_FALSE(Succeeded(job));
}

TEST(VerdictTest, FailsWhenTheSizeDiffers) {
    JobReport job = PrintedJob();
    job.delivery->bytes = 4;
    EXPECT_FALSE(Succeeded(job));
}

TEST(VerdictTest, FailsWhenNothingWasDigested) {
    JobReport job = PrintedJob();
    job.document_sha256.clear();
    job.delivery->sha256.clear();
    EXPECT_FALSE(Succeeded(job));
}

TEST(VerdictTest, FailsWhenTheJobFailedAlthoughAllArrived) {
    JobReport job = PrintedJob();
    job.outcome.failed_step = host::JobStep::kEndDocPort;
    EXPECT_FALSE(Succeeded(job));
}

TEST(VerdictTest, FailsWhenTheDocumentWasGivenUp) {
    JobReport job = PrintedJob();
    job.given_up = L"the document could not be read to its end";
    EXPECT_FALSE(Succeeded(job));
}

TEST(VerdictTest, FailsWhenTheMonitorClaimsMoreThanItWasOffered) {
    JobReport job = PrintedJob();
    job.outcome.excess_bytes = 1;
    EXPECT_FALSE(Succeeded(job));
}

TEST(VerdictTest, FailsWhenAPrinterThatMovedWasNotFollowed) {
    JobReport job = PrintedJob();
    job.move = MoveTo(L"127.1.2.3");
    job.move->recorded = job.move->from;
    EXPECT_FALSE(Succeeded(job));
    job.move->recorded = job.move->to;
    EXPECT_TRUE(Succeeded(job));
}

TEST(VerdictTest, TakesARealPrintersWord) {
    JobReport job = PrintedJob();
    job.delivery.reset();
    EXPECT_FALSE(ArrivedUnchanged(job));
    EXPECT_TRUE(Succeeded(job));
}

TEST(OptionsTest, HasDefaults) {
    Options options;
    EXPECT_EQ(ParseOptions({}, &options), L"");
    ASSERT_NE(options.protocol, nullptr);
    EXPECT_EQ(options.protocol->name, L"raw");
    EXPECT_EQ(options.protocol->id, 2u);
    EXPECT_EQ(options.protocol->port, 9100u);
    EXPECT_TRUE(options.plays_printer());
    EXPECT_TRUE(options.file.empty());
    EXPECT_EQ(options.patience, 20u);
    EXPECT_FALSE(options.id_print);
    EXPECT_FALSE(options.move);
    EXPECT_FALSE(options.help);
}

TEST(OptionsTest, TakesEverything) {
    Options options;
    const std::vector<std::wstring> arguments = {L"--printer", L"printer.example", L"--protocol",
                                                 L"raw",       L"--patience",      L"3",
                                                 L"--",        L"-file.ps"};
    EXPECT_EQ(ParseOptions(arguments, &options), L"");
    EXPECT_EQ(options.printer, L"printer.example");
    EXPECT_FALSE(options.plays_printer());
    EXPECT_EQ(options.patience, 3u);
    EXPECT_EQ(options.file, L"-file.ps");
}

TEST(OptionsTest, MovesThePrinterThatItPlays) {
    Options options;
    const std::vector<std::wstring> arguments = {L"--move", L"--id-print"};
    EXPECT_EQ(ParseOptions(arguments, &options), L"");
    EXPECT_TRUE(options.move);
    EXPECT_TRUE(options.id_print);
}

std::wstring Problem(const std::vector<std::wstring>& arguments) {
    Options options;
    return ParseOptions(arguments, &options);
}

TEST(OptionsTest, RefusesWhatItCannotUse) {
    EXPECT_EQ(Problem({L"--colour"}), L"unknown option --colour");
    EXPECT_EQ(Problem({L"--protocol"}), L"--protocol needs a value");
    EXPECT_THAT(Problem({L"--protocol", L"pigeon"}),
                ::testing::StartsWith(L"the protocol \"pigeon\" is not known; known: raw"));
    EXPECT_EQ(Problem({L""}), L"the name of the file is empty");
    EXPECT_EQ(Problem({L"a", L"b"}), L"one file at a time: \"a\" or \"b\"");
    for (const wchar_t* patience : {L"", L"0", L"-1", L"3601", L"99999999999", L"1s"}) {
        EXPECT_NE(Problem({L"--patience", patience}), L"") << ::testing::PrintToString(patience);
    }
    EXPECT_EQ(Problem({L"--patience", L"3600"}), L"");
    EXPECT_EQ(Problem({L"--printer", L"127.0.0.1", L"--move"}),
              L"--move moves the printer that the program plays and goes without --printer");
}

TEST(OptionsTest, TakesSettingsAndNetworks) {
    Options options;
    const std::vector<std::wstring> arguments = {
        L"--setting", L"MaxFileSize=4294967295", L"--setting", L"WaitServerReplyTimeout=0",
        L"--subnet",  L"10.1.0.0;255.255.0.0",   L"--setting", L"MaxFileSize=7",
        L"--subnet",  L"10.2.0.0;255.255.255.0"};
    EXPECT_EQ(ParseOptions(arguments, &options), L"");
    EXPECT_THAT(options.settings.numbers, ElementsAre(std::pair(L"MaxFileSize", 7u),
                                                      std::pair(L"WaitServerReplyTimeout", 0u)));
    EXPECT_THAT(options.settings.networks,
                ElementsAre(L"10.1.0.0;255.255.0.0", L"10.2.0.0;255.255.255.0"));
}

TEST(OptionsTest, RefusesSettingsAndNetworksThatAreNone) {
    EXPECT_THAT(Problem({L"--setting", L"LogLevel=1"}),
                ::testing::StartsWith(L"\"LogLevel\" is no setting of a job; known: Wait"));
    for (const wchar_t* value : {L"", L"=", L"=-1", L"=1s", L"=4294967296", L"=99999999999"}) {
        EXPECT_THAT(Problem({L"--setting", std::wstring(L"MaxFileSize") + value}),
                    ::testing::StartsWith(L"MaxFileSize is a number"))
            << ::testing::PrintToString(value);
    }
    for (const wchar_t* network : {L"", L";", L"10.1.0.0", L"10.1.0.0;", L"10.1.0.0;16",
                                   L"10.1.0.0;255.255.0.0;", L"host;255.255.0.0"}) {
        EXPECT_THAT(Problem({L"--subnet", network}), ::testing::HasSubstr(L"is no network"))
            << ::testing::PrintToString(network);
    }
}

// What the monitor finds in its registry.
class MonitorSetupTest : public ::testing::Test {
  protected:
    std::optional<DWORD> Number(const std::wstring& name) {
        return registry_.GetDword(HKEY_LOCAL_MACHINE, kSoftware, name);
    }
    std::optional<std::wstring> Network(const std::wstring& name) {
        return registry_.GetText(HKEY_LOCAL_MACHINE, kSoftware + std::wstring(L"\\subnet"), name);
    }

    static constexpr wchar_t kSoftware[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
    host::MemoryRegistry registry_;
};

TEST_F(MonitorSetupTest, HasShortTimeOutsAndNoNetworksUnlessTheSettingsSay) {
    Configure({}, &registry_);
    EXPECT_EQ(Number(L"WaitServerReplyTimeout"), 5u);
    EXPECT_EQ(Number(L"WaitStatusReplyTimeout"), 5u);
    EXPECT_EQ(Number(L"WaitPrinterValueTimeout"), 5u);
    EXPECT_EQ(Number(L"MaxFileSize"), std::nullopt);
    EXPECT_EQ(Number(L"SubnetSegment"), 0u);
}

TEST_F(MonitorSetupTest, HasTheSettings) {
    MonitorSetup setup;
    setup.settings.numbers = {{L"WaitServerReplyTimeout", 60}, {L"MaxFileSize", 0}};
    setup.settings.networks = {L"10.1.0.0;255.255.0.0", L"10.2.0.0;255.255.0.0"};
    Configure(setup, &registry_);
    EXPECT_EQ(Number(L"WaitServerReplyTimeout"), 60u);
    EXPECT_EQ(Number(L"WaitStatusReplyTimeout"), 5u);
    EXPECT_EQ(Number(L"MaxFileSize"), 0u);
    EXPECT_EQ(Number(L"SubnetSegment"), 1u);
    EXPECT_EQ(Network(L"subnet0"), L"10.1.0.0;255.255.0.0");
    EXPECT_EQ(Network(L"subnet1"), L"10.2.0.0;255.255.0.0");
}

TEST(PrinterAddressTest, TellsAddressesFromNames) {
    EXPECT_TRUE(IsDottedAddress(L"127.0.0.1"));
    EXPECT_TRUE(IsDottedAddress(L"255.255.255.255"));
    for (const wchar_t* text : {L"", L"1.2.3", L"1.2.3.4.5", L"1.2.3.256", L"1..2.3", L"1.2.3.",
                                L"1.2.3.a", L"1.2.3.0004"}) {
        EXPECT_FALSE(IsDottedAddress(text)) << ::testing::PrintToString(text);
    }
}

TEST(PrinterAddressTest, RefusesWhatIsNeither) {
    EXPECT_EQ(CheckPrinterAddress(L"127.0.0.1"), L"");
    EXPECT_EQ(CheckPrinterAddress(L"printer-3.example"), L"");
    EXPECT_THAT(CheckPrinterAddress(L"127.0.0.1:9100"), ::testing::HasSubstr(L"names a port"));
    for (const std::wstring& text :
         {std::wstring(), std::wstring(L"127.0.0.256"), std::wstring(L"a b"), std::wstring(L"-a"),
          std::wstring(L".a"), std::wstring(254, L'a')}) {
        EXPECT_NE(CheckPrinterAddress(text), L"") << ::testing::PrintToString(text);
    }
}

TEST(PrinterMoveTest, StaysInItsNetwork) {
    EXPECT_EQ(MoveTo(L"127.1.2.3").to, L"127.1.2.3");
    EXPECT_EQ(MoveTo(L"127.1.2.3").from, L"127.1.2.4");
    EXPECT_EQ(MoveTo(L"127.1.2.254").from, L"127.1.2.1");
    EXPECT_EQ(NetworkAround(L"127.1.2.254"), L"127.1.2.0;255.255.255.0");
}

std::wstring Itself(const std::wstring& line) {
    return line;
}

TEST(FoldTest, KeepsWhatComesOnceOrTwice) {
    const std::vector<std::wstring> lines = {L"a", L"b", L"a", L"b", L"c", L"c"};
    EXPECT_EQ(FoldRepeats(lines, Itself), lines);
    EXPECT_TRUE(FoldRepeats({}, Itself).empty());
}

TEST(FoldTest, FoldsALine) {
    EXPECT_THAT(FoldRepeats({L"a", L"b", L"b", L"b", L"c"}, Itself),
                ElementsAre(L"a", L"b", L"    ... this line 2 more times", L"c"));
}

TEST(FoldTest, FoldsAGroupThatEndsWhereTheRepetitionEnds) {
    EXPECT_THAT(FoldRepeats({L"z", L"a", L"z", L"a", L"z", L"a", L"z", L"x"}, Itself),
                ElementsAre(L"z", L"a", L"z", L"    ... these 2 lines 2 more times", L"x"));
}

TEST(FoldTest, ComparesLogLinesWithoutTimeAndNumbers) {
    EXPECT_EQ(LogLineKey(L"[07/14/25: 09:03:27 PID(1) TID(2)] TRACE    written:4096"),
              LogLineKey(L"[07/14/25: 09:03:28 PID(1) TID(3)] TRACE    written:36"));
    EXPECT_NE(LogLineKey(L"[07/14/25: 09:03:27 PID(1) TID(2)] TRACE    written:4096"),
              LogLineKey(L"[07/14/25: 09:03:27 PID(1) TID(2)] ERROR    written:4096"));
    EXPECT_NE(LogLineKey(L"no prefix"), LogLineKey(L"no suffix"));
}

TEST(SpoolerTextTest, NamesTheBitsOfAStatus) {
    EXPECT_EQ(DescribePrinterStatus(0), L"0x00000000  ready");
    EXPECT_EQ(DescribePrinterStatus(PRINTER_STATUS_SERVER_UNKNOWN), L"0x00800000  server unknown");
    EXPECT_EQ(PrinterStatusWords(PRINTER_STATUS_DOOR_OPEN | PRINTER_STATUS_TONER_LOW),
              L"toner low, door open");
    EXPECT_EQ(PrinterStatusWords(PRINTER_STATUS_ERROR | 0x40000000),
              L"error, unnamed bits 0x40000000");
}

TEST(SpoolerTextTest, DescribesCalls) {
    WinspoolCall call = {};
    call.function = WinspoolSetPrinter;
    call.command = PRINTER_CONTROL_SET_STATUS;
    call.status = PRINTER_STATUS_PAPER_OUT;
    call.error = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(SetsPrinterStatus(call));
    EXPECT_EQ(DescribeCall(call), L"SetPrinter    status 0x00000010  paper out -> error 5");
    call = {};
    call.function = WinspoolSetJob;
    call.job_id = 7;
    call.command = JOB_CONTROL_SENT_TO_PRINTER;
    call.result = TRUE;
    EXPECT_FALSE(SetsPrinterStatus(call));
    EXPECT_EQ(DescribeCall(call), L"SetJob        job 7, sent to the printer");
}

TEST(ConsoleTest, WritesNumbersForReaders) {
    EXPECT_EQ(Grouped(0), L"0");
    EXPECT_EQ(Grouped(999), L"999");
    EXPECT_EQ(Grouped(1000), L"1,000");
    EXPECT_EQ(Grouped(1234567), L"1,234,567");
    EXPECT_EQ(Counted(1, L"byte"), L"1 byte");
    EXPECT_EQ(Counted(2, L"byte"), L"2 bytes");
    EXPECT_EQ(Hex(0x80000A), L"0x0080000A");
    EXPECT_EQ(Seconds(1.5), L"1.50 s");
    EXPECT_EQ(PadLeft(L"ab", 1), L"ab");
    EXPECT_EQ(PadRight(L"ab", 3), L"ab ");
}

}  // namespace
}  // namespace ksp::print
