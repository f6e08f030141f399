// What printers answer over their connections.

#include <array>
#include <optional>

#include "tests/fuzz/fuzz_test.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using standins::LpdAnswer;
using standins::LpdPrinter;
using standins::LpdStep;

const std::vector<uint8_t> kDocument = {'d', 'o', 'c', 'u', 'm', 'e', 'n', 't'};

// An answer for each step of a job: how many bytes, the bytes, and what becomes of the connection.
constexpr std::array kSteps = {LpdStep::kReceiveJob, LpdStep::kControlCommand,
                               LpdStep::kControlFile, LpdStep::kDataCommand, LpdStep::kDataFile};

// The step behind which a job counts as taken.
constexpr std::size_t kTaken = 3;

std::vector<LpdAnswer> ReadAnswers(std::string_view input) {
    const auto take = [&input](std::size_t count) {
        const std::string taken(input.substr(0, count));
        input.remove_prefix(taken.size());
        return taken;
    };
    std::vector<LpdAnswer> answers;
    for (std::size_t step = 0; step < kSteps.size(); ++step) {
        const std::string size = take(1);
        // At least one byte: a printer that says nothing is a matter of time-outs.
        LpdAnswer answer{
            .bytes = take(1 + (size.empty() ? 0U : static_cast<std::uint8_t>(size[0]) % 4U))};
        const std::string then = take(1);
        if (answer.bytes.empty()) {
            answer.bytes = std::string(1, '\0');
        }
        const auto behavior = then.empty() ? 0 : static_cast<std::uint8_t>(then[0]);
        answer.then = behavior == 1   ? LpdAnswer::Then::kClose
                      : behavior == 2 ? LpdAnswer::Then::kReset
                                      : LpdAnswer::Then::kGoOn;
        answers.push_back(answer);
    }
    return answers;
}

std::string AnswersForm(Random& random) {
    std::string form;
    for (std::size_t step = 0; step < kSteps.size(); ++step) {
        form += std::string(3, '\0');
        if (random.OneIn(6)) {
            form.back() = static_cast<char>(random.Below(3));
        }
    }
    return form;
}

// LPR (0) and XLPR (1).
class LprFuzz : public FuzzTest, public ::testing::WithParamInterface<DWORD> {
  protected:
    void SetUp() override {
        FuzzTest::SetUp();
        SetSetting(L"LPRDirectory", directory());
        SetSetting(L"WaitServerReplyTimeout", 1);
        daemon_.emplace();
        ASSERT_TRUE(daemon_->ready());
        ASSERT_TRUE(Start());
    }
    void TearDown() override {
        Unload();
        daemon_.reset();
        FuzzTest::TearDown();
    }

