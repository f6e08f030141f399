// What the system refuses: the names of the computer and the user, the size of the spool file, a
// write to it, the local address.

#include <lmcons.h>

#include "tests/host/patched_import.h"
#include "tests/lpr/lpr_channel_test.h"

namespace ksp::test {
namespace {

// The computer's name can be read so many times more.
int g_computer_names_left = 0;
BOOL(WINAPI* g_get_computer_name)(LPWSTR, LPDWORD) = nullptr;

BOOL WINAPI CountedComputerName(LPWSTR name, LPDWORD length) {
    if (g_computer_names_left-- > 0) {
        return g_get_computer_name(name, length);
    }
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
}

BOOL WINAPI NoUserName(LPWSTR /*name*/, LPDWORD /*length*/) {
    return FALSE;
}

// A user's name with a line in it, 40 characters long.
BOOL WINAPI LongUserName(LPWSTR name, LPDWORD length) {
    const std::wstring user = L"a\nb" + std::wstring(27, L'u') + L"vw" + std::wstring(8, L'x');
    const size_t copied = user.copy(name, *length - 1);
    name[copied] = L'\0';
    *length = static_cast<DWORD>(copied + 1);
    return TRUE;
}

LONGLONG g_file_size = 0;

BOOL WINAPI ReportedSize(HANDLE /*file*/, PLARGE_INTEGER size) {
    size->QuadPart = g_file_size;
    return TRUE;
}

BOOL WINAPI NoSize(HANDLE /*file*/, PLARGE_INTEGER /*size*/) {
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
}

// Writes of exactly this length fail; nothing but the spool file sees any.
constexpr DWORD kUnlucky = 4321;
bool g_takes_half = false;
BOOL(WINAPI* g_write_file)(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) = nullptr;

BOOL WINAPI UnluckyWrite(HANDLE file, LPCVOID data, DWORD length, LPDWORD written,
                         LPOVERLAPPED overlapped) {
    if (length != kUnlucky) {
        return g_write_file(file, data, length, written, overlapped);
    }
    if (g_takes_half) {
        return g_write_file(file, data, length / 2, written, overlapped);
    }
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

BOOL WINAPI NoRead(HANDLE /*file*/, LPVOID /*data*/, DWORD /*length*/, LPDWORD /*read*/,
                   LPOVERLAPPED /*overlapped*/) {
    SetLastError(ERROR_IO_DEVICE);
    return FALSE;
}

int WSAAPI NoHostName(char* /*name*/, int /*length*/) {
    WSASetLastError(WSAENETDOWN);
    return SOCKET_ERROR;
}

// Reads of one byte, which only the channel makes, fail in this way.
int g_recv_error = 0;
int g_recv_calls = 0;
int(WSAAPI* g_recv)(SOCKET, char*, int, int) = nullptr;

int WSAAPI FailedRecv(SOCKET socket, char* data, int length, int flags) {
    if (length != 1) {
        return g_recv(socket, data, length, flags);
    }
    ++g_recv_calls;
    WSASetLastError(g_recv_error);
    return SOCKET_ERROR;
}

class LprRefusedCallsTest : public LprChannelTest {
  protected:
    void Deliver() {
        EndJobAtQuestion(1);
        ASSERT_NO_FATAL_FAILURE(Spool("data!"));
        // The question after the data has been asked already.
        ASSERT_EQ(channel().EndDoc(), 0);
    }
};

TEST_F(LprRefusedCallsTest, AUserWithoutANameIsTheDefaultUser) {
    SetNextNumber(4);
    Start();
    const PatchedImport<decltype(&::GetUserNameW)> patch("GetUserNameW", NoUserName);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Spool("data!"));
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().control, (JobText{.user = "DefaultUser", .number = 5}.Control()));
}

TEST_F(LprRefusedCallsTest, AUsersNameIsCutTo31AndAddsNoLine) {
    SetNextNumber(4);
    Start();
    const PatchedImport<decltype(&::GetUserNameW)> patch("GetUserNameW", LongUserName);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Spool("data!"));
    ASSERT_EQ(channel().EndDoc(), 0);
    const std::string user = "a b" + std::string(27, 'u') + "v";
    ASSERT_EQ(user.size(), 31u);
    EXPECT_EQ(OnlyConnection().control, (JobText{.user = user, .number = 5}.Control()));
}

TEST_F(LprRefusedCallsTest, WithoutTheComputersNameThereIsNoControlFile) {
    SetNextNumber(10);
    Start();
    g_computer_names_left = 0;
    const PatchedImport<decltype(&::GetComputerNameW)> patch("GetComputerNameW",
                                                             CountedComputerName);
    ASSERT_TRUE(patch.works());
    g_get_computer_name = patch.original();
    ASSERT_NO_FATAL_FAILURE(Deliver());
    EXPECT_EQ(Count(LineLevel::kInfo, L"GetComputerName failed"), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The SendControlInformation failed or timedout.."), 1u);
    EXPECT_EQ(OnlyConnection().commands.size(), 1u);
    EXPECT_FALSE(HasSpoolFile(10)) << "no second number was taken";
    EXPECT_EQ(TakeJobNumber(), 11u);
}

TEST_F(LprRefusedCallsTest, WithoutTheComputersNameThereIsNoDataFile) {
    SetNextNumber(20);
    Start();
    g_computer_names_left = 1;
    const PatchedImport<decltype(&::GetComputerNameW)> patch("GetComputerNameW",
                                                             CountedComputerName);
    ASSERT_TRUE(patch.works());
    g_get_computer_name = patch.original();
    ASSERT_NO_FATAL_FAILURE(Deliver());
    EXPECT_EQ(Count(LineLevel::kInfo, L"GetComputerName failed"), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The SendDataFileInformation failed or timedout.."), 1u);
    EXPECT_EQ(OnlyConnection().commands.size(), 2u);
}

TEST_F(LprRefusedCallsTest, AFileOf2GiBIsNotAnnounced) {
    Start();
    g_file_size = 0x80000000LL;
    const PatchedImport<decltype(&::GetFileSizeEx)> patch("GetFileSizeEx", ReportedSize);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Deliver());
    EXPECT_EQ(Count(LineLevel::kInfo, L"The SendDataFileInformation failed or timedout.."), 1u);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetJobError 7", kTroubled, kWell, kAsBefore));
    EXPECT_EQ(OnlyConnection().commands.size(), 2u);
}

TEST_F(LprRefusedCallsTest, AByteLessIsAnnounced) {
    Start(AnswersAt(Step::kDataCommand, Refusal()));
    g_file_size = 0x7FFFFFFFLL;
    const PatchedImport<decltype(&::GetFileSizeEx)> patch("GetFileSizeEx", ReportedSize);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Deliver());
    EXPECT_EQ(OnlyConnection().announced_data, "2147483647");
}

