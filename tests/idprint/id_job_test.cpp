// ID-print jobs, whole on the wire: header and data over each transport.

#include "tests/idprint/id_print_test.h"

namespace ksp::test {
namespace {

using standins::LpdConnection;
using standins::PrinterBehavior;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class IdJobTest : public IdPrintTest {
  protected:
    // A job with data of which every byte matters.
    static std::string Data(size_t size) {
        const Bytes bytes = Document(size);
        return {bytes.begin(), bytes.end()};
    }
    // The daemon's only connection, over.
    LpdConnection Delivered() {
        EXPECT_TRUE(lpd_->WaitForEndings(1));
        const auto connections = lpd_->connections();
        EXPECT_EQ(connections.size(), 1U);
        return connections.empty() ? LpdConnection{} : connections.front();
    }
    void StartLpdJob(Protocol protocol) {
        StartChecks();
        StartLpd();
        AddIdPort(protocol);
        ASSERT_TRUE(Start());
        QueueJob(L"Port");
    }
    // Changes the job at the nth GetJob call from now on.
    void ChangeJobAt(size_t nth, const JOB_INFO_2W& job) {
        get_jobs_ = 0;
        spooler().SetHook(WinspoolGetJob, [this, nth, job] {
            if (++get_jobs_ == nth) {
                PutJob(job);
            }
        });
    }

    size_t get_jobs_ = 0;
};

TEST_F(IdJobTest, ARawJobOfOneWrite) {
    StartRawJob();
    PrintPieces({"data of the job"});
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "data of the job"));
    EXPECT_THAT(checks_->Requests(1), ElementsAre("CONF_REQ"));
    EXPECT_EQ(CountLines(LineLevel::kTrace, L"WritePort Success. written:15"), 1U);
    EXPECT_THAT(ReadLog().Messages(LineLevel::kCritical), IsEmpty());
}

TEST_F(IdJobTest, ARawJobOfManyWritesHasOneHeader) {
    StartRawJob();
    std::vector<std::string> pieces;
    std::string data;
    for (const size_t size : {1U, 2U, 700U, 65536U, 3U, 100000U, 1U}) {
        pieces.push_back(Data(size));
        data += pieces.back();
    }
    PrintPieces(pieces);
    const std::string received = Received();
    const std::string header = HeaderBytes();
    EXPECT_TRUE(SameText(received.substr(0, header.size()), header));
    EXPECT_TRUE(received.substr(std::min(header.size(), received.size())) == data);
}

TEST_F(IdJobTest, EveryRawJobOfAPortHasItsHeader) {
    StartRawJob();
    PrintPieces({"first"});
    ASSERT_TRUE(raw_->WaitForEndings(1));
    PrintPieces({"second"});
    ASSERT_TRUE(raw_->WaitForEndings(2));
    const auto bytes = raw_->received();
    EXPECT_TRUE(
        SameText({bytes.begin(), bytes.end()}, HeaderBytes() + "first" + HeaderBytes() + "second"));
    EXPECT_THAT(checks_->Requests(2), ElementsAre("CONF_REQ", "CONF_REQ"));
}

// The channel counts what went over the wire, the header too; a spooler that was told so would go
// on behind the end of its buffer.
TEST_F(IdJobTest, AWriteThatCompletesAPendingConnectionReportsNoMoreThanItWasOffered) {
    StartChecks();
    StartRaw({.answer = PrinterBehavior::Answer::kNeverAnswer});
    AddIdPort();
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    SetSetting(L"WaitServerReplyTimeout", 1);
    const Bytes data = {'d', 'a', 't', 'a'};
    EXPECT_FALSE(Write(port, data).result);
    SetSetting(L"WaitServerReplyTimeout", 20);
    raw_->StartAnswering();
    const WriteResult write = Write(port, data);
    EXPECT_TRUE(write.result);
    EXPECT_EQ(write.written, 4U);
    EXPECT_EQ(Write(port, {'!'}).written, 1U);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "data!"));
}

TEST_F(IdJobTest, ARefusedConnectionKeepsTheHeaderForTheNextWrite) {
    StartChecks();
    StartRaw({.answer = PrinterBehavior::Answer::kRefuse});
    AddIdPort();
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_FALSE(Write(port, {'1'}).result);
    raw_.reset();
    StartRaw();
    EXPECT_EQ(Write(port, {'1'}).written, 1U);
    EXPECT_EQ(Write(port, {'2'}).written, 1U);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "12"));
}

TEST_F(IdJobTest, AnLprJobHasTheHeaderInItsDataFile) {
    StartLpdJob(Protocol::kLpr);
    const std::string first = Data(3000);
    PrintPieces({first, "and more", "and the rest"});
    const LpdConnection job = Delivered();
    const std::string data = HeaderBytes() + first + "and more" + "and the rest";
    EXPECT_EQ(job.violation, "");
    EXPECT_TRUE(SameText(job.data, data));
    EXPECT_EQ(job.announced_data, std::to_string(data.size())) << "the header is a part of it";
    EXPECT_TRUE(job.has_whole_data);
    ASSERT_THAT(job.commands, SizeIs(3));
    EXPECT_EQ(job.commands[0], "\x02queue");
    EXPECT_THAT(job.control, AllOf(HasSubstr("\nJDocument\nNDocument\nl"), Not(HasSubstr("@"))));
    // Everything that came, and nothing else, in its order.
    EXPECT_TRUE(SameText(job.bytes, job.commands[0] + "\n" + job.commands[1] + "\n" + job.control +
                                        std::string(1, '\0') + job.commands[2] + "\n" + data +
                                        std::string(1, '\0')));
}