    void TryAnswers(const std::string& input) {
        ForgetCalls();
        const std::vector<LpdAnswer> answers = ReadAnswers(input);
        std::map<LpdStep, LpdAnswer> behavior;
        std::string stream;
        bool stays = true;
        for (std::size_t step = 0; step < kSteps.size(); ++step) {
            behavior[kSteps[step]] = answers[step];
            if (step <= kTaken && stays) {
                stream += answers[step].bytes;
                stays = answers[step].then == LpdAnswer::Then::kGoOn;
            }
        }
        // The job is taken once everything up to the command for its data is acknowledged, be it
        // ahead of time. A daemon that hangs up then has no way left to say so: the data's own
        // acknowledgement only ends the job.
        const bool is_taken = stream.starts_with(std::string(kTaken + 1, '\0'));
        daemon_->SetAnswers(std::move(behavior));
        // A new port looks at its job at once.
        const std::wstring string = L"x," + std::to_wstring(GetParam()) + L"," +
                                    daemon_->wide_address() + L",Port,,,,1,0,0,0,";
        ASSERT_EQ(Call(L"AddPort", WideBytes(string)).code, DWORD{ERROR_SUCCESS});
        const std::size_t before = daemon_->connections().size();
        const host::SpoolerJob job = QueueJob(L"Port");
        bool is_marked = false;
        // Somebody deletes the job as soon as it is seen to be in error.
        spooler().SetHook(WinspoolGetJob, [&] {
            const DWORD status = spooler().JobStatus(L"Printer", 1).value_or(0);
            if ((status & JOB_STATUS_ERROR) != 0) {
                is_marked = true;
                spooler().SetJobStatus(L"Printer", 1, status | JOB_STATUS_DELETED);
            }
        });
        const host::JobOutcome outcome = Print(job, kDocument, {.max_refusals = 2});
        spooler().SetHook(WinspoolGetJob, {});
        ASSERT_TRUE(daemon_->WaitForEndings(before + 1));
        bool arrived = false;
        const auto connections = daemon_->connections();
        for (std::size_t index = before; index < connections.size(); ++index) {
            EXPECT_EQ(connections[index].violation, "");
            arrived = arrived || connections[index].data == std::string("document");
        }
        if (!is_taken) {
            EXPECT_TRUE(is_marked || !outcome.printed()) << "lost, and nobody knows";
        } else if (stays) {
            EXPECT_TRUE(arrived);
            EXPECT_FALSE(is_marked);
            EXPECT_TRUE(outcome.printed());
        }
        outcomes_.Count(is_taken && stays);
        DeletePort(L"Port");
    }

    std::optional<LpdPrinter> daemon_;
};
INSTANTIATE_TEST_SUITE_P(Protocol, LprFuzz, ::testing::Values(0, 1));

TEST_P(LprFuzz, Acknowledgements) {
    Fuzz(
        Generator::kLprAcknowledgements, 12,
        [](Random& random) {
            return random.OneIn(2) ? AnswersForm(random)
                                   : MutatedBytes(random, AnswersForm(random));
        },
        [this](const std::string& input) { TryAnswers(input); });
}

class ConfirmationFuzz : public FuzzTest {
  protected:
    static constexpr WORD kCheckPort = 9101;

    // The first byte says whether the printer goes on behind its reply; a short reply ends the
    // connection, for else it would be waited for.
    void TryReply(const std::string& input) {
        ForgetCalls();
        ASSERT_FALSE(input.empty());
        const std::string reply = input.substr(1);
        static const std::string kReady("\x64\0\0\0OK", 6);
        const bool is_ready = reply.starts_with(kReady);
        service_->SetBehavior({.reply = {{reply}}, .closes = input[0] != 0 || !is_ready});
        const host::JobOutcome outcome = Print(QueueJob(L"Port"), kDocument, {.max_refusals = 2});
        outcomes_.Count(outcome.failed_step == host::JobStep::kNone);
        EXPECT_EQ(outcome.failed_step,
                  is_ready ? host::JobStep::kNone : host::JobStep::kStartDocPort);
    }

    std::optional<ConfirmationService> service_;
};

TEST_F(ConfirmationFuzz, Replies) {
    standins::LoopbackPrinter printer({}, {"", 9200});
    ASSERT_TRUE(printer.ready());
    service_.emplace(Ready(), standins::Endpoint{printer.address(), kCheckPort});
    ASSERT_TRUE(service_->ready());
    UseMonitor(2);
    AddPortKey({.name = L"Port", .PrinterAddress = printer.wide_address()});
    store().SetDword(root(), PortPath(L"Port"), L"SecureRawPortNo", 9200);
    store().SetDword(root(), PortPath(L"Port"), L"CheckPortNo", kCheckPort);
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kConfirmations, 25,
        [](Random& random) {
            const std::string closes(1, static_cast<char>(random.Below(2)));
            return closes + MutatedBytes(random, std::string("\x64\0\0\0OK", 6),
                                         {"OK", "CONF_REQ", std::string("\x64\0\0\0", 4)});
        },
        [this](const std::string& input) { TryReply(input); });
    Unload();
    service_.reset();
}

}  // namespace
}  // namespace ksp::test