TEST_F(LprRefusedCallsTest, AFileOfUnknownSizeIsAnnouncedAsEmpty) {
    Start(AnswersAt(Step::kDataCommand, Refusal()));
    const PatchedImport<decltype(&::GetFileSizeEx)> patch("GetFileSizeEx", NoSize);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Deliver());
    EXPECT_EQ(OnlyConnection().announced_data, "0");
}

TEST_F(LprRefusedCallsTest, AWriteThatFallsShortEndsTheSpooling) {
    for (const bool takes_half : {false, true}) {
        SetNextNumber(30);
        Start();
        ASSERT_NO_FATAL_FAILURE(Spool("data"));
        {
            g_takes_half = takes_half;
            const PatchedImport<decltype(&::WriteFile)> patch("WriteFile", UnluckyWrite);
            ASSERT_TRUE(patch.works());
            g_write_file = patch.original();
            EXPECT_EQ(Write(std::string(kUnlucky, 'x')), -1);
        }
        EXPECT_EQ(state(), ChannelState::kSpoolFailed);
        EXPECT_EQ(Write("more"), -1);
        EXPECT_EQ(WriteWithHeader("header", "more"), -1);
        EXPECT_EQ(state(), ChannelState::kSpoolFailed);
        EXPECT_EQ(channel().EndDoc(), 0);
        EXPECT_THAT(printer_->connections(), IsEmpty());
        EXPECT_FALSE(HasSpoolFile(30));
        EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell, kAsBefore));
    }
}

TEST_F(LprRefusedCallsTest, AHeaderThatCannotBeSpooledEndsTheSpooling) {
    Start();
    StartDoc();
    const PatchedImport<decltype(&::WriteFile)> patch("WriteFile", UnluckyWrite);
    ASSERT_TRUE(patch.works());
    g_write_file = patch.original();
    g_takes_half = false;
    EXPECT_EQ(WriteWithHeader("header", std::string(kUnlucky - 6, 'x')), -1);
    EXPECT_EQ(state(), ChannelState::kSpoolFailed);
}

// Half of a document must not end as if it were whole.
TEST_F(LprRefusedCallsTest, ASpoolFileThatCannotBeReadHoldsTheJob) {
    Start();
    const PatchedImport<decltype(&::ReadFile)> patch("ReadFile", NoRead);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Spool("data!"));
    EndJobAtQuestion(1);
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_GE(Count(LineLevel::kInfo, L"The sendtoServer failed .."), 1u);
    EXPECT_THAT(ports_.TakeCalls(), Contains("SetJobError 7"));
    const LpdConnection seen = OnlyConnection();
    EXPECT_FALSE(seen.has_whole_data);
    EXPECT_EQ(seen.data, "") << "not even the octet that ends the data";
}

TEST_F(LprRefusedCallsTest, AnErrorInPlaceOfAnAnswerHoldsTheJob) {
    Start();
    const PatchedImport<decltype(&::recv)> patch("recv", FailedRecv);
    ASSERT_TRUE(patch.works());
    g_recv = patch.original();
    g_recv_error = WSAECONNRESET;
    ASSERT_NO_FATAL_FAILURE(Deliver());
    EXPECT_EQ(Count(LineLevel::kInfo, L"The WaitforAck failed.."), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"WaitforAck() = ERROR, bytes=-1"), 0u);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetJobError 7", kTroubled, kWell, kAsBefore));
}

TEST_F(LprRefusedCallsTest, AnAnswerThatIsNotThereYetIsLookedForFiveTimes) {
    Start();
    const PatchedImport<decltype(&::recv)> patch("recv", FailedRecv);
    ASSERT_TRUE(patch.works());
    g_recv = patch.original();
    g_recv_error = WSAEWOULDBLOCK;
    int calls = 0;
    ports_.is_job_ended = [&calls] {
        calls = g_recv_calls;
        return true;
    };
    g_recv_calls = 0;
    ASSERT_NO_FATAL_FAILURE(Spool("data!"));
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The WaitforAck timedout.."), 1u);
    EXPECT_EQ(calls, 5);
}

TEST_F(LprRefusedCallsTest, WithoutALocalAddressTheSystemChoosesThePort) {
    Start();
    const PatchedImport<decltype(&::gethostname)> patch("gethostname", NoHostName);
    ASSERT_TRUE(patch.works());
    ASSERT_NO_FATAL_FAILURE(Spool("data!"));
    ASSERT_EQ(channel().EndDoc(), 0);
    const LpdConnection seen = OnlyConnection();
    EXPECT_TRUE(seen.has_whole_data);
    EXPECT_GE(seen.peer_port, 1024u);
}

}  // namespace
}  // namespace ksp::test
