// Deaths in the middle of a job.

#include "tests/idprint/confirmation_service.h"
#include "tests/idprint/header_bytes.h"
#include "tests/reliability/death_test.h"
#include "tests/reliability/half_document.h"

namespace ksp::test {
namespace {

TEST_F(DeathTest, InARawJob) {
    PrepareWorld();
    const Bytes half = HalfADocument();
    ASSERT_NO_FATAL_FAILURE(KillBehind(half));
    Resurrect();
    EXPECT_EQ(raw_->connections().size(), 2u) << "of the former life nothing more is delivered";
}

TEST_F(DeathTest, InAStreamedJob) {
    PrepareWorld();
    const Bytes half = HalfADocument();
    const auto has_begun = [this] {
        const auto connections = lpd_->connections();
        return connections.size() == 1 && !connections[0].data.empty();
    };
    ASSERT_EQ(KillAt(L"half a streamed job", 0, [&] { return IsThere() && has_begun(); }),
              Fate::kKilled);
    ASSERT_TRUE(lpd_->WaitForEndings(1)) << "the printer learns that the job has ended";
    const auto connection = lpd_->connections()[0];
    EXPECT_FALSE(connection.has_whole_data);
    ASSERT_LE(connection.data.size(), half.size());
    EXPECT_TRUE(SameBytes(
        Bytes(half.begin(), half.begin() + static_cast<ptrdiff_t>(connection.data.size())),
        Bytes(connection.data.begin(), connection.data.end())));
    Resurrect();
    EXPECT_EQ(lpd_->connections().size(), 3u) << "of the former life nothing more is delivered";
}

// The header was sent.
TEST_F(DeathTest, InAnIdPrintJob) {
    constexpr DWORD kIdPrintMonitor = 2;
    constexpr WORD kCheckPort = 9101;
    PrepareWorld(kIdPrintMonitor);
    hive_->SetPortValue(L"raw port", L"SecureRawPortNo", standins::LoopbackPrinter::kRawPort);
    hive_->SetPortValue(L"raw port", L"CheckPortNo", kCheckPort);
    const std::wstring address = raw_->wide_address();
    const ConfirmationService checks(
        Ready(), standins::Endpoint{std::string(address.begin(), address.end()), kCheckPort});
    ASSERT_TRUE(checks.ready());
    const std::string header = HeaderBytes();
    const auto with_header = [&header](const Bytes& data) {
        Bytes job(header.begin(), header.end());
        job.insert(job.end(), data.begin(), data.end());
        return job;
    };
    const Bytes half = with_header(HalfADocument());
    ASSERT_NO_FATAL_FAILURE(KillBehind(half));

    ASSERT_TRUE(HasWholeLines(log_path()));
    ASSERT_TRUE(library().Load(MonitorLibraryPath()));
    ASSERT_TRUE(library().Initialize(*hive_));
    ExpectStoredPortsAreListed();
    const Bytes document = Document(50'000);
    EXPECT_TRUE(Print(QueueJob(L"raw port"), document).printed());
    ASSERT_TRUE(raw_->WaitForEndings(2));
    EXPECT_TRUE(SameBytes(with_header(document), raw_->connections().back().received));
}

// Job numbers begin anew with every life, so the next job comes to the file that was left.
TEST_F(DeathTest, InASpooledJob) {
    PrepareWorld();
    ASSERT_EQ(KillAt(L"half a spooled job"), Fate::kKilled);
    EXPECT_EQ(std::filesystem::file_size(directory() + L"\\ksp000"), 300'000u);
    Resurrect();
    EXPECT_EQ(lpd_->connections().size(), 2u) << "of the former life nothing is delivered";
    EXPECT_EQ(std::filesystem::file_size(directory() + L"\\ksp000"), 50'000u);
}

TEST_F(DeathTest, InTheDeliveryOfASpooledJob) {
    standins::LpdBehavior slow;
    slow.answers[standins::LpdStep::kDataCommand].is_held = true;
    lpd_.emplace(slow);
    ASSERT_TRUE(lpd_->ready());
    PrepareWorld();
    ASSERT_EQ(KillAt(L"delivery", 0,
                     [this] {
                         return lpd_->connections().size() == 1 &&
                                lpd_->connections()[0].commands.size() == 3;
                     }),
              Fate::kKilled);
    ASSERT_TRUE(std::filesystem::exists(directory() + L"\\ksp000"));
    lpd_->ReleaseAnswers();
    ASSERT_TRUE(lpd_->WaitForEndings(1));
    EXPECT_FALSE(lpd_->connections()[0].has_whole_data);
    Resurrect();
}

}  // namespace
}  // namespace ksp::test