TEST_F(IdJobTest, AnXlprJobHasNoHeader) {
    StartLpdJob(Protocol::kXlpr);
    const std::string first = Data(3000);
    PrintPieces({first, "and more"});
    const LpdConnection job = Delivered();
    EXPECT_EQ(job.violation, "");
    EXPECT_EQ(job.announced_data, "1073741824000");
    EXPECT_TRUE(SameText(job.data, first + "and more"));
    ASSERT_THAT(job.commands, SizeIs(3));
    EXPECT_TRUE(SameText(job.bytes, job.commands[0] + "\n" + job.commands[1] + "\n" + job.control +
                                        std::string(1, '\0') + job.commands[2] + "\n" + first +
                                        "and more"));
    EXPECT_THAT(checks_->Requests(1), ElementsAre("CONF_REQ"));
}

// The header is built for every write, and only the first one's goes out.
TEST_F(IdJobTest, AJobThatChangesBetweenTwoWritesShiftsNothing) {
    StartRawJob();
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_EQ(Write(port, {'1', '2'}).written, 2U);
    JOB_INFO_2W job = Job();
    std::wstring document(5000, L'd');
    job.pDocument = document.data();
    job.Status = JOB_STATUS_PRINTING | JOB_STATUS_COMPLETE;
    job.TotalPages = 1234567;
    job.Size = 4000000000U;
    PutJob(job);
    EXPECT_EQ(Write(port, {'3'}).written, 1U);
    wchar_t short_name[] = L"";
    job.pDocument = short_name;
    PutJob(job);
    EXPECT_EQ(Write(port, {'4', '5'}).written, 2U);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "12345"));
}

// A write asks for the job's state (two calls), for the header's size and for the header (two calls
// each).
TEST_F(IdJobTest, AJobThatGrowsWhileItsHeaderIsBuiltHasItsNewHeader) {
    StartRawJob();
    JOB_INFO_2W job = Job();
    wchar_t document[] = L"a longer name than it had a moment ago";
    job.pDocument = document;
    job.Size = 123456;
    ChangeJobAt(5, job);
    PrintPieces({"12", "34"});
    EXPECT_GE(get_jobs_, 6U);
    EXPECT_TRUE(
        SameText(Received(), HeaderBytes({.document = document, .data_size = L"123456"}) + "1234"));
}

TEST_F(IdJobTest, AJobThatShrinksWhileItsHeaderIsBuiltHasItsNewHeader) {
    StartRawJob();
    JOB_INFO_2W job = Job();
    wchar_t document[] = L"";
    job.pDocument = document;
    job.Size = 7;
    ChangeJobAt(5, job);
    PrintPieces({"12", "34"});
    EXPECT_GE(get_jobs_, 6U);
    EXPECT_TRUE(SameText(Received(), HeaderBytes({.document = L"", .data_size = L"7"}) + "1234"));
}

// The nth GetJob call of a write, and what the printer then has: no header.
class HeaderFailureTest : public IdJobTest, public ::testing::WithParamInterface<DWORD> {};

TEST_P(HeaderFailureTest, SendsTheDataPlain) {
    StartRawJob();
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    spooler().FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED, GetParam());
    EXPECT_EQ(Write(port, {'1', '2'}).written, 2U);
    EXPECT_EQ(CountLines(LineLevel::kError, L"error retrieving job info"), 1U);
    spooler().ClearFaults();
    // It is too late for a header then.
    EXPECT_EQ(Write(port, {'3'}).written, 1U);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Received(), "123"));
}

INSTANTIATE_TEST_SUITE_P(All, HeaderFailureTest, ::testing::Values(3, 4, 5, 6));

TEST_F(IdJobTest, AnLprJobWithoutAHeaderIsSpooledPlain) {
    StartLpdJob(Protocol::kLpr);
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    spooler().FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED, 3);
    EXPECT_EQ(Write(port, {'1', '2'}).written, 2U);
    spooler().ClearFaults();
    EXPECT_EQ(Write(port, {'3'}).written, 1U);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Delivered().data, "123"));
    EXPECT_EQ(CountLines(LineLevel::kError, L"error retrieving job info"), 1U);
}

TEST_F(IdJobTest, APausedJobSendsNothing) {
    StartRawJob();
    spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_PAUSED);
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_FALSE(Write(port, {'1'}).result);
    EXPECT_THAT(raw_->connections(), IsEmpty());
    spooler().SetJobStatus(L"Printer", 1, 0);
    EXPECT_TRUE(Write(port, {'1'}).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "1"));
}

}  // namespace
}  // namespace ksp::test
