// A job to a printer that misbehaves. Whatever the printer does, everybody can see that something
// is wrong, and once the printer is well again the job that its spooler did not give up is printed:
// whole, and once.

#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>

#include "tests/idprint/confirmation_service.h"
#include "tests/idprint/header_bytes.h"
#include "tests/monitor/port_call_test.h"
#include "tests/reliability/persistent_job.h"
#include "tests/reliability/troubled_printer.h"

namespace ksp::test {
namespace {

using standins::LpdBehavior;
using standins::LpdStep;
using standins::PrinterBehavior;

constexpr size_t kMuch = size_t{12} * 1024 * 1024;  // more than the system holds on both sides
constexpr size_t kLittle = 50'000;
constexpr int kSmallBuffer = 4096;

enum class Transport : DWORD { kLpr = 0, kXlpr = 1, kRaw = 2, kIdPrintRaw };

// What happens when the trouble before has been seen.
struct Turn {
    // The printer is well where it stands, or becomes another.
    std::optional<TroubledPrinter::Behavior> behavior = std::nullopt;
    // The job cannot go on by itself: the user restarts it.
    bool restarts = false;
};

struct Course {
    TroubledPrinter::Behavior first;
    std::vector<Turn> turns;
    size_t size = kLittle;  // of the document
};

struct Trouble {
    const char* name;
    Course plain;   // of a raw printer
    Course daemon;  // of a line printer daemon, when the job is spooled
    Course stream;  // of one when the job is streamed
};

void PrintTo(const Trouble& trouble, std::ostream* out) {
    *out << trouble.name;
}

LpdBehavior LeavesAt(LpdStep step) {
    LpdBehavior behavior;
    behavior.answers[step].then = standins::LpdAnswer::Then::kClose;
    return behavior;
}

const PrinterBehavior kWell;
const LpdBehavior kWellDaemon;
const Turn kRecovers;
const Turn kReplaced{kWell, true};
const Turn kDaemonReplaced{kWellDaemon, true};

Trouble Refuses() {
    const Course daemon{LpdBehavior{.refuses = true}, {{kWellDaemon}}};
    return {"Refuses",
            {PrinterBehavior{.answer = PrinterBehavior::Answer::kRefuse}, {{kWell}}},
            daemon,
            daemon};
}

Trouble DoesNotAnswer() {
    const PrinterBehavior silent{.answer = PrinterBehavior::Answer::kNeverAnswer};
    const Course daemon{silent, {{kWellDaemon}}};
    return {"DoesNotAnswer", {silent, {kRecovers}}, daemon, daemon};
}

Trouble NeverReads() {
    const Course daemon{
        LpdBehavior{.receive_buffer = kSmallBuffer, .stalls_after = 1000}, {kRecovers}, kMuch};
    return {"NeverReads",
            {PrinterBehavior{.reads = false, .receive_buffer = kSmallBuffer}, {kRecovers}, kMuch},
            daemon,
            daemon};
}

// A daemon does not even get its commands in time.
Trouble ReadsOneByteASecond() {
    const Course daemon{
        LpdBehavior{.read_size = 1, .read_pause = 1000, .receive_buffer = kSmallBuffer},
        {kDaemonReplaced}};
    return {"ReadsOneByteASecond",
            {PrinterBehavior{.read_size = 1, .read_pause = 1000, .receive_buffer = kSmallBuffer},
             {kRecovers},
             kMuch},
            daemon,
            daemon};
}

Trouble ResetsInTheMiddle() {
    const Course daemon{LpdBehavior{.receive_buffer = kSmallBuffer, .resets_after = 5000},
                        {kDaemonReplaced},
                        kMuch};
    return {
        "ResetsInTheMiddle",
        {PrinterBehavior{.receive_buffer = kSmallBuffer, .reset_after = 5000}, {kReplaced}, kMuch},
        daemon,
        daemon};
}

Trouble ClosesEarly() {
    const Course daemon{LeavesAt(LpdStep::kDataCommand), {kDaemonReplaced}, kMuch};
    return {
        "ClosesEarly",
        {PrinterBehavior{.receive_buffer = kSmallBuffer, .close_after = 5000}, {kReplaced}, kMuch},
        daemon,
        daemon};
}

// Quick enough for the commands, each of which comes in time.
Trouble ReadsDataSlowly() {
    const Course daemon{
        LpdBehavior{.read_size = 300, .read_pause = 1000, .receive_buffer = kSmallBuffer},
        {kRecovers},
        kMuch};
    return {"ReadsDataSlowly",
            {PrinterBehavior{.read_size = 300, .read_pause = 1000, .receive_buffer = kSmallBuffer},
             {kRecovers},
             kMuch},
            daemon,
            daemon};
}

Trouble ClosesInTheMiddle() {
    const Course daemon{LpdBehavior{.receive_buffer = kSmallBuffer, .closes_after = 5000},
                        {kDaemonReplaced},
                        kMuch};
    return {"ClosesInTheMiddle",
            {PrinterBehavior{.receive_buffer = kSmallBuffer, .close_after = 500'000},
             {kReplaced},
             kMuch},
            daemon,
            daemon};
}

// The power fails in the middle of the job, and comes back after a while.
Trouble ComesBackAfterAWhile() {
    const Course daemon{LpdBehavior{.receive_buffer = kSmallBuffer, .resets_after = 5000},
                        {{LpdBehavior{.refuses = true}, true}, {kWellDaemon}},
                        kMuch};
    return {"ComesBackAfterAWhile",
            {PrinterBehavior{.receive_buffer = kSmallBuffer, .reset_after = 5000},
             {{PrinterBehavior{.answer = PrinterBehavior::Answer::kRefuse}, true}, {kWell}},
             kMuch},
            daemon,
            daemon};
}

class PrinterTroubleTest : public PortCallTest, public ::testing::WithParamInterface<Trouble> {
  protected:
    static constexpr int kPatience = 240;  // seconds; beyond this something hangs

    // One port with its printer and its job.
    struct Line {
        Line(Transport kind, std::uint16_t port, std::string address = {})
            : transport(kind), printer(port, std::move(address)) {}

        Transport transport;
        TroubledPrinter printer;
        const Course* course = nullptr;
        size_t turn = 0;  // the next one
        size_t refusals_before = 0;
        bool was_shown = false;
        unsigned restarts = 0;
        Bytes document;  // as it is to arrive
        std::unique_ptr<PersistentJob> job;
    };

    void TearDown() override {
        for (const auto& line : lines_)
            line->job.reset();
        Unload();
        lines_.clear();
        checks_.reset();
        PortCallTest::TearDown();
    }

    static const Course& CourseOf(Transport transport) {
        const Trouble& trouble = GetParam();
        return transport == Transport::kLpr    ? trouble.daemon
               : transport == Transport::kXlpr ? trouble.stream
                                               : trouble.plain;
    }
    void AddLine(Transport transport, std::uint16_t port, const std::string& address = {}) {
        Line& line = *lines_.emplace_back(std::make_unique<Line>(transport, port, address));
        line.course = &CourseOf(transport);
        ASSERT_TRUE(line.printer.Become(line.course->first));
        const bool is_raw = transport == Transport::kRaw || transport == Transport::kIdPrintRaw;
        AddPortKey({.name = NameOf(line),
                    .PrinterAddress = line.printer.wide_address(),
                    .ProtocolID = static_cast<DWORD>(is_raw ? Transport::kRaw : transport),
                    .QueueName = L"queue"});
    }
    static std::wstring NameOf(const Line& line) {
        return L"Port " + std::to_wstring(static_cast<DWORD>(line.transport));
    }
    void StartJob(Line& line) {
        const auto job = QueueJob(NameOf(line), NameOf(line));
        // The first write of an ID-print job also carries the header, and is to be taken at once.
        constexpr size_t kChunk = size_t{32} * 1024;
        line.document = Document(line.course->size, static_cast<unsigned>(line.transport));
        const Bytes document = line.document;
        if (line.transport == Transport::kIdPrintRaw) {
            const std::string header = HeaderBytes();
            line.document.insert(line.document.begin(), header.begin(), header.end());
        }
        line.job = std::make_unique<PersistentJob>(host::JobRunner(table(), monitor()), spooler(),
                                                   job, document, kChunk);
    }

    // What the queue shows of the present trouble. A job that is being spooled takes every write
    // and goes into error at its end, or its printer does; the ID-print monitor does not ask its
    // printers how they are.
    static bool IsShown(Line& line, const Turn& turn) {
        const bool printer = line.job->IsPrinterInTrouble();
        const bool job = line.job->IsJobInError();
        line.was_shown = line.was_shown || printer || job;
        if (line.transport == Transport::kLpr)
            return turn.restarts ? job : printer;
        return line.job->refusals() >= line.refusals_before + 2 &&
               (printer || line.transport == Transport::kIdPrintRaw || line.turn > 0);
    }
    void PlayUser(Line& line) {
        if (line.job->restarting() || line.turn == line.course->turns.size())
            return;
        const Turn& turn = line.course->turns[line.turn];
        if (!IsShown(line, turn))
            return;
        if (turn.behavior)
            EXPECT_TRUE(line.printer.Become(*turn.behavior));
        else
            line.printer.Recover();
        line.refusals_before = line.job->refusals();
        ++line.turn;
        if (turn.restarts) {
            ++line.restarts;
            line.job->Restart();
        }
    }
    void PrintAll() {
        for (const auto& line : lines_)
            StartJob(*line);
        size_t done = 0;
        for (int round = 0; round < kPatience * 20 && done < lines_.size(); ++round) {
            Sleep(50);
            done = 0;
            for (const auto& line : lines_) {
                PlayUser(*line);
                done += line->job->done() ? 1u : 0u;
            }
        }
        for (const auto& line : lines_) {
            SCOPED_TRACE(testing::PrintToString(NameOf(*line)));
            ExpectPrintedOnce(*line);
        }
    }
    static void ExpectPrintedOnce(Line& line) {
        ASSERT_TRUE(line.job->done()) << "after " << line.turn << " turns";
        EXPECT_EQ(line.turn, line.course->turns.size()) << "the trouble was never seen";
        EXPECT_TRUE(line.job->outcome().printed());
        EXPECT_EQ(line.job->attempts(), 1 + line.restarts);
        EXPECT_EQ(line.was_shown, line.transport != Transport::kIdPrintRaw);
        EXPECT_EQ(line.printer.Violations(), "");
        size_t whole = 0;
        size_t with_data = 0;
        for (const Bytes& received : line.printer.Documents(1)) {
            ASSERT_LE(received.size(), line.document.size());
            EXPECT_TRUE(std::equal(received.begin(), received.end(), line.document.begin()))
                << "what came of an attempt is its beginning";
            whole += received.size() == line.document.size() ? 1u : 0u;
            with_data += received.empty() ? 0u : 1u;
        }
        EXPECT_EQ(whole, 1u);
        EXPECT_LE(with_data, line.job->attempts()) << "an attempt sends its data once";
    }

    std::vector<std::unique_ptr<Line>> lines_;
    std::optional<ConfirmationService> checks_;
};

INSTANTIATE_TEST_SUITE_P(, PrinterTroubleTest,
                         ::testing::Values(Refuses(), DoesNotAnswer(), NeverReads(),
                                           ReadsOneByteASecond(), ReadsDataSlowly(),
                                           ResetsInTheMiddle(), ClosesEarly(), ClosesInTheMiddle(),
                                           ComesBackAfterAWhile()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PrinterTroubleTest, OrdinaryPorts) {
    SetSetting(L"LPRDirectory", directory());
    SetSetting(L"WaitServerReplyTimeout", 3);
    ASSERT_NO_FATAL_FAILURE(AddLine(Transport::kRaw, standins::LoopbackPrinter::kRawPort));
    ASSERT_NO_FATAL_FAILURE(AddLine(Transport::kLpr, standins::LpdPrinter::kPort));
    ASSERT_NO_FATAL_FAILURE(AddLine(Transport::kXlpr, standins::LpdPrinter::kPort));
    // Megabytes in small pieces: a line on the disk for each call would take longer than the rest.
    SetSetting(L"LogLevel", static_cast<DWORD>(LineLevel::kError));
    ASSERT_TRUE(Start());
    PrintAll();
}

// Its printers are not asked how they are: the trouble shows in the writes that are refused.
TEST_P(PrinterTroubleTest, IdPrintPort) {
    constexpr WORD kSecurePort = 9200;
    constexpr WORD kCheckPort = 9101;
    SetMonitorType(2);
    ASSERT_NO_FATAL_FAILURE(AddLine(Transport::kIdPrintRaw, kSecurePort));
    const std::wstring path = PortPath(NameOf(*lines_[0]));
    store().SetDword(root(), path, L"SecureRawPortNo", kSecurePort);
    store().SetDword(root(), path, L"CheckPortNo", kCheckPort);
    checks_.emplace(Ready(), standins::Endpoint{lines_[0]->printer.address(), kCheckPort});
    ASSERT_TRUE(checks_->ready());
    // Megabytes in small pieces: a line on the disk for each call would take longer than the rest.
    SetSetting(L"LogLevel", static_cast<DWORD>(LineLevel::kError));
    ASSERT_TRUE(Start());
    PrintAll();
}

}  // namespace
}  // namespace ksp::test
